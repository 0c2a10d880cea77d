#include "driver/sim/client_fault.h"

#include <numeric>

namespace vortic {

namespace {

constexpr const char* kNames[] = {
    "instruction while busy",
    "write without write enable",
    "protected",
    "unknown instruction",
    "programming a bit from 0 to 1",
    "page wrap",
    "address beyond the chip",
    "wrong address length",
    "truncated frame",
    "quad not enabled",
    "wrong lanes",
    "wrong dummy cycles",
    "bits not whole bytes",
    "chip select left active",
};
static_assert(std::size(kNames) == kNumClientFaults);

}  // namespace

const char* ClientFaultName(ClientFault kind) {
  return kNames[static_cast<std::size_t>(kind)];
}

u64 ClientFaults::Total() const {
  return std::accumulate(m_Counts.begin(), m_Counts.end(), u64{0});
}

}  // namespace vortic
