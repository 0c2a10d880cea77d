#include <atomic>
#include <string>

#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "project/recent.h"
#include "project/settings.h"
#include "project/setup_override.h"
#include "sys/file.h"
#include "sys/path.h"
#include "sys/util_string.h"

// The accessors over the settings store. A key that is missing or malformed reads as its default.
//
// Numbers are cached, since some are asked for at each line of the log; texts are read when asked
// for. Paths are turned to the platform's separator when read, not in the file.

namespace {

// Set while this thread stores a setting.
thread_local bool IsStoring = false;

// A run must not end well on settings that cannot be read. One that cannot be stored costs the run
// nothing: it holds until the program ends, as on a line whose disk is read-only.
void ReportSettings(const char* sText) {
  if (IsStoring) {
    APP_ShowWarning(sText);
  } else {
    APP_ShowError(APP_CAUSE::Settings, sText);
  }
}

// A failure has been reported when these return.
void StoreNumber(const char* sSection, const char* sKey, u32 Value) {
  IsStoring = true;
  SETTINGS_WriteNumber(sSection, sKey, Value);
  IsStoring = false;
}

void StoreString(const char* sSection, const char* sKey, const char* sValue) {
  IsStoring = true;
  SETTINGS_WriteString(sSection, sKey, sValue);
  IsStoring = false;
}

// A number of the store, kept so that reading it costs nothing: the log level is asked for at each
// line. Any thread.
class NumberSetting {
 public:
  constexpr NumberSetting(const char* sSection, const char* sKey, u32 Default)
      : m_sSection(sSection), m_sKey(sKey), m_Default(Default) {}

  u32 Get() {
    u64 cached = m_Cached.load();
    if (cached != kEmpty) {
      return static_cast<u32>(cached);
    }
    // The default stands in while the store is asked: a malformed line is reported by a box, which
    // asks for the log level in its turn.
    if (!m_Cached.compare_exchange_strong(cached, kPending | m_Default)) {
      return cached == kEmpty ? m_Default : static_cast<u32>(cached);
    }
    u32 value = m_Default;
    if (SETTINGS_ReadNumber(m_sSection, m_sKey, &value) != 0) {
      value = m_Default;
    }
    // Dropped when the value was set or forgotten meanwhile.
    u64 pending = kPending | m_Default;
    m_Cached.compare_exchange_strong(pending, kValid | value);
    return value;
  }

  void Set(u32 Value) {
    StoreNumber(m_sSection, m_sKey, Value);
    Forget();
  }

  void Forget() { m_Cached.store(kEmpty); }

 private:
  static constexpr u64 kEmpty = 0;
  static constexpr u64 kValid = u64{1} << 32;
  static constexpr u64 kPending = u64{1} << 33;

