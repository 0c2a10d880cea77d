#include "tests/support/scripted_frontend.h"

#include <algorithm>
#include <utility>

#include "sys/util_string.h"

namespace {

std::string Text(const char* s) {
  return s != nullptr ? s : "";
}

// Written anew here, so that a fault of the log's own stripping shows in a comparison.
std::string WithoutColours(const std::string& Log) {
  std::string out;
  for (std::size_t i = 0; i < Log.size(); ++i) {
    if (Log[i] != '\033') {
      out += Log[i];
      continue;
    }
    const std::size_t end = Log.find('m', i);
    i = end != std::string::npos ? end : i;
  }
  return out;
}

std::vector<std::string> CopyList(const char* const* apTexts) {
  std::vector<std::string> aTexts;
  for (u32 i = 0; i < APP_NUM_RECENT && apTexts[i] != nullptr; ++i) {
    aTexts.emplace_back(apTexts[i]);
  }
  return aTexts;
}

}  // namespace

int SCRIPTED_WINDOW::IsModified() {
  if (pArea == nullptr) {
    return 0;
  }
  return m_pOwner->OnIsModified ? m_pOwner->OnIsModified(pArea) : (Modified ? 1 : 0);
}

// ---- Script ----

void SCRIPTED_FRONTEND::AnswerBox(u32 Btn, std::optional<u8> Check) {
  std::lock_guard guard(m_Lock);
  m_BoxAnswers.push_back({Btn, false, Check});
}

void SCRIPTED_FRONTEND::RejectBox() {
  std::lock_guard guard(m_Lock);
  m_BoxAnswers.push_back({0, true, {}});
}

void SCRIPTED_FRONTEND::AnswerValues(std::vector<u64> aValues) {
  std::lock_guard guard(m_Lock);
  m_ValueAnswers.push_back(std::move(aValues));
}

void SCRIPTED_FRONTEND::AnswerFile(const std::string& Name) {
  std::lock_guard guard(m_Lock);
  m_FileAnswers.emplace_back(Name);
}

void SCRIPTED_FRONTEND::CancelFile() {
  std::lock_guard guard(m_Lock);
  m_FileAnswers.emplace_back(std::nullopt);
}

void SCRIPTED_FRONTEND::CancelAfterRefreshes(u32 NumRefreshes) {
  std::lock_guard guard(m_Lock);
  m_RefreshesToCancel = NumRefreshes;
}

void SCRIPTED_FRONTEND::CancelOnText(const std::string& Part) {
  std::lock_guard guard(m_Lock);
  m_CancelText = Part;
}

// ---- Record ----

std::string SCRIPTED_FRONTEND::GetLog() const {
  return WithoutColours(GetColouredLog());
}

std::string SCRIPTED_FRONTEND::GetColouredLog() const {
  std::lock_guard guard(m_Lock);
  return m_Log;
}

bool SCRIPTED_FRONTEND::HasLog(const std::string& Part) const {
  return GetLog().find(Part) != std::string::npos;
}

u32 SCRIPTED_FRONTEND::CountLog(const std::string& Part) const {
  const std::string log = GetLog();
  u32 num = 0;
  for (std::size_t pos = log.find(Part); pos != std::string::npos; pos = log.find(Part, pos + 1)) {
    ++num;
  }
  return num;
}

void SCRIPTED_FRONTEND::ClearLog() {
  std::lock_guard guard(m_Lock);
  m_Log.clear();
}

std::vector<SCRIPTED_BOX> SCRIPTED_FRONTEND::GetBoxes() const {
  std::lock_guard guard(m_Lock);
  return m_Boxes;
}

std::string SCRIPTED_FRONTEND::GetBoxTexts() const {
  std::lock_guard guard(m_Lock);
  std::string out;
  for (const SCRIPTED_BOX& box : m_Boxes) {
    out += box.Text + "\n";
  }
  return out;
}

std::vector<SCRIPTED_QUESTION> SCRIPTED_FRONTEND::GetQuestions() const {
  std::lock_guard guard(m_Lock);
  return m_Questions;
}

std::string SCRIPTED_FRONTEND::GetStatusText(u32 Index) const {
  std::lock_guard guard(m_Lock);
  return Index < APP_NUM_STATUS_TEXTS ? m_StatusTexts[Index] : "";
}

std::string SCRIPTED_FRONTEND::GetTitle() const {
  std::lock_guard guard(m_Lock);
  return m_Title;
}

