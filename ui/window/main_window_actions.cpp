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

constexpr u32 kEraseSectors = 1;
constexpr u32 kEraseChip = 3;
constexpr u64 kNoAddr = ~u64{0};  // the file says where it belongs
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

// A box with its texts, which it needs as long as it is shown.
struct SHOWN_BOX {
  std::string Title, Text;
  MSGBOX_INFO Info{};
};

}  // namespace

void MainWindow_ShowBox(const char* sTitle, const char* sText, bool Modal) {
  const auto pShown = std::make_shared<SHOWN_BOX>();
  pShown->Title = sTitle != nullptr ? sTitle : APP_GetTitle();
  pShown->Text = sText;
  pShown->Info.sTitle = pShown->Title.c_str();
  pShown->Info.sText = pShown->Text.c_str();
  pShown->Info.sBtn0 = "O.K.";
  pShown->Info.Icon = APP_ICON_WARNING;
  auto* pBox = new DIALOG_CustMsgBox(
      qobject_cast<QWidget*>(dynamic_cast<QObject*>(APP_GetFrontEnd())), &pShown->Info);
  if (Modal) {
    pBox->exec();
    return;
  }
  QObject::connect(pBox, &QObject::destroyed, [pShown] {});
  pBox->show();
}

DataWindowHandle* MainWindow::GetFocused() const {
  SYS_LOCK_GUARD lock(m_Lock);
  return m_Request.pFocusedDataWindow;
}

