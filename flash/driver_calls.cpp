#include <array>
#include <cstring>

#include "app/engine/log.h"
#include "flash/driver_internal.h"
#include "sys/util_string.h"

// One wrapper a function of the library: binds it and distrusts what it answers.

// What an answer of the library is worth: texts may be null or unterminated, numbers anything, and
// a name that isn't there gives 0. Each wrapper turns that into a value that its callers can use
// without a further look; a result that means failure stays one.

namespace {

constexpr char kCannotOpen[] = "The driver library cannot be used.";
constexpr char kNoReason[] = "The driver library gives no reason.";

// Of data moved. More than was asked for is no count: nobody knows what it stands for.
i32 TameCount(i32 result, u32 numBytes) {
  return result >= 0 && static_cast<u32>(result) > numBytes ? -1 : result;
}

// Never set back: callers compare two readings.
u32 NumErrors;
u32 NumQuiet;

// The library's own error channel: an operation during which it was used has failed.
void OnLibraryError(const char* sText) {
  const char* sTold = sText != nullptr && *sText != '\0' ? sText : kNoReason;
  if (NumQuiet != 0) {
    APP_LogInfo(sTold);
    return;
  }
  ++NumErrors;
  APP_LogError(APP_CAUSE::DriverLibrary, sTold);
}

}  // namespace

VORTIC_TEXT_HANDLER* DRIVER_GetErrorHandler() {
  return OnLibraryError;
}

DRIVER_QUIET::DRIVER_QUIET() {
  ++NumQuiet;
}

DRIVER_QUIET::~DRIVER_QUIET() {
  --NumQuiet;
}

u32 DRIVER_GetNumErrors() {
  return NumErrors;
}

int VORTIC_SelectUSB(int32_t Port) {
  auto* pf = DRIVER_BindAs<decltype(VORTICARM_SelectUSB)>(DriverCall::SelectUSB);
  return pf != nullptr ? pf(Port) : 0;
}

int VORTIC_SelectBySN(u32 SerialNo) {
  auto* pf = DRIVER_BindAs<decltype(VORTICARM_EMU_SelectByUSBSN)>(DriverCall::SelectBySN);
  return pf != nullptr ? pf(SerialNo) : 0;
}

int VORTIC_SelectByNickname(const char* sNickname) {
  auto* pf = DRIVER_BindAs<decltype(VORTIC_EMU_SelectByUSBNickname)>(DriverCall::SelectByNickname);
  return pf != nullptr ? pf(sNickname) : 0;
}

int VORTIC_SelectIP(const char* sHost, int32_t Port) {
  auto* pf = DRIVER_BindAs<decltype(VORTICARM_SelectIP)>(DriverCall::SelectIP);
  return pf != nullptr ? pf(sHost, Port) : 0;
}

const char* VORTIC_OpenEx(VORTIC_TEXT_HANDLER* pfLog) {
  auto* pf = DRIVER_BindAs<decltype(VORTICARM_OpenEx)>(DriverCall::OpenEx);
  return pf != nullptr ? pf(nullptr, pfLog) : kCannotOpen;
}

void VORTIC_Close() {
  if (auto* pf = DRIVER_BindAs<decltype(VORTICARM_Close)>(DriverCall::Close)) {
    pf();
  }
}

void VORTIC_SetErrorOutHandler(VORTIC_TEXT_HANDLER* pfError) {
  if (auto* pf =
          DRIVER_BindAs<decltype(VORTICARM_SetErrorOutHandler)>(DriverCall::SetErrorOutHandler)) {
    pf(pfError);
  }
}

void VORTIC_SetLogFile(const char* sFileName) {
  if (auto* pf = DRIVER_BindAs<decltype(VORTICARM_SetLogFile)>(DriverCall::SetLogFile)) {
    pf(sFileName);
  }
}

i32 VORTIC_GetProductId() {
  auto* pf = DRIVER_BindAs<decltype(VORTICARM_EMU_GetProductId)>(DriverCall::GetProductId);
  return pf != nullptr ? pf() : 0;
}

i32 VORTIC_GetSN() {
  auto* pf = DRIVER_BindAs<decltype(VORTICARM_GetSN)>(DriverCall::GetSN);
  return pf != nullptr ? pf() : 0;
}

u32 VORTIC_GetHWVersion() {
  auto* pf = DRIVER_BindAs<decltype(VORTIC_GetHardwareVersion)>(DriverCall::GetHardwareVersion);
  return pf != nullptr ? pf() : 0;
}

bool VORTIC_HasCapability(i32 Capability) {
  auto* pf = DRIVER_BindAs<decltype(VORTICARM_EMU_HasCapEx)>(DriverCall::HasCapEx);
  return pf != nullptr && pf(Capability) != 0;
}

u32 VORTIC_GetDLLVersion() {
  auto* pf = DRIVER_BindAs<decltype(VORTICARM_GetDLLVersion)>(DriverCall::GetDLLVersion);
  return pf != nullptr ? pf() : 0;
}

const char* VORTIC_GetCompileDateTime() {
  auto* pf = DRIVER_BindAs<decltype(VORTICARM_GetCompileDateTime)>(DriverCall::GetCompileDateTime);
  const char* const sText = pf != nullptr ? pf() : nullptr;
  return sText != nullptr ? sText : "";
}

int VORTIC_ReadConfigMem(u8* pBuffer, u32 Offset, u32 NumBytes) {
  auto* pf = DRIVER_BindAs<decltype(VORTICARM_ReadEmuConfigMem)>(DriverCall::ReadEmuConfigMem);
  return pf != nullptr ? pf(pBuffer, Offset, NumBytes) : 0;
}