MENU_STATE SCRIPTED_FRONTEND::GetMenu() const {
  std::lock_guard guard(m_Lock);
  return m_Menu;
}

std::vector<std::string> SCRIPTED_FRONTEND::GetRecentFiles() const {
  std::lock_guard guard(m_Lock);
  return m_RecentFiles;
}

std::vector<std::string> SCRIPTED_FRONTEND::GetRecentProjects() const {
  std::lock_guard guard(m_Lock);
  return m_RecentProjects;
}

std::vector<std::string> SCRIPTED_FRONTEND::GetProgressTexts() const {
  std::lock_guard guard(m_Lock);
  return m_ProgressTexts;
}

u32 SCRIPTED_FRONTEND::GetNumOpenProgress() const {
  std::lock_guard guard(m_Lock);
  return m_NumOpenProgress;
}

u32 SCRIPTED_FRONTEND::GetNumProgress() const {
  std::lock_guard guard(m_Lock);
  return m_NumProgress;
}

u32 SCRIPTED_FRONTEND::GetNumRefreshes() const {
  std::lock_guard guard(m_Lock);
  return m_NumRefreshes;
}

u32 SCRIPTED_FRONTEND::GetProgressFlags() const {
  std::lock_guard guard(m_Lock);
  return m_ProgressFlags;
}

PROGRESS_INFO SCRIPTED_FRONTEND::GetLastProgress() const {
  std::lock_guard guard(m_Lock);
  return m_LastProgress;
}

SCRIPTED_FRONTEND::COUNTS SCRIPTED_FRONTEND::GetCounts() const {
  std::lock_guard guard(m_Lock);
  return m_Counts;
}

std::vector<SCRIPTED_WINDOW*> SCRIPTED_FRONTEND::GetWindows() const {
  std::lock_guard guard(m_Lock);
  std::vector<SCRIPTED_WINDOW*> apWindows;
  for (const auto& pWindow : m_Windows) {
    apWindows.push_back(pWindow.get());
  }
  return apWindows;
}

void SCRIPTED_FRONTEND::SetFocus(SCRIPTED_WINDOW* pWindow) {
  std::lock_guard guard(m_Lock);
  m_pFocus = pWindow;
}

// ---- Blocking services ----

void SCRIPTED_FRONTEND::Block(const char* sService) {
  if (OnBlocking) {
    OnBlocking(sService);
  }
}

void SCRIPTED_FRONTEND::ShowMsgBox(MSGBOX_INFO* pInfo) {
  Block("ShowMsgBox");
  std::lock_guard guard(m_Lock);
  BoxAnswer answer;
  answer.Btn = pInfo->DefaultBtn;
  if (!m_BoxAnswers.empty()) {
    answer = m_BoxAnswers.front();
    m_BoxAnswers.pop_front();
  }
  pInfo->Result = answer.Btn;
  pInfo->Rejected = answer.Rejected ? 1 : 0;
  pInfo->CheckResult = answer.Check.value_or(pInfo->CheckState != 0 ? 1 : 0);
  m_Boxes.push_back({Text(pInfo->sTitle), Text(pInfo->sText), Text(pInfo->sBtn0),
                     Text(pInfo->sBtn1), Text(pInfo->sCheckBox), pInfo->DefaultBtn, pInfo->Icon,
                     pInfo->Result, answer.Rejected});
}

int SCRIPTED_FRONTEND::ShowEditValDialog(const char* sTitle, EDIT_VALUE_ITEM* pItems,
                                         u32 NumItems) {
  Block("ShowEditValDialog");
  std::lock_guard guard(m_Lock);
  std::string labels;
  for (u32 i = 0; i < NumItems; ++i) {
    labels += Text(pItems[i].sLabel) + "\n";
  }
  m_Questions.push_back({"EditVal", Text(sTitle), labels, ""});
  if (m_ValueAnswers.empty()) {
    return -1;
  }
  const std::vector<u64> aValues = m_ValueAnswers.front();
  m_ValueAnswers.pop_front();
  for (u32 i = 0; i < NumItems && i < aValues.size(); ++i) {
    *pItems[i].pValue = aValues[i];
  }
  return 0;
}

