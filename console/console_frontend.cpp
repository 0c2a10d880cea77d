#include "console/console_frontend.h"

#include <algorithm>
#include <string>

#include "app/engine/app_state.h"
#include "app/operations/data_windows.h"
#include "console/progress_line.h"
#include "image/memarea.h"
#include "sys/time.h"
#include "sys/util_string.h"

namespace {

constexpr u32 kDrawEveryMs = 100;

// Nothing is shown of an image, so there is little to do but to know it.
class CONSOLE_DATA_WINDOW : public APP_DATA_WINDOW {
 public:
  explicit CONSOLE_DATA_WINDOW(MEMAREA* pArea) : m_pArea(pArea) {}
  void SetImage(MEMAREA* pArea) { m_pArea = pArea; }
  void RequestReload() override {}
  void RequestBigEndian(bool /*OnOff*/) override {}
  void RequestReadOnly(bool /*OnOff*/) override {}
  void RequestWindowName(const char* /*sName*/) override {}
  int IsModified() override { return MEMAREA_GetNumChanges(m_pArea) > 0 ? 1 : 0; }

 private:
  MEMAREA* m_pArea;
};

}  // namespace

CONSOLE_FRONTEND::CONSOLE_FRONTEND()
    : m_hInitDone(SYS_CreateEvent(true, false)), m_Lock(SYS_MUTEX_Create(nullptr)) {}

CONSOLE_FRONTEND::~CONSOLE_FRONTEND() {
  SYS_MUTEX_Destroy(&m_Lock);
  SYS_CloseHandle(m_hInitDone);
}

void CONSOLE_FRONTEND::WaitInit() {
  SYS_WaitForObject(m_hInitDone, SYS_INFINITE);
}

void CONSOLE_FRONTEND::OnInterrupt(INTERRUPT kind) {
  SYS_LOCK_GUARD lock(m_Lock);
  const bool isEnd = kind == INTERRUPT::End;
  u32& count = isEnd ? m_NumEnds : m_NumInterrupts;
  if (++count > 1) {
    m_Terminal.PrintNotice("Ended by the user.");
    TERMINAL_EndProcess(1);
  }
  if (isEnd) {
    APP_State().IsEndAsked = true;
    for (PROGRESS_INFO* pInfo : m_Progress) {
      PROGRESS_Cancel(pInfo);
    }
    m_Terminal.PrintNotice("Ending ...");
    return;
  }
  if (m_Progress.empty()) {
    m_CancelNext = true;
  } else {
    PROGRESS_Cancel(m_Progress.back());
  }
  m_Terminal.PrintNotice("Canceling ... (interrupt again to end at once)");
}

void CONSOLE_FRONTEND::ShowMsgBox(MSGBOX_INFO* pInfo) {
  std::string text = pInfo->sText == nullptr ? "" : pInfo->sText;
  text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
  if (text.empty() || text.back() != '\n') {
    text += '\n';
  }
  m_Terminal.Print(text.c_str());
  pInfo->Result = pInfo->DefaultBtn;
  pInfo->CheckResult = pInfo->CheckState != 0 ? 1 : 0;
  pInfo->Rejected = 0;
}

// The fields keep what they start with.
int CONSOLE_FRONTEND::ShowEditValDialog(const char* /*sTitle*/, EDIT_VALUE_ITEM* /*pItems*/,
                                        u32 /*NumItems*/) {
  return 0;
}

// There is nobody to choose a file.
int CONSOLE_FRONTEND::ShowFileDialogOpen(const char* /*sTitle*/, const char* /*sFilters*/,
                                         const char* /*sSelected*/, char* /*pBuf*/,
                                         u32 /*BufSize*/) {
  return -1;
}

int CONSOLE_FRONTEND::ShowFileDialogSave(const char* /*sTitle*/, const char* /*sFilters*/,
                                         const char* /*sSelected*/, char* /*pBuf*/,
                                         u32 /*BufSize*/) {
  return -1;
}

APP_DATA_WINDOW* CONSOLE_FRONTEND::CreateDataWindow(MEMAREA* pArea, const char* /*sTitle*/,
                                                    bool /*ReadOnly*/, bool /*BigEndian*/) {
  m_Windows.push_back(std::make_unique<CONSOLE_DATA_WINDOW>(pArea));
  return m_Windows.back().get();
}

