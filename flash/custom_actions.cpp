#include <iterator>
#include <string>

#include "app/engine/log.h"
#include "flash/custom_internal.h"
#include "flash/operation.h"
#include "flash/spi.h"
#include "sys/util_format.h"

// What the actions of step sequences do. All traffic goes out with flags 0: chip select stays as
// the steps before have left it.

// Values come clamped to their parameters' limits, so an offset is at most 15 and a count at most
// 16; only their sum has to be checked. Transfers have no result: a sequence stops behind a step
// during which the library's error channel spoke.

namespace {

constexpr char kInvalid[] = "Invalid parameters";

// What steps have read; kept from one sequence, and one connection, to the next.
std::array<u8, CUSTOM_BUFFER_SIZE> VarBuffer{};
std::array<char, 256> ErrorText{};

// The first byte shows even when none is moved.
void LogBytes(const char* sWhat, const u8* pData, u32 NumBytes) {
  std::array<char, 16> acByte{};
  UTIL_snprintf(acByte.data(), acByte.size(), " - 0x%02X", pData[0]);
  std::string text = std::string(sWhat) + acByte.data();
  for (u32 i = 1; i < NumBytes; ++i) {
    UTIL_snprintf(acByte.data(), acByte.size(), ", 0x%02X", pData[i]);
    text += acByte.data();
  }
  APP_LogInfo(text.c_str());
}

const char* DoNothing(u32* /*pNextIndex*/, u32 /*Value0*/, u32 /*Value1*/, const u8* /*pData*/) {
  return nullptr;
}

const char* Delay(u32* /*pNextIndex*/, u32 Value0, u32 /*Value1*/, const u8* /*pData*/) {
  FLASH_SleepAlive(Value0);
  return nullptr;
}

const char* ActivateCS(u32* /*pNextIndex*/, u32 /*Value0*/, u32 /*Value1*/, const u8* /*pData*/) {
  VORTIC_ActivateCS();
  return nullptr;
}

const char* DeactivateCS(u32* /*pNextIndex*/, u32 /*Value0*/, u32 /*Value1*/, const u8* /*pData*/) {
  VORTIC_DeactivateCS();
  return nullptr;
}

const char* WriteData(u32* /*pNextIndex*/, u32 Value0, u32 /*Value1*/, const u8* pData) {
  VORTIC_Transfer(pData, nullptr, Value0 * 8, SPI_FLAGS_NONE);
  return nullptr;
}

const char* VarReadData(u32* /*pNextIndex*/, u32 Value0, u32 Value1, const u8* /*pData*/) {
  if (Value0 + Value1 > CUSTOM_BUFFER_SIZE) {
    return kInvalid;
  }
  u8* pBytes = &VarBuffer[Value0];
  VORTIC_Transfer(nullptr, pBytes, Value1 * 8, SPI_FLAGS_NONE);
  LogBytes("Read Data", pBytes, Value1);
  return nullptr;
}

const char* VarVerifyByte(u32* /*pNextIndex*/, u32 Value0, u32 Value1, const u8* /*pData*/) {
  if (Value0 >= CUSTOM_BUFFER_SIZE) {
    return kInvalid;
  }
  const u8 found = VarBuffer[Value0];
  if (found == Value1) {
    APP_LogInfo("Verifying...O.K.");
    return nullptr;
  }
  UTIL_snprintf(ErrorText.data(), ErrorText.size(),
                "Verification failed @ VarBufferIndex %d: Expected: 0x%02X, Found: 0x%02X", Value0,
                Value1, found);
  return ErrorText.data();
}

const char* VarWriteData(u32* /*pNextIndex*/, u32 Value0, u32 Value1, const u8* /*pData*/) {
  // Unlike reading, writing up to the buffer's last byte is refused; projects rely on neither.
  if (Value0 + Value1 >= CUSTOM_BUFFER_SIZE) {
    return kInvalid;
  }
  const u8* pBytes = &VarBuffer[Value0];
  LogBytes("Write Data", pBytes, Value1);
  VORTIC_Transfer(pBytes, nullptr, Value1 * 8, SPI_FLAGS_NONE);
  return nullptr;
}

const char* VarAnd(u32* /*pNextIndex*/, u32 Value0, u32 Value1, const u8* /*pData*/) {
  VarBuffer[Value0] &= static_cast<u8>(Value1);
  return nullptr;
}

const char* VarOr(u32* /*pNextIndex*/, u32 Value0, u32 Value1, const u8* /*pData*/) {
  VarBuffer[Value0] |= static_cast<u8>(Value1);
  return nullptr;
}

const char* VarXor(u32* /*pNextIndex*/, u32 Value0, u32 Value1, const u8* /*pData*/) {
  VarBuffer[Value0] ^= static_cast<u8>(Value1);
  return nullptr;
}

void Branch(u32* pNextIndex, u32 Target) {
  *pNextIndex = Target;
  APP_LogInfo("Branch operation performed");
}

const char* VarBeq(u32* pNextIndex, u32 Value0, u32 Value1, const u8* /*pData*/) {
  if (VarBuffer[Value0] == 0) {
    Branch(pNextIndex, Value1);
  }
  return nullptr;
}

const char* VarBne(u32* pNextIndex, u32 Value0, u32 Value1, const u8* /*pData*/) {
  if (VarBuffer[Value0] != 0) {
    Branch(pNextIndex, Value1);
  }
  return nullptr;
}

// In the order of CUSTOM_ACTION_INDEX.
constexpr CUSTOM_ACTION_FUNC* kFuncs[] = {
    DoNothing,    Delay,  ActivateCS, DeactivateCS, WriteData, VarReadData, VarVerifyByte,
    VarWriteData, VarAnd, VarOr,      VarXor,       VarBeq,    VarBne};
static_assert(std::size(kFuncs) == CUSTOM_NUM_ACTIONS);

}  // namespace

CUSTOM_ACTION_FUNC* CUSTOM_GetActionFunc(u32 ActionIndex) {
  return ActionIndex < CUSTOM_NUM_ACTIONS ? kFuncs[ActionIndex] : nullptr;
}

u8* CUSTOM_GetVarBuffer() {
  return VarBuffer.data();
}
