#pragma once

#include "driver/abi/vortic.h"
#include "sys/types.h"

// Binding of the driver library, which is found at run time. Application thread only.
//
// The library is loaded at the first call, tried again at each call until that succeeds: the
// directory of this module and of the program, then what the registry names as install path. A
// missing library is told by a box that names the places looked at; then pfOnFatal ends the
// program. Each name is bound at its first call; a missing one is told by a box and logged as an
// error, and the call gives 0.

// Called with exit code 1 when there is no driver library. The default ends the process through the
// front end. A handler that returns makes the call give its failure value.
struct FLASH_DRIVER_HOOKS {
  void (*pfOnFatal)(int ExitCode);
};
extern FLASH_DRIVER_HOOKS FLASH_DriverHooks;

// For tests: functions by name that stand in for the library's. Null takes the library again.
using DRIVER_LOOKUP = void*(const char* sName);
void DRIVER_SetLookup(DRIVER_LOOKUP* pfLookup);
// For tests: the one place to look for the library; what is loaded is let go. Null for the usual
// places.
void DRIVER_SetLibraryPath(const char* sFileName);
// True when the library is loaded or can be.
bool DRIVER_Load();
// What the library's error texts are given to: logs each as an error and counts it. Errors reported
// between two looks at the count tell of a failure that no result tells, whatever sections were
// opened meanwhile.
VORTIC_TEXT_HANDLER* DRIVER_GetErrorHandler();
u32 DRIVER_GetNumErrors();
// While one lives, what the library complains of goes to the log as a plain line and counts as
// nothing: behind a failure that has been told, a dead link says the same again with every call.
class DRIVER_QUIET {
 public:
  DRIVER_QUIET();
  ~DRIVER_QUIET();
  DRIVER_QUIET(const DRIVER_QUIET&) = delete;
  DRIVER_QUIET& operator=(const DRIVER_QUIET&) = delete;
};

int VORTIC_SelectUSB(int32_t Port);
int VORTIC_SelectBySN(u32 SerialNo);
int VORTIC_SelectByNickname(const char* sNickname);
int VORTIC_SelectIP(const char* sHost, int32_t Port);
// Null: open. Without a library a text that says so.
const char* VORTIC_OpenEx(VORTIC_TEXT_HANDLER* pfLog);
void VORTIC_Close();
void VORTIC_SetErrorOutHandler(VORTIC_TEXT_HANDLER* pfError);
void VORTIC_SetLogFile(const char* sFileName);
i32 VORTIC_GetProductId();
i32 VORTIC_GetSN();
u32 VORTIC_GetHWVersion();
bool VORTIC_HasCapability(i32 Capability);
u32 VORTIC_GetDLLVersion();
const char* VORTIC_GetCompileDateTime();  // never null
int VORTIC_ReadConfigMem(u8* pBuffer, u32 Offset, u32 NumBytes);
u32 VORTIC_GetInterfaces();  // bit mask
void VORTIC_SelectInterface(i32 Interface);
void VORTIC_SetSpeed(u32 SpeedkHz);
u32 VORTIC_GetSpeed();  // kHz, low 16 bits
// 0: success. *pMillivolts gets 0 otherwise.
int VORTIC_GetTargetVoltage(u32* pMillivolts);
// Negative fails; pError, never null behind the call, then tells why.
int VORTIC_ExecCommand(const char* sCommand, char* pError, u32 ErrorSize);
void VORTIC_HoldResetLine();     // reset low
void VORTIC_ReleaseResetLine();  // reset high
void VORTIC_ActivateCS();
void VORTIC_DeactivateCS();
// False: failed, and an error of the operation.
bool VORTIC_Transfer(const u8* pWrite, u8* pRead, u32 NumBits, u32 Flags);
// Files inside a programmer. Paths have backslashes. Negative fails, also when there is no such
// function.
// Bytes written; an answer of more than NumBytes counts as failure. Null data with no count makes a
// file of Offset bytes, and only the sign of the result tells then.
i32 VORTIC_FileWrite(const char* sFile, const u8* pData, u32 Offset, u32 NumBytes);
// Bytes read, perhaps fewer than asked for; more counts as failure.
i32 VORTIC_FileRead(const char* sFile, u8* pData, u32 Offset, u32 NumBytes);
i32 VORTIC_FileGetSize(const char* sFile);  // negative for a folder, too
i32 VORTIC_FileDelete(const char* sFile);   // a folder with all of its contents
// Function by index, or null.
VORTIC_FUNC VORTIC_GetFunction(i32 Index);
template <class F>
F* VORTIC_GetFunctionAs(i32 Index) {
  return reinterpret_cast<F*>(VORTIC_GetFunction(Index));
}