int SCRIPTED_FRONTEND::AskFile(const char* sKind, const char* sTitle, const char* sFilters,
                               char* pBuf, u32 BufSize) {
  std::lock_guard guard(m_Lock);
  m_Questions.push_back({sKind, Text(sTitle), Text(sFilters), Text(pBuf)});
  if (m_FileAnswers.empty()) {
    return -1;
  }
  const std::optional<std::string> name = m_FileAnswers.front();
  m_FileAnswers.pop_front();
  if (!name) {
    return -1;
  }
  UTIL_strcpy(pBuf, name->c_str(), BufSize);
  return 0;
}

int SCRIPTED_FRONTEND::ShowFileDialogOpen(const char* sTitle, const char* sFilters,
                                          const char* /*sSelected*/, char* pBuf, u32 BufSize) {
  Block("ShowFileDialogOpen");
  return AskFile("Open", sTitle, sFilters, pBuf, BufSize);
}

int SCRIPTED_FRONTEND::ShowFileDialogSave(const char* sTitle, const char* sFilters,
                                          const char* /*sSelected*/, char* pBuf, u32 BufSize) {
  Block("ShowFileDialogSave");
  return AskFile("Save", sTitle, sFilters, pBuf, BufSize);
}

// ---- Data windows ----

APP_DATA_WINDOW* SCRIPTED_FRONTEND::CreateDataWindow(MEMAREA* pArea, const char* sTitle,
                                                     bool ReadOnly, bool BigEndian) {
  Block("CreateDataWindow");
  std::lock_guard guard(m_Lock);
  if (std::exchange(m_FailWindow, false)) {
    return nullptr;
  }
  auto pWindow = std::make_unique<SCRIPTED_WINDOW>(this, pArea);
  pWindow->Name = Text(sTitle);
  pWindow->IsReadOnly = ReadOnly;
  pWindow->IsBigEndian = BigEndian;
  ++m_Counts.NumWindowsCreated;
  m_pFocus = nullptr;
  m_Windows.push_back(std::move(pWindow));
  return m_Windows.back().get();
}

void SCRIPTED_FRONTEND::UpdateDataWindow(APP_DATA_WINDOW* pWindow, MEMAREA* pArea) {
  Block("UpdateDataWindow");
  std::lock_guard guard(m_Lock);
  for (const auto& pEntry : m_Windows) {
    if (pEntry.get() == pWindow) {
      pEntry->pArea = pArea;
      ++pEntry->NumUpdates;
    }
  }
}

void SCRIPTED_FRONTEND::CloseDataWindow(APP_DATA_WINDOW* pWindow) {
  std::unique_ptr<SCRIPTED_WINDOW> pClosed;  // lives until the core has let go of it
  {
    std::lock_guard guard(m_Lock);
    const auto it = std::find_if(m_Windows.begin(), m_Windows.end(),
                                 [=](const auto& pEntry) { return pEntry.get() == pWindow; });
    if (it == m_Windows.end()) {
      return;
    }
    pClosed = std::move(*it);
    m_Windows.erase(it);
    ++m_Counts.NumWindowsClosed;
    m_pFocus = m_pFocus == pClosed.get() ? nullptr : m_pFocus;
  }
  if (OnWindowClosed) {
    OnWindowClosed(pClosed.get());
  }
}

APP_DATA_WINDOW* SCRIPTED_FRONTEND::GetFocusedDataWindow() {
  std::lock_guard guard(m_Lock);
  if (m_pFocus != nullptr) {
    return m_pFocus;
  }
  return m_Windows.empty() ? nullptr : m_Windows.back().get();
}

// ---- Progress ----

void SCRIPTED_FRONTEND::NoteProgressText(const std::string& Shown) {
  if (!Shown.empty() && (m_ProgressTexts.empty() || m_ProgressTexts.back() != Shown)) {
    m_ProgressTexts.push_back(Shown);
  }
}

// True when the script presses Cancel now.
bool SCRIPTED_FRONTEND::NoteRefresh(PROGRESS_INFO* pInfo) {
  std::string text;
  std::string subText;
  {
    SYS_LOCK_GUARD guard(pInfo->Lock);
    text = pInfo->sText;
    subText = pInfo->sSubText;
  }
  std::lock_guard guard(m_Lock);
  ++m_NumRefreshes;
  NoteProgressText(text);
  NoteProgressText(subText);
  bool cancel = m_RefreshesToCancel != 0 && --m_RefreshesToCancel == 0;
  if (!m_CancelText.empty() && (text + "\n" + subText).find(m_CancelText) != std::string::npos) {
    m_CancelText.clear();
    cancel = true;
  }
  return cancel;
}