void CONSOLE_FRONTEND::UpdateDataWindow(APP_DATA_WINDOW* pWindow, MEMAREA* pArea) {
  static_cast<CONSOLE_DATA_WINDOW*>(pWindow)->SetImage(pArea);
}

void CONSOLE_FRONTEND::CloseDataWindow(APP_DATA_WINDOW* pWindow) {
  APP_RemoveDataWindow(pWindow);
  std::erase_if(m_Windows, [pWindow](const auto& pOwned) { return pOwned.get() == pWindow; });
}

void CONSOLE_FRONTEND::UpdateGUI(const APP_RECENT_LISTS& /*lists*/) {}
void CONSOLE_FRONTEND::SetWindowTitleText(const char* /*sText*/) {}
void CONSOLE_FRONTEND::SetStatusText(const char* /*sText*/, u32 /*Index*/) {}
void CONSOLE_FRONTEND::UpdateMenuBar(const MENU_STATE& /*state*/) {}
void CONSOLE_FRONTEND::SetVisibility(u32 /*Visibility*/) {}
void CONSOLE_FRONTEND::UpdateProjectInfo(const PROJ_INFO& /*info*/) {}
void CONSOLE_FRONTEND::EnableGUI(bool /*OnOff*/) {}
void CONSOLE_FRONTEND::EnableDataWindowCheck(bool /*OnOff*/) {}
void CONSOLE_FRONTEND::PostClose() {}  // the program closes behind Init in any case

void CONSOLE_FRONTEND::FinishAsyncInit() {
  SYS_SetEvent(m_hInitDone);
}

PROGRESS_INFO* CONSOLE_FRONTEND::CreateProgressDialog(const char* sTitle, const char* sText,
                                                      u32 flags) {
  PROGRESS_INFO* pInfo = PROGRESS_Create(sTitle, sText, flags);
  if (pInfo == nullptr) {
    return nullptr;
  }
  m_ProgressStartMs = SYS_GetTickMs();
  m_LastDrawMs = m_ProgressStartMs.load();
  if (m_Terminal.ShowsProgress()) {
    PROGRESS_SetRefresh(pInfo, OnRefresh, this);
  }
  SYS_LOCK_GUARD lock(m_Lock);
  m_Progress.push_back(pInfo);
  if (m_CancelNext || m_NumEnds > 0) {
    PROGRESS_Cancel(pInfo);  // asked for before there was anything to cancel
    m_CancelNext = false;
  } else {
    m_NumInterrupts = 0;
  }
  return pInfo;
}

void CONSOLE_FRONTEND::CloseProgressDialog(PROGRESS_INFO** ppInfo) {
  if (*ppInfo == nullptr) {
    return;
  }
  {
    SYS_LOCK_GUARD lock(m_Lock);
    std::erase(m_Progress, *ppInfo);
  }
  m_Terminal.ClearProgress();
  PROGRESS_Free(*ppInfo);
  *ppInfo = nullptr;
}

void CONSOLE_FRONTEND::OnRefresh(PROGRESS_INFO* pInfo, void* pContext) {
  static_cast<CONSOLE_FRONTEND*>(pContext)->Refresh(pInfo);
}

void CONSOLE_FRONTEND::Refresh(PROGRESS_INFO* pInfo) {
  const u32 now = SYS_GetTickMs();
  if (now - m_LastDrawMs < kDrawEveryMs) {
    return;
  }
  m_LastDrawMs = now;
  m_Terminal.DrawProgress(CONSOLE_FormatProgress(
      CONSOLE_TakeProgress(pInfo), now - m_ProgressStartMs, m_Terminal.GetColumns() - 1));
}

void CONSOLE_FRONTEND::AddLogLine(const char* sText) {
  m_Terminal.Print(sText);
}

APP_DATA_WINDOW* CONSOLE_FRONTEND::GetFocusedDataWindow() {
  return m_Windows.empty() ? nullptr : m_Windows.back().get();
}

void CONSOLE_FRONTEND::Terminate(int exitCode) {
  TERMINAL_EndProcess(exitCode);
}
