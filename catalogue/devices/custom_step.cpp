#include "catalogue/devices/custom_step.h"

#include <iterator>

#include "catalogue/devices/fold.h"

namespace {

constexpr u32 kByteHex = 0x31;
constexpr u32 kByteDec = 0x11;
constexpr u32 kWordDec = 0x12;
constexpr u32 kLongDec = 0x14;
constexpr u32 kStream = 0x50;
constexpr u32 kBranchTarget = 0x92;

constexpr CUSTOM_PARA kNone = {nullptr, nullptr, 0, 0, 0};
constexpr CUSTOM_PARA kOffset = {"OffInBuffer", nullptr, 0, 15, kByteDec};
constexpr CUSTOM_PARA kOffsetOfBytes = {"OffInBuffer", nullptr, 0, 15, kLongDec};
constexpr CUSTOM_PARA kNumBytes = {"NumByte(s)", nullptr, 0, 16, kLongDec};
constexpr CUSTOM_PARA kValue = {"Value", "Hex", 0, 0xFF, kByteHex};
constexpr CUSTOM_PARA kTarget = {"Index", "#", 0, 0xFF, kBranchTarget};

// Order is that of CUSTOM_ACTION_INDEX, and binding: step records store the index.
constexpr CUSTOM_ACTION kActions[] = {
    {"Comment", {kNone, kNone}},
    {"Delay", {{"Delay", "ms", 0, 0xFFFF, kWordDec}, kNone}},
    {"Activate CS", {kNone, kNone}},
    {"Deactivate CS", {kNone, kNone}},
    {"Write Data", {kNumBytes, {"ByteStream", "Hex", 0, 0xFFFFFFFF, kStream}}},
    {"Var Read Data", {kOffsetOfBytes, kNumBytes}},
    {"Var Verify Byte", {kOffset, kValue}},
    {"Var Write Data", {kOffsetOfBytes, kNumBytes}},
    {"Var AND", {kOffset, kValue}},
    {"Var OR", {kOffset, kValue}},
    {"Var XOR", {kOffset, kValue}},
    {"Var BEQ", {kOffset, kTarget}},
    {"Var BNE", {kOffset, kTarget}},
};
static_assert(std::size(kActions) == CUSTOM_NUM_ACTIONS);

}  // namespace

u32 CUSTOM_GetNumActions() {
  return CUSTOM_NUM_ACTIONS;
}

const CUSTOM_ACTION* CUSTOM_GetAction(u32 Index) {
  return Index < CUSTOM_NUM_ACTIONS ? &kActions[Index] : nullptr;
}

i32 CUSTOM_FindAction(const char* sName) {
  if (sName == nullptr) {
    return -1;
  }
  for (u32 i = 0; i < CUSTOM_NUM_ACTIONS; ++i) {
    if (DEVICES_EqualFolded(sName, kActions[i].sName)) {
      return static_cast<i32>(i);
    }
  }
  return -1;
}

bool CUSTOM_IsByteStream(u32 ActionIndex) {
  return ActionIndex == CUSTOM_WRITE_DATA;
}