// A mask that came with a failure is no mask.
u32 VORTIC_GetInterfaces() {
  auto* pf = DRIVER_BindAs<decltype(VORTICARM_TIF_GetAvailable)>(DriverCall::GetAvailable);
  u32 mask = 0;
  return pf != nullptr && pf(&mask) >= 0 ? mask : 0;
}

void VORTIC_SelectInterface(i32 Interface) {
  if (auto* pf = DRIVER_BindAs<decltype(VORTICARM_TIF_Select)>(DriverCall::Select)) {
    pf(Interface);
  }
}

void VORTIC_SetSpeed(u32 SpeedkHz) {
  if (auto* pf = DRIVER_BindAs<decltype(VORTICARM_SetSpeed)>(DriverCall::SetSpeed)) {
    pf(SpeedkHz);
  }
}

// The high half isn't defined.
u32 VORTIC_GetSpeed() {
  auto* pf = DRIVER_BindAs<decltype(VORTICARM_GetSpeed)>(DriverCall::GetSpeed);
  return pf != nullptr ? pf() & 0xFFFF : 0;
}

// A failure reads as no power, which stops whatever wants to go on.
int VORTIC_GetTargetVoltage(u32* pMillivolts) {
  *pMillivolts = 0;
  auto* pf = DRIVER_BindAs<decltype(VORTICARM_GetHWStatus)>(DriverCall::GetHWStatus);
  VORTIC_HW_STATUS status{};
  const int result = pf != nullptr ? pf(&status) : -1;
  if (result == 0) {
    *pMillivolts = status.VTarget;
  }
  return result;
}

// The caller's buffer is cleared before and terminated behind the call, whatever the library wrote.
int VORTIC_ExecCommand(const char* sCommand, char* pError, u32 ErrorSize) {
  std::array<char, 128> acOwn{};
  char* const pText = pError != nullptr && ErrorSize != 0 ? pError : acOwn.data();
  const u32 size = pText == pError ? ErrorSize : static_cast<u32>(acOwn.size());
  auto* pf = DRIVER_BindAs<decltype(VORTICARM_ExecCommand)>(DriverCall::ExecCommand);
  if (pf == nullptr) {
    UTIL_strcpy(pText, kCannotOpen, size);
    return -1;
  }
  std::memset(pText, 0, size);
  const int result = pf(sCommand, pText, static_cast<int32_t>(size));
  pText[size - 1] = '\0';
  if (result < 0 && pText[0] == '\0') {
    UTIL_strcpy(pText, kNoReason, size);
  }
  return result;
}

void VORTIC_HoldResetLine() {
  if (auto* pf = DRIVER_BindAs<decltype(VORTICARM_ClrRESET)>(DriverCall::ClrRESET)) {
    pf();
  }
}

void VORTIC_ReleaseResetLine() {
  if (auto* pf = DRIVER_BindAs<decltype(VORTICARM_SetRESET)>(DriverCall::SetRESET)) {
    pf();
  }
}

void VORTIC_ActivateCS() {
  if (auto* pf = DRIVER_BindAs<decltype(VORTICARM_ClrTMS)>(DriverCall::ClrTMS)) {
    pf();
  }
}

void VORTIC_DeactivateCS() {
  if (auto* pf = DRIVER_BindAs<decltype(VORTICARM_SetTMS)>(DriverCall::SetTMS)) {
    pf();
  }
}

// What failed comes through the error handler, mostly; a failure without a word gets one here.
bool VORTIC_Transfer(const u8* pWrite, u8* pRead, u32 NumBits, u32 Flags) {
  auto* pf = DRIVER_BindAs<decltype(VORTIC_SPI_Transfer)>(DriverCall::Transfer);
  if (pf == nullptr) {
    return false;
  }
  const u32 numErrors = NumErrors;
  const bool isGood = pf(pWrite, pRead, NumBits, Flags) >= 0;
  if (!isGood && NumErrors == numErrors) {
    OnLibraryError("The probe refused an SPI transfer without giving a reason.");
  }
  return isGood && NumErrors == numErrors;
}

// A missing function fails here instead of giving 0, which would pass for a file that was made,
// an empty one or a deleted one.
i32 VORTIC_FileWrite(const char* sFile, const u8* pData, u32 Offset, u32 NumBytes) {
  auto* pf = DRIVER_BindAs<decltype(VORTICARM_EMU_FILE_Write)>(DriverCall::FileWrite);
  const i32 result = pf != nullptr ? pf(sFile, pData, Offset, NumBytes) : -1;
  return pData != nullptr ? TameCount(result, NumBytes) : result;
}

i32 VORTIC_FileRead(const char* sFile, u8* pData, u32 Offset, u32 NumBytes) {
  auto* pf = DRIVER_BindAs<decltype(VORTICARM_EMU_FILE_Read)>(DriverCall::FileRead);
  return pf != nullptr ? TameCount(pf(sFile, pData, Offset, NumBytes), NumBytes) : -1;
}

i32 VORTIC_FileGetSize(const char* sFile) {
  auto* pf = DRIVER_BindAs<decltype(VORTICARM_EMU_FILE_GetSize)>(DriverCall::FileGetSize);
  return pf != nullptr ? pf(sFile) : -1;
}

i32 VORTIC_FileDelete(const char* sFile) {
  auto* pf = DRIVER_BindAs<decltype(VORTICARM_EMU_FILE_Delete)>(DriverCall::FileDelete);
  return pf != nullptr ? pf(sFile) : -1;
}

VORTIC_FUNC VORTIC_GetFunction(i32 Index) {
  auto* pf = DRIVER_BindAs<decltype(VORTIC_GetpFunc)>(DriverCall::GetpFunc);
  return pf != nullptr ? pf(Index) : nullptr;
}