  const char* m_sSection;
  const char* m_sKey;
  u32 m_Default;
  std::atomic<u64> m_Cached{kEmpty};
};

constexpr char kOperation[] = "OPERATION";
constexpr char kProject[] = "PROJECT";
constexpr char kPath[] = "PATH";
constexpr char kLog[] = "LOG";

// Section, key, default.
NumberSetting AutoBlankCheck(kOperation, "AutoBlankCheck", 1);
NumberSetting AutoDisconnect(kOperation, "AutoDisconnect", 0);
NumberSetting AutoMode(kOperation, "AutoMode", 0);
NumberSetting SkipBlankAreas(kOperation, "SkipBlankAreas", 0);
NumberSetting VerifyErase(kOperation, "VerifyErase", 1);
NumberSetting AutoSaveProject(kProject, "AutoSaveProject", 0);
NumberSetting EnableKorvaneLog(kLog, "EnableKorvaneLog", 0);
NumberSetting EnableVorticLog(kLog, "EnableVorticLog", 0);
NumberSetting LogLevel(kLog, "LogLevel", 3);
NumberSetting TimeoutProgram("TIMEOUT", "TimeoutProgram", 1000);

NumberSetting* const apNumbers[] = {
    &AutoBlankCheck,   &AutoDisconnect,  &AutoMode, &SkipBlankAreas, &AutoSaveProject,
    &EnableKorvaneLog, &EnableVorticLog, &LogLevel, &TimeoutProgram, &VerifyErase};

void ForgetNumbers() {
  for (NumberSetting* pNumber : apNumbers) {
    pNumber->Forget();
  }
}

// False when the key is missing or empty. Files written elsewhere may hold the other slash.
bool ReadPath(const char* sSection, const char* sKey, char* pBuf, u32 BufSize) {
  if (SETTINGS_ReadString(sSection, sKey, pBuf, BufSize) != 0 || pBuf[0] == '\0') {
    return false;
  }
  SYS_PATH_ToNative(pBuf);
  return true;
}

// Drive and directory of a name; what stands behind the last separator is dropped.
void WriteDirectory(const char* sKey, const char* sName) {
  char acName[SYS_MAX_PATH];
  char acDrive[8];
  char acDir[SYS_MAX_PATH];
  if (sName == nullptr || UTIL_strcpy(acName, sName, sizeof(acName)) > i32{SYS_MAX_PATH}) {
    return;
  }
  SYS_PATH_ToNative(acName);
  SYS_PATH_Split(acName, acDrive, sizeof(acDrive), acDir, sizeof(acDir), nullptr, 0, nullptr, 0);
  const std::string dir = std::string(acDrive) + acDir;
  // Mostly it is the same one: the file isn't written for that.
  char acKnown[SYS_MAX_PATH];
  if (!ReadPath(kPath, sKey, acKnown, sizeof(acKnown)) || dir != acKnown) {
    StoreString(kPath, sKey, dir.c_str());
  }
}

void GetLogFile(const char* sKey, const char* sStem, char* pBuf, u32 BufSize) {
  if (ReadPath(kLog, sKey, pBuf, BufSize)) {
    return;
  }
  char acDir[SYS_MAX_PATH] = {};
  // Without a work directory the log goes to the current one.
  if (SYS_GetWritableDir(acDir, sizeof(acDir)) != 0) {
    acDir[0] = '\0';
  }
  SYS_PATH_Make(pBuf, BufSize, nullptr, acDir, sStem, ".log");
}

}  // namespace

int SETUP_Init() {
  char acDir[SYS_MAX_PATH] = {};
  char acFile[SYS_MAX_PATH] = {};
  if (SYS_GetAppDataDir(acDir, sizeof(acDir)) != 0) {
    return -1;
  }
  SYS_PATH_Make(acFile, sizeof(acFile), nullptr, acDir, "KorvaneSPI", ".ini");
  SETTINGS_Init(acFile, ReportSettings);
  ForgetNumbers();
  return 0;
}

void SETUP_Reset() {
  SETUP_ClearOverrides();
  SETTINGS_Exit();
  ForgetNumbers();
}

u32 SETUP_GetAutoBlankCheck() {
  return AutoBlankCheck.Get();
}
u32 SETUP_GetVerifyErase() {
  return VerifyErase.Get();
}
u32 SETUP_GetAutoDisconnect() {
  return AutoDisconnect.Get();
}
u32 SETUP_GetAutoMode() {
  return AutoMode.Get();
}
u32 SETUP_GetSkipBlankAreas() {
  return SkipBlankAreas.Get();
}
u32 SETUP_GetAutoSaveProject() {
  return AutoSaveProject.Get();
}
u32 SETUP_GetTimeoutProgram() {
  return TimeoutProgram.Get();
}

// Below 1 nothing at all would be told; above 9 there is nothing more to tell.
u32 SETUP_GetLogLevel() {
  const u32 level = LogLevel.Get();
  return level < 1 ? 1 : level > 9 ? 9 : level;
}

