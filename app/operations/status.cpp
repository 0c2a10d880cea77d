#include "app/operations/status.h"

#include "app/engine/app_state.h"
#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "app/operations/data_windows.h"
#include "catalogue/catalogue.h"
#include "flash/connect.h"
#include "flash/driver.h"
#include "project/proj_info.h"
#include "project/project.h"
#include "project/recent.h"
#include "sys/path.h"
#include "sys/util_format.h"
#include "sys/util_string.h"

namespace {

constexpr u32 kTitleSize = 640;
constexpr u32 kTitleLimit = 612;

// The revision of the driver library's version: nothing, a letter, or z and two digits.
void FormatRevision(u32 revision, char* pBuf, u32 bufSize) {
  pBuf[0] = '\0';
  if (revision >= 27) {
    UTIL_snprintf(pBuf, bufSize, "z%02d", revision - 26);
  } else if (revision > 0) {
    UTIL_snprintf(pBuf, bufSize, "%c", 'a' + revision - 1);
  }
}

void FillDevice(PROJ_INFO* pInfo) {
  pInfo->DeviceIndex = FLASH_GetSelectedDevice();
  if (pInfo->FlashInfo.FlashType == FLASH_TYPE_EEPROM) {
    FLASH_GetEEPROMRow(pInfo->FlashInfo.EEPROMIndex, &pInfo->Device);
  } else if (pInfo->DeviceIndex >= 0) {
    FLASH_GetDeviceRow(static_cast<u32>(pInfo->DeviceIndex), &pInfo->Device);
  }
}

void FillMenuState(MENU_STATE* pState) {
  pState->HasRecentProjects = RECENT_GetCount(RECENT_PROJECTS) != 0;
  pState->HasRecentDataFiles = RECENT_GetCount(RECENT_DATA_FILES) != 0;
  pState->HasDataWindow = APP_GetNumDataWindows() != 0;
  APP_DATA_WINDOW* pWindow = APP_GetFrontEnd()->GetFocusedDataWindow();
  pState->DataWindowModified = pWindow != nullptr && pWindow->IsModified() == 1;
  pState->ProjectOpen = PROJECT_IsOpen() > 0;
  if (pState->ProjectOpen == 0) {
    return;
  }
  PROJ_GENERAL general{};
  SPI_FLASH_INFO flash{};
  PROJECT_GetGeneral(&general);
  PROJECT_GetFlash(&flash);
  pState->ProjectModified = PROJECT_IsModified() != 0;
  pState->Connected = FLASH_IsConnected();
  pState->ModuleSelection = general.UseATEModuleSelection != 0;
  pState->FlashIsNOR = flash.FlashType == FLASH_TYPE_NOR;
}

}  // namespace

void APP_UpdateWindowTitle() {
  char acTitle[kTitleSize];
  UTIL_strcpy(acTitle, APP_GetTitle(), kTitleLimit);
  if (PROJECT_IsOpen() > 0) {
    UTIL_strcat(acTitle, " - [", kTitleLimit);
    UTIL_strcat(acTitle, PROJECT_GetName(), kTitleLimit);
    UTIL_strcat(acTitle, PROJECT_IsModified() != 0 ? " *" : "", kTitleLimit);
    UTIL_strcat(acTitle, "]", kTitleLimit);
  }
  if (APP_FRONTEND* pFrontEnd = APP_GetFrontEnd(); pFrontEnd != nullptr) {
    pFrontEnd->SetWindowTitleText(acTitle);
  }
}

void APP_UpdateProjectInfo() {
  PROJ_INFO info{};
  APP_FRONTEND* pFrontEnd = APP_GetFrontEnd();
  if (pFrontEnd == nullptr) {
    return;
  }
  info.IsProjectOpen = PROJECT_IsOpen() > 0;
  if (info.IsProjectOpen != 0) {
    PROJECT_GetGeneral(&info.General);
    PROJECT_GetCpu(&info.Cpu);
    PROJECT_GetFlash(&info.FlashInfo);
    FillDevice(&info);
    info.IsConnected = FLASH_IsConnected();
    SYS_PATH_GetName(PROJECT_GetName(), info.acProjName, sizeof info.acProjName);
  }
  pFrontEnd->UpdateProjectInfo(info);
}

void APP_UpdateMenuBar() {
  APP_FRONTEND* pFrontEnd = APP_GetFrontEnd();
  if (pFrontEnd == nullptr) {
    return;
  }
  APP_RECENT_LISTS lists;
  for (u32 i = 0; i < APP_NUM_RECENT; ++i) {
    lists.apDataFiles[i] = RECENT_GetEntry(RECENT_DATA_FILES, i);
    lists.apProjects[i] = RECENT_GetEntry(RECENT_PROJECTS, i);
  }
  pFrontEnd->UpdateGUI(lists);
  MENU_STATE state = {};
  FillMenuState(&state);
  pFrontEnd->UpdateMenuBar(state);
}

void APP_SetStatusText(const char* sText, unsigned index) {
  if (APP_FRONTEND* pFrontEnd = APP_GetFrontEnd(); pFrontEnd != nullptr) {
    pFrontEnd->SetStatusText(sText, index);
  }
}

void APP_LogVersions() {
  char acLine[256];
  UTIL_snprintf(acLine, sizeof acLine, "%s (%s compiled %s)", APP_GetShortTitle(), APP_GetName(),
                __DATE__ " " __TIME__);
  AddLogLine(acLine);
  const u32 version = VORTIC_GetDLLVersion();
  char acRevision[8];
  FormatRevision(version % 100, acRevision, sizeof acRevision);
  char acVersion[64];
  UTIL_snprintf(acVersion, sizeof acVersion, "VorticARM.dll V%d.%02d%s", version / 10000,
                version / 100 % 100, acRevision);
  UTIL_snprintf(acLine, sizeof acLine, "%s (DLL compiled %s)", acVersion,
                VORTIC_GetCompileDateTime());
  AddLogLine(acLine);
}