void SCRIPTED_FRONTEND::RefreshProgress(PROGRESS_INFO* pInfo, void* pContext) {
  auto* pThis = static_cast<SCRIPTED_FRONTEND*>(pContext);
  if (pThis->NoteRefresh(pInfo)) {
    PROGRESS_Cancel(pInfo);
  }
  if (pThis->OnRefresh) {
    pThis->OnRefresh(pInfo);
  }
}

PROGRESS_INFO* SCRIPTED_FRONTEND::CreateProgressDialog(const char* sTitle, const char* sText,
                                                       u32 Flags) {
  PROGRESS_INFO* pInfo = PROGRESS_Create(sTitle, sText, Flags);
  {
    std::lock_guard guard(m_Lock);
    if (std::exchange(m_FailProgress, false) || pInfo == nullptr) {
      PROGRESS_Free(pInfo);
      return nullptr;
    }
    ++m_NumProgress;
    ++m_NumOpenProgress;
    m_ProgressFlags = Flags;
  }
  PROGRESS_SetRefresh(pInfo, RefreshProgress, this);
  if (NoteRefresh(pInfo)) {
    PROGRESS_Cancel(pInfo);
  }
  return pInfo;
}

void SCRIPTED_FRONTEND::CloseProgressDialog(PROGRESS_INFO** ppInfo) {
  PROGRESS_INFO* pInfo = std::exchange(*ppInfo, nullptr);
  if (pInfo == nullptr) {
    return;
  }
  PROGRESS_INFO last;
  {
    SYS_LOCK_GUARD guard(pInfo->Lock);
    last = *pInfo;
  }
  last.Lock = nullptr;
  PROGRESS_Free(pInfo);
  std::lock_guard guard(m_Lock);
  --m_NumOpenProgress;
  m_LastProgress = last;
}

// ---- Told ----

void SCRIPTED_FRONTEND::UpdateGUI(const APP_RECENT_LISTS& lists) {
  std::lock_guard guard(m_Lock);
  ++m_Counts.NumUpdateGUI;
  m_RecentFiles = CopyList(lists.apDataFiles);
  m_RecentProjects = CopyList(lists.apProjects);
}

void SCRIPTED_FRONTEND::SetWindowTitleText(const char* sText) {
  std::lock_guard guard(m_Lock);
  ++m_Counts.NumTitles;
  m_Title = Text(sText);
}

void SCRIPTED_FRONTEND::SetStatusText(const char* sText, u32 Index) {
  std::lock_guard guard(m_Lock);
  if (Index < APP_NUM_STATUS_TEXTS) {
    m_StatusTexts[Index] = Text(sText);
  }
}

void SCRIPTED_FRONTEND::UpdateMenuBar(const MENU_STATE& state) {
  std::lock_guard guard(m_Lock);
  ++m_Counts.NumMenus;
  m_Menu = state;
}

void SCRIPTED_FRONTEND::SetVisibility(u32 Visibility) {
  std::lock_guard guard(m_Lock);
  ++m_Counts.NumVisibility;
  m_Counts.Visibility = Visibility;
}

void SCRIPTED_FRONTEND::UpdateProjectInfo(const PROJ_INFO& /*info*/) {
  std::lock_guard guard(m_Lock);
  ++m_Counts.NumProjectInfo;
}

void SCRIPTED_FRONTEND::EnableGUI(bool OnOff) {
  std::lock_guard guard(m_Lock);
  m_Counts.IsGuiEnabled = OnOff;
}

void SCRIPTED_FRONTEND::EnableDataWindowCheck(bool OnOff) {
  std::lock_guard guard(m_Lock);
  m_Counts.IsWindowCheckEnabled = OnOff;
  m_Counts.aWindowChecks.push_back(OnOff);
}

void SCRIPTED_FRONTEND::PostClose() {
  std::lock_guard guard(m_Lock);
  ++m_Counts.NumPostClose;
}

void SCRIPTED_FRONTEND::FinishAsyncInit() {
  std::lock_guard guard(m_Lock);
  ++m_Counts.NumFinishInit;
}

void SCRIPTED_FRONTEND::AddLogLine(const char* sText) {
  std::lock_guard guard(m_Lock);
  m_Log += sText;
}

void SCRIPTED_FRONTEND::Terminate(int ExitCode) {
  std::lock_guard guard(m_Lock);
  ++m_Counts.NumTerminate;
  m_Counts.TerminateCode = ExitCode;
}
