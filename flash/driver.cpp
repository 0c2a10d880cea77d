#include "flash/driver.h"

#include <array>
#include <string>
#include <vector>

#include "app/engine/app_state.h"
#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "flash/driver_internal.h"
#include "sys/file.h"
#include "sys/library.h"
#include "sys/path.h"
#include "sys/registry.h"

// Finding the library and binding its names.
//
// Nothing is loaded before the first call, so that a program that never touches a probe (a
// conversion of data files) runs without the library. What was looked at is remembered in words: a
// user who reads "not found" has to know where it was looked for, and a file that is there but
// doesn't load has a reason of its own.

namespace {

constexpr char kLibraryName[] = "libVortic_x64.so";
constexpr char kBoxTitle[] = "Vortic Error";

constexpr std::array<const char*, static_cast<u32>(DriverCall::Count)> kNames = {
    "VORTICARM_SelectUSB",
    "VORTICARM_EMU_SelectByUSBSN",
    "VORTIC_EMU_SelectByUSBNickname",
    "VORTICARM_SelectIP",
    "VORTICARM_OpenEx",
    "VORTICARM_Close",
    "VORTICARM_SetErrorOutHandler",
    "VORTICARM_SetLogFile",
    "VORTICARM_EMU_GetProductId",
    "VORTICARM_GetSN",
    "VORTIC_GetHardwareVersion",
    "VORTICARM_EMU_HasCapEx",
    "VORTICARM_GetDLLVersion",
    "VORTICARM_GetCompileDateTime",
    "VORTICARM_ReadEmuConfigMem",
    "VORTICARM_TIF_GetAvailable",
    "VORTICARM_TIF_Select",
    "VORTICARM_SetSpeed",
    "VORTICARM_GetSpeed",
    "VORTICARM_GetHWStatus",
    "VORTICARM_ExecCommand",
    "VORTICARM_ClrRESET",
    "VORTICARM_SetRESET",
    "VORTICARM_ClrTMS",
    "VORTICARM_SetTMS",
    "VORTIC_SPI_Transfer",
    "VORTICARM_EMU_FILE_Write",
    "VORTICARM_EMU_FILE_Read",
    "VORTICARM_EMU_FILE_GetSize",
    "VORTICARM_EMU_FILE_Delete",
    "VORTIC_GetpFunc",
};
static_assert(kNames.back() != nullptr);

// Application thread only. A bound address is valid as long as hLib is.
struct DriverState {
  SYS_HANDLE hLib = 0;
  u32 Generation = 0;  // of the loaded libraries, when hLib was given out
  DRIVER_LOOKUP* pfLookup = nullptr;
  std::string TestPath;  // the only place to look at, when set
  std::array<void*, kNames.size()> apFunc{};
};

DriverState& State() {
  static DriverState state;
  return state;
}

// The default of pfOnFatal. Without a front end the calls just fail.
void EndProgram(int ExitCode) {
  if (APP_FRONTEND* pFrontEnd = APP_GetFrontEnd()) {
    pFrontEnd->Terminate(ExitCode);
  }
}

void ShowBox(const std::string& Text) {
  APP_MSGBOX_ARGS args;
  args.sTitle = kBoxTitle;
  args.sText = Text.c_str();
  args.sBtn0 = "OK";
  args.Icon = APP_ICON_CRITICAL;
  APP_MsgBoxEx(args);
}

// Module and program mostly lie in one directory, which is named once.
void AddPlace(std::vector<std::string>* pPlaces, const std::string& Place) {
  for (const std::string& known : *pPlaces) {
    if (known == Place) {
      return;
    }
  }
  pPlaces->push_back(Place);
}

// Text value of a registry key; empty when there is none.
std::string ReadInstallPath(u32 Hive, const char* sKey) {
  const SYS_HANDLE hKey = SYS_REG_Open(Hive, sKey);
  std::array<char, SYS_MAX_PATH> acPath{};
  u32 type = 0;
  u32 size = static_cast<u32>(acPath.size() - 1);
  const u32 result = SYS_REG_Query(hKey, "InstallPath", &type, acPath.data(), &size);
  SYS_REG_Close(hKey);
  return result == 0 && type == SYS_REG_TYPE_STRING ? std::string(acPath.data()) : std::string();
}

// An install path holds the library itself or in a directory for this architecture.
void AddInstallPath(std::vector<std::string>* pPlaces, u32 Hive) {
  std::string dir = ReadInstallPath(Hive, "Software\\TARVEX\\Vortic");
  if (dir.empty()) {
    dir = ReadInstallPath(Hive, "Software\\TARVEX\\Zelmont");
  }
  if (dir.empty()) {
    return;
  }
  SYS_PATH_ToNative(dir.data());
  if (dir.back() != '/') {
    dir += '/';
  }
  AddPlace(pPlaces, dir + kLibraryName);
  AddPlace(pPlaces, dir + "bin_x64/" + kLibraryName);
}

// In the order of the search: beside the code first, so that an installation next to another one
// uses what it came with.
std::vector<std::string> ListPlaces() {
  if (!State().TestPath.empty()) {
    return {State().TestPath};
  }
  std::vector<std::string> places;
  std::array<char, SYS_MAX_PATH> acDir{};
  SYS_GetModuleDir(acDir.data(), SYS_MAX_PATH);
  AddPlace(&places, std::string(acDir.data()) + kLibraryName);
  SYS_GetExeDir(acDir.data(), SYS_MAX_PATH);
  AddPlace(&places, std::string(acDir.data()) + kLibraryName);
  AddInstallPath(&places, SYS_REG_CURRENT_USER);
  AddInstallPath(&places, SYS_REG_MACHINE);
  return places;
}

void ReportMissingLibrary(const std::string& Looked) {
  ShowBox("Target DLL " + Looked + " not found !");
  // An operation that goes on because the handler returned must not end as a success.
  APP_LogError(APP_CAUSE::DriverLibrary, ("Target DLL " + Looked + " not found !").c_str());
  FLASH_DriverHooks.pfOnFatal(1);
}

// The library if it is loaded; libraries may have been unloaded as a whole since.
SYS_HANDLE GetLoaded() {
  DriverState& state = State();
  if (state.hLib != 0 && state.Generation != SYS_LIB_GetGeneration()) {
    state.hLib = 0;
    state.apFunc.fill(nullptr);
  }
  return state.hLib;
}

// Tries one place after the other. A file that exists and doesn't load doesn't end the search: an
// installation elsewhere may be the right one.
bool LoadLibrary() {
  std::string looked;
  for (const std::string& place : ListPlaces()) {
    looked += (looked.empty() ? "" : ", ") + place;
    if (SYS_FILE_Exists(place.c_str()) == 0) {
      continue;
    }
    std::array<char, 512> acError{};
    const u32 generation = SYS_LIB_GetGeneration();
    const SYS_HANDLE hLib = SYS_LIB_Load(place.c_str(), acError.data(), acError.size());
    if (hLib != 0) {
      State().hLib = hLib;
      State().Generation = generation;
      return true;
    }
    looked += std::string(" (") + acError.data() + ")";
  }
  ReportMissingLibrary(looked);
  return false;
}

void Unbind() {
  State().apFunc.fill(nullptr);
}

}  // namespace