DataWindowHandle* MainWindow::GetFocusedOrWarn() const {
  DataWindowHandle* pHandle = GetFocused();
  if (pHandle == nullptr) {
    APP_LogWarning(kNoDataFile);
  }
  return pHandle;
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

void MainWindow::_SlotOnActOpenDataFile() {
  char acFile[kFileSize] = "";
  if (AskDataFile("Open data file", acFile)) {
    APP_PostOpenDataFile(acFile, kNoAddr, false, this);
  }
}

void MainWindow::_SlotOnActMergeDataFile() {
  char acFile[kFileSize] = "";
  if (AskDataFile("Merge data file", acFile)) {
    APP_PostMergeDataFile(acFile, this);
  }
}

// The core knows under which name the window was opened; one that shows no file asks for a name.
void MainWindow::SaveDataFile(bool SaveAs) {
  DataWindowHandle* pHandle = GetFocused();
  if (pHandle == nullptr) {
    MainWindow_ShowBox("Failed to save data file",
                       "Failed to save data file.\nNo data window is open.", true);
    return;
  }
  APP_PostSaveDataFile(pHandle, "", SaveAs, this);
}

void MainWindow::_SlotOnActSaveDataFile() {
  SaveDataFile(false);
}

void MainWindow::_SlotOnActSaveDataFileAs() {
  SaveDataFile(true);
}

void MainWindow::_SlotOnActMRUDataFile(const QString& sFile) {
  char acFile[kFileSize];
  QTHelper_ToLocal8Bit(sFile, acFile, sizeof acFile);
  APP_PostOpenDataFile(acFile, kNoAddr, false, this);
}

void MainWindow::_SlotOnActMRUProjFile(const QString& sFile) {
  char acFile[kFileSize];
  QTHelper_ToLocal8Bit(sFile, acFile, sizeof acFile);
  APP_PostOpenProjFile(acFile);
}

void MainWindow::_SlotOnActOpenProj() {
  APP_PostOpenProjFile("");
}

void MainWindow::_SlotOnActSaveProjFile() {
  APP_PostSaveProjFile(false, nullptr);
}

void MainWindow::_SlotOnActSaveProjFileAs() {
  APP_PostSaveProjFile(true, nullptr);
}

void MainWindow::_SlotOnActCloseProject() {
  APP_PostCloseProject();
}

void MainWindow::_SlotOnActSaveFlashConfFile() {
  APP_PostSaveEmuConfigFile();
}

void MainWindow::_SlotOnActSaveFlashDataFile() {
  APP_PostSaveEmuDataFile();
}

void MainWindow::_SlotOnActDownloadConfigFiles() {
  APP_PostDownloadConfigFiles();
}

void MainWindow::_SlotOnActDownloadSNFiles() {
  APP_PostDownloadSNFiles();
}

void MainWindow::_SlotOnActExit() {
  close();
}

void MainWindow::_SlotOnActRelocate() {
  APP_PostRelocateData();
}

void MainWindow::_SlotOnActDelRange() {
  APP_PostDeleteDataRange();
}

void MainWindow::_SlotOnActElimBlank() {
  APP_PostEliminateBlankData();
}

// The row's text came from the same state, so it does what it said.
void MainWindow::_SlotOnActConnection() {
  SYS_MUTEX_Lock(m_Lock, SYS_INFINITE);
  const bool isConnected = m_Request.MenuState.Connected != 0;
  SYS_MUTEX_Unlock(m_Lock);
  APP_PostConnectTarget(!isConnected);
}

void MainWindow::_SlotOnActEraseSectors() {
  APP_PostErase(kEraseSectors);
}

void MainWindow::_SlotOnActEraseChip() {
  APP_PostErase(kEraseChip);
}

// Which image is programmed is decided when the job runs: the one with the focus then.
void MainWindow::_SlotOnActProgram() {
  if (GetFocusedOrWarn() != nullptr) {
    APP_PostProgram(false);
  }
}

void MainWindow::_SlotOnActProgramNVerify() {
  if (GetFocusedOrWarn() != nullptr) {
    APP_PostProgram(true);
  }
}

// These name the window of this moment. The core asks whether it still exists.
void MainWindow::_SlotOnActProdProg() {
  if (DataWindowHandle* pHandle = GetFocusedOrWarn(); pHandle != nullptr) {
    APP_PostExecProdProg(pHandle);
  }
}

void MainWindow::_SlotOnActVerify() {
  if (DataWindowHandle* pHandle = GetFocusedOrWarn(); pHandle != nullptr) {
    APP_PostVerify(pHandle);
  }
}

void MainWindow::_SlotOnActGenerateTestData() {
  APP_PostGenerateTestData(this);
}

void MainWindow::_SlotOnActReadChip() {
  APP_PostRead(true);
}

void MainWindow::_SlotOnActReadRange() {
  APP_PostRead(false);
}

// Rows whose dialogs and jobs are still to come; the table keeps them disabled.
void MainWindow::_SlotOnActShowFilesOnZelmont() {}
void MainWindow::_SlotOnActNewProj() {}
void MainWindow::_SlotOnActProjSettings() {}
void MainWindow::_SlotOnActGlobalSettings() {}
void MainWindow::_SlotOnActAbout() {}

void MainWindow::OpenHelp(u32 Action) {
  const UI_HELP_ROW* pRow = UI_FindHelpRow(Action);
  if (QTHelper_OpenUrl(pRow->sAddress) != 0) {
    MainWindow_ShowBox(nullptr, UI_GetHelpFailure(*pRow).c_str(), true);
  }
}

void MainWindow::_SlotOnActWikiKorvaneSPI() {
  OpenHelp(UI_ACT_WIKI_KORVANE_SPI);
}

void MainWindow::_SlotOnActWikiVortic() {
  OpenHelp(UI_ACT_WIKI_VORTIC);
}

void MainWindow::_SlotOnActWikiZelmont() {
  OpenHelp(UI_ACT_WIKI_ZELMONT);
}

void MainWindow::_SlotOnActWikiZelmontHub() {
  OpenHelp(UI_ACT_WIKI_ZELMONT_HUB);
}

// The manual comes with the program, the wikis with the web.
void MainWindow::_SlotOnActManualKorvane() {
  const QFileInfo file{QString(UI_MANUAL_PATH)};
  const std::string absolute = QDir::toNativeSeparators(file.absoluteFilePath()).toStdString();
  if (!file.isFile()) {
    MainWindow_ShowBox(nullptr, UI_GetManualFailure(false, absolute).c_str(), true);
  } else if (QTHelper_OpenUrl(QUrl::fromLocalFile(file.absoluteFilePath()).toEncoded()) != 0) {
    MainWindow_ShowBox(nullptr, UI_GetManualFailure(true, UI_MANUAL_PATH).c_str(), true);
  }
}
