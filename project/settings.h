#pragma once

#include "project/probe_connection.h"
#include "sys/types.h"

struct PROJ_GENERAL;

// The settings store: a small text file of sections and keys, held in memory as a whole and written
// back, as a whole, after each change. Any thread. Files of any size are handled.
//
//   [OPERATION]
//   AutoBlankCheck = 1
//   VerifyErase = 1
//   [PROJECT]
//   Current="/home/user/a.korvane"

using SETTINGS_REPORT = void(const char* sText);

// Binds the store to a file and loads it if it exists. A file that cannot be read is reported and
// never overwritten: later writes fail until the next SETTINGS_Init.
void SETTINGS_Init(const char* pFileName, SETTINGS_REPORT* pfReport);
int SETTINGS_ReadNumber(const char* pSection, const char* pKey, u32* pValue);
int SETTINGS_ReadString(const char* pSection, const char* pKey, char* pDest, u32 DestSize);
int SETTINGS_WriteNumber(const char* pSection, const char* pKey, u32 Value);
int SETTINGS_WriteString(const char* pSection, const char* pKey, const char* pValue);
void SETTINGS_Exit();

// 0 or -1.
int SETUP_Init();
// Forgets overrides and cached values. Called by Exit, and by tests.
void SETUP_Reset();

u32 SETUP_GetAutoBlankCheck();
// What was erased is read back.
u32 SETUP_GetVerifyErase();
u32 SETUP_GetAutoDisconnect();
u32 SETUP_GetAutoMode();  // 0 affected sectors, 1 selected sectors, 2 all sectors
u32 SETUP_GetSkipBlankAreas();
u32 SETUP_GetAutoSaveProject();
u32 SETUP_GetLogLevel();  // 1 to 9
u32 SETUP_GetTimeoutProgram();
// AllowOverride: the temporary log of the command line counts as enabled, and names the file.
u32 SETUP_GetEnableKorvaneLog(bool AllowOverride);
u32 SETUP_GetEnableVorticLog(bool AllowOverride);
void SETUP_GetKorvaneLogFile(char* pBuf, u32 BufSize, bool AllowOverride);
void SETUP_GetVorticLogFile(char* pBuf, u32 BufSize, bool AllowOverride);
void SETUP_GetCurrent(char* pBuf, u32 BufSize);
void SETUP_GetDataFiles(char* pBuf, u32 BufSize);
void SETUP_GetProjectFiles(char* pBuf, u32 BufSize);

void SETUP_SetAutoBlankCheck(u32 Value);
void SETUP_SetVerifyErase(u32 Value);
void SETUP_SetAutoDisconnect(u32 Value);
void SETUP_SetAutoMode(u32 Value);
void SETUP_SetSkipBlankAreas(u32 Value);
void SETUP_SetAutoSaveProject(u32 Value);
void SETUP_SetLogLevel(u32 Value);
void SETUP_SetEnableKorvaneLog(u32 Value);  // opens or closes the log file at once
void SETUP_SetEnableVorticLog(u32 Value);
void SETUP_SetKorvaneLogFile(const char* sName);
void SETUP_SetVorticLogFile(const char* sName);
void SETUP_SetCurrent(const char* sName);  // and enters it into the recent projects
// Keep the directory of a file or directory name only.
void SETUP_SetDataFiles(const char* sName);
void SETUP_SetProjectFiles(const char* sName);

// Overrides of the command line, never stored. Null or a name of 512 characters or more switches
// one off.
void SETUP_OverrideKorvaneLog(const char* sName);
void SETUP_OverrideVorticLog(const char* sName);
void SETUP_OverrideConnection(const PROBE_CONNECTION* pConnection);
// The override if set, else what the project says.
void SETUP_GetConnectInfo(PROBE_CONNECTION* pConnection, const PROJ_GENERAL* pGeneral);

// What happens at start without arguments: 0 welcome, 1 last project, 2 new project.
u32 SETUP_GetAppStartAction();
void SETUP_SetAppStartAction(u32 Action);