FLASH_DRIVER_HOOKS FLASH_DriverHooks = {EndProgram};

bool DRIVER_Load() {
  return State().pfLookup != nullptr || GetLoaded() != 0 || LoadLibrary();
}

// The bound addresses belong to whatever answered before.
void DRIVER_SetLookup(DRIVER_LOOKUP* pfLookup) {
  State().pfLookup = pfLookup;
  Unbind();
}

void DRIVER_SetLibraryPath(const char* sFileName) {
  State().TestPath = sFileName != nullptr ? sFileName : "";
  if (GetLoaded() != 0) {
    SYS_LIB_Free(State().hLib);
    State().hLib = 0;
  }
  Unbind();
}

void* DRIVER_Bind(DriverCall Call) {
  if (!DRIVER_Load()) {
    return nullptr;
  }
  DriverState& state = State();
  const u32 index = static_cast<u32>(Call);
  void*& pFunc = state.apFunc[index];
  if (pFunc == nullptr) {
    pFunc = state.pfLookup != nullptr ? state.pfLookup(kNames[index])
                                      : SYS_LIB_GetFunction(state.hLib, kNames[index]);
  }
  if (pFunc == nullptr) {
    const std::string text = std::string("DLL function ") + kNames[index] + "(...) not found !";
    ShowBox(text);
    // A call that does nothing has a result that looks like success, so the operation has to fail.
    APP_LogError(APP_CAUSE::DriverLibrary, text.c_str());
  }
  return pFunc;
}
