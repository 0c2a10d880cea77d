// What the user starts: rows of the menus, help, small boxes.
#include "app/engine/app_state.h"
#include "app/engine/log.h"
#include "app/operations/jobs.h"
#include "project/settings.h"
#include "sys/file.h"
#include "ui/common/msg_box.h"
#include "ui/common/qt_helper.h"
#include "ui/window/data_window_handle.h"
#include "ui/window/main_window.h"
#include "ui/window/window_rules.h"

namespace {

constexpr u32 kFileSize = UI_FILE_SIZE;

constexpr char kNoDataFile[] = "No data file specified!";
constexpr char kDataFilter[] =
    "Data files (*.mot *.srec *.s19 *.s28 *.s37 *.s *.hex *.mcs *.txt *.bin *.raw *.elf *.axf "
    "*.out)";
constexpr char kFilters[] =
    "All files (*.*);;"
    "Data files (*.mot *.srec *.s19 *.s28 *.s37 *.s *.hex *.mcs *.txt *.bin *.raw *.elf *.axf "
    "*.out);;"
    "Motorola S files (*.mot *.srec *.s19 *.s28 *.37 *.s);;"
    "Intel Hex files (*.hex *.mcs);;TI-TXT file (*.txt);;Binary files (*.bin *raw);;"
    "ELF files (*.elf *.axf);;OUT files (*.out)";

std::string ToLocal(const QString& sFile) {
  char acFile[kFileSize];
  QTHelper_ToLocal8Bit(sFile, acFile, sizeof acFile);
  return acFile;
}

}  // namespace

DataWindowHandle* MainWindow::GetFocused() const {
  SYS_LOCK_GUARD lock(m_Lock);
  return m_Request.pFocusedDataWindow;
}

// Starts where the last file came from.
bool MainWindow::AskDataFile(const char* sTitle, char* pBuf) {
  char acStart[SYS_MAX_PATH];
  SETUP_GetDataFiles(acStart, sizeof acStart);
  if (QTHelper_GetOpenFileName(this, pBuf, kFileSize, sTitle, acStart, kFilters, kDataFilter) !=
      0) {
    return false;
  }
  SETUP_SetDataFiles(pBuf);
  return true;
}

void MainWindow::_SlotOnActMRUDataFile(const QString& sFile) {
  APP_PostOperation(APP_OP_OPEN_DATA, {.Text = {}, .File = ToLocal(sFile)});
}

void MainWindow::_SlotOnActMRUProjFile(const QString& sFile) {
  APP_PostOperation(APP_OP_OPEN_PROJECT, {.Text = {}, .File = ToLocal(sFile)});
}

// What an operation is to work on, as far as the person in front of the window says it. Which image
// is programmed is decided when the job runs: the one with the focus then.
void MainWindow::StartOperation(APP_OPERATION_ID Id) {
  const u32 needs = APP_GetOperation(Id).Needs;
  APP_CALL call;
  if ((needs & (APP_NEED_DATA | APP_NEED_THIS_WINDOW)) != 0) {
    DataWindowHandle* pHandle = GetFocused();
    if (pHandle == nullptr && (needs & APP_NEED_DATA) != 0) {
      APP_LogWarning(kNoDataFile);
      return;
    }
    if (pHandle == nullptr) {
      MainWindow_ShowBox("Failed to save data file",
                         "Failed to save data file.\nNo data window is open.", true);
      return;
    }
    call.pWindow = (needs & APP_NEED_THIS_WINDOW) != 0 ? pHandle : nullptr;
  }
  if ((needs & APP_NEED_FILE) != 0) {
    char acFile[kFileSize] = "";
    if (!AskDataFile(APP_GetOperation(Id).sName, acFile)) {
      return;
    }
    call.File = acFile;
  }
  APP_PostOperation(Id, std::move(call));
}

void MainWindow::StartAction(u32 Action) {
  switch (Action) {
    case APP_OP_EXIT:
      close();
      break;
    case APP_OP_CONNECT: {
      // The row's text came from the same state, so it does what it said.
      SYS_MUTEX_Lock(m_Lock, SYS_INFINITE);
      const bool isConnected = m_Request.MenuState.Connected != 0;
      SYS_MUTEX_Unlock(m_Lock);
      StartOperation(isConnected ? APP_OP_DISCONNECT : APP_OP_CONNECT);
      break;
    }
    case UI_ACT_SHOW_PROJ_INFO:
      ShowDock(m_pProjDock, m_apAction[Action]->isChecked());
      break;
    case UI_ACT_SHOW_LOG:
      ShowDock(m_pLogDock, m_apAction[Action]->isChecked());
      break;
    case UI_ACT_MANUAL_KORVANE:
      OpenManual();
      break;
    default:
      if (Action < APP_NUM_OPERATIONS) {
        StartOperation(static_cast<APP_OPERATION_ID>(Action));
      } else {
        OpenHelp(Action);
      }
      break;
  }
}

void MainWindow::OpenHelp(u32 Action) {
  const UI_HELP_ROW* pRow = UI_FindHelpRow(Action);
  if (pRow != nullptr && QTHelper_OpenUrl(pRow->sAddress) != 0) {
    MainWindow_ShowBox(nullptr, UI_GetHelpFailure(*pRow).c_str(), true);
  }
}

// The manual comes with the program, the wikis with the web.
void MainWindow::OpenManual() {
  const QFileInfo file{QString(UI_MANUAL_PATH)};
  const std::string absolute = QDir::toNativeSeparators(file.absoluteFilePath()).toStdString();
  if (!file.isFile()) {
    MainWindow_ShowBox(nullptr, UI_GetManualFailure(false, absolute).c_str(), true);
  } else if (QTHelper_OpenUrl(QUrl::fromLocalFile(file.absoluteFilePath()).toEncoded()) != 0) {
    MainWindow_ShowBox(nullptr, UI_GetManualFailure(true, UI_MANUAL_PATH).c_str(), true);
  }
}