u32 SETUP_GetEnableKorvaneLog(bool AllowOverride) {
  return AllowOverride && SETUP_GetKorvaneLogOverride(nullptr, 0) ? 1 : EnableKorvaneLog.Get();
}

u32 SETUP_GetEnableVorticLog(bool AllowOverride) {
  return AllowOverride && SETUP_GetVorticLogOverride(nullptr, 0) ? 1 : EnableVorticLog.Get();
}

void SETUP_GetKorvaneLogFile(char* pBuf, u32 BufSize, bool AllowOverride) {
  if (!AllowOverride || !SETUP_GetKorvaneLogOverride(pBuf, BufSize)) {
    GetLogFile("KorvaneLogFile", "Korvane", pBuf, BufSize);
  }
}

void SETUP_GetVorticLogFile(char* pBuf, u32 BufSize, bool AllowOverride) {
  if (!AllowOverride || !SETUP_GetVorticLogOverride(pBuf, BufSize)) {
    GetLogFile("VorticLogFile", "VorticARM", pBuf, BufSize);
  }
}

void SETUP_GetCurrent(char* pBuf, u32 BufSize) {
  ReadPath(kProject, "Current", pBuf, BufSize);
}

void SETUP_GetDataFiles(char* pBuf, u32 BufSize) {
  if (!ReadPath(kPath, "DataFiles", pBuf, BufSize)) {
    SYS_GetExeDir(pBuf, BufSize);
  }
}

void SETUP_GetProjectFiles(char* pBuf, u32 BufSize) {
  if (ReadPath(kPath, "ProjectFiles", pBuf, BufSize)) {
    return;
  }
  // An installed program has sample projects beside it.
  SYS_GetExeDir(pBuf, BufSize);
  std::string samples = std::string(pBuf) + "Samples\\Korvane\\ProjectFiles\\";
  SYS_PATH_ToNative(samples.data());
  if (samples.size() < BufSize && SYS_DIR_Exists(samples.c_str()) != 0) {
    UTIL_strcpy(pBuf, samples.c_str(), BufSize);
  }
}

void SETUP_SetAutoBlankCheck(u32 Value) {
  AutoBlankCheck.Set(Value);
}
void SETUP_SetVerifyErase(u32 Value) {
  VerifyErase.Set(Value);
}
void SETUP_SetAutoDisconnect(u32 Value) {
  AutoDisconnect.Set(Value);
}
void SETUP_SetAutoMode(u32 Value) {
  AutoMode.Set(Value);
}
void SETUP_SetSkipBlankAreas(u32 Value) {
  SkipBlankAreas.Set(Value);
}
void SETUP_SetAutoSaveProject(u32 Value) {
  AutoSaveProject.Set(Value);
}
void SETUP_SetLogLevel(u32 Value) {
  LogLevel.Set(Value);
}
void SETUP_SetEnableVorticLog(u32 Value) {
  EnableVorticLog.Set(Value);
}

void SETUP_SetEnableKorvaneLog(u32 Value) {
  EnableKorvaneLog.Set(Value);
  // A log that the command line asked for stays on.
  APP_EnableLogFile(SETUP_GetEnableKorvaneLog(true) != 0);
}

void SETUP_SetKorvaneLogFile(const char* sName) {
  StoreString(kLog, "KorvaneLogFile", sName);
}

void SETUP_SetVorticLogFile(const char* sName) {
  StoreString(kLog, "VorticLogFile", sName);
}

void SETUP_SetCurrent(const char* sName) {
  char acFull[SYS_MAX_PATH];
  SYS_PATH_MakeFull(sName, acFull, sizeof(acFull));
  StoreString(kProject, "Current", acFull);
  RECENT_Add(RECENT_PROJECTS, acFull);
}

void SETUP_SetDataFiles(const char* sName) {
  WriteDirectory("DataFiles", sName);
}
void SETUP_SetProjectFiles(const char* sName) {
  WriteDirectory("ProjectFiles", sName);
}
