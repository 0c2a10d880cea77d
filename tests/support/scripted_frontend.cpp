#include "tests/support/scripted_frontend.h"

#include <utility>

#include "sys/util_string.h"

namespace {

std::string Text(const char* s) {
  return s != nullptr ? s : "";
}

// The oldest answer of a script, or a default one.
template <class T>
T Take(std::deque<T>& answers, T answer) {
  if (!answers.empty()) {
    answer = std::move(answers.front());
    answers.pop_front();
  }
  return answer;
}

}  // namespace

// ---- Record ----

// Strips anew, so that a fault of the log's own stripping shows in a comparison.
std::string SCRIPTED_FRONTEND::GetLog() const {
  std::string log = GetColouredLog();
  for (std::size_t pos = 0; (pos = log.find('\033', pos)) != std::string::npos;) {
    const std::size_t end = log.find('m', pos);
    log.erase(pos, end == std::string::npos ? 1 : end + 1 - pos);
  }
  return log;
}

u32 SCRIPTED_FRONTEND::CountLog(const std::string& Part) const {
  const std::string log = GetLog();
  u32 num = 0;
  for (std::size_t pos = log.find(Part); pos != std::string::npos; pos = log.find(Part, pos + 1)) {
    ++num;
  }
  return num;
}

std::string SCRIPTED_FRONTEND::GetBoxTexts() const {
  std::string out;
  for (const SCRIPTED_BOX& box : GetBoxes()) {
    out += box.Text + "\n";
  }
  return out;
}

std::vector<SCRIPTED_WINDOW*> SCRIPTED_FRONTEND::GetWindows() const {
  std::lock_guard guard(m_Lock);
  std::vector<SCRIPTED_WINDOW*> apWindows;
  for (const auto& pWindow : m_Windows) {
    apWindows.push_back(pWindow.get());
  }
  return apWindows;
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
  const BoxAnswer answer = Take(m_BoxAnswers, {pInfo->DefaultBtn, false, {}});
  pInfo->Result = answer.Btn;
  pInfo->Rejected = answer.Rejected ? 1 : 0;
  pInfo->CheckResult = answer.Check.value_or(pInfo->CheckState != 0 ? 1 : 0);
  m_Boxes.push_back({Text(pInfo->sTitle), Text(pInfo->sText), Text(pInfo->sBtn0),
                     Text(pInfo->sBtn1), pInfo->DefaultBtn, pInfo->Icon});
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
  const std::vector<u64> aValues = Take(m_ValueAnswers, {});
  for (u32 i = 0; i < NumItems && i < aValues.size(); ++i) {
    *pItems[i].pValue = aValues[i];
  }
  return aValues.empty() ? -1 : 0;
}

int SCRIPTED_FRONTEND::AskFile(const char* sKind, const char* sTitle, const char* sFilters,
                               char* pBuf, u32 BufSize) {
  Block(sKind);
  std::lock_guard guard(m_Lock);
  m_Questions.push_back({sKind, Text(sTitle), Text(sFilters), Text(pBuf)});
  const std::optional<std::string> name = Take(m_FileAnswers, {});
  if (!name) {
    return -1;
  }
  UTIL_strcpy(pBuf, name->c_str(), BufSize);
  return 0;
}

// ---- Data windows ----

APP_DATA_WINDOW* SCRIPTED_FRONTEND::CreateDataWindow(MEMAREA* pArea, const char* sTitle,
                                                     bool ReadOnly, bool /*BigEndian*/) {
  Block("CreateDataWindow");
  std::lock_guard guard(m_Lock);
  m_pFocus = nullptr;
  m_Windows.push_back(std::make_unique<SCRIPTED_WINDOW>(pArea, sTitle));
  m_Windows.back()->IsReadOnly = ReadOnly;
  return m_Windows.back().get();
}

void SCRIPTED_FRONTEND::UpdateDataWindow(APP_DATA_WINDOW* pWindow, MEMAREA* pArea) {
  Block("UpdateDataWindow");
  auto* pShown = static_cast<SCRIPTED_WINDOW*>(pWindow);
  pShown->pArea = pArea;
  ++pShown->NumUpdates;
}

void SCRIPTED_FRONTEND::CloseDataWindow(APP_DATA_WINDOW* pWindow) {
  std::lock_guard guard(m_Lock);
  m_pFocus = m_pFocus == pWindow ? nullptr : m_pFocus;
  std::erase_if(m_Windows, [=](const auto& pEntry) { return pEntry.get() == pWindow; });
}

APP_DATA_WINDOW* SCRIPTED_FRONTEND::GetFocusedDataWindow() {
  std::lock_guard guard(m_Lock);
  return m_pFocus != nullptr || m_Windows.empty() ? m_pFocus : m_Windows.back().get();
}

// ---- Progress ----

// True when the script presses Cancel now.
bool SCRIPTED_FRONTEND::NoteRefresh(PROGRESS_INFO* pInfo) {
  std::string aTexts[2];
  {
    SYS_LOCK_GUARD guard(pInfo->Lock);
    aTexts[0] = pInfo->sText;
    aTexts[1] = pInfo->sSubText;
  }
  std::lock_guard guard(m_Lock);
  bool cancel = false;
  for (const std::string& text : aTexts) {
    if (!text.empty() && (m_ProgressTexts.empty() || m_ProgressTexts.back() != text)) {
      m_ProgressTexts.push_back(text);
    }
    if (!m_CancelText.empty() && text.find(m_CancelText) != std::string::npos) {
      m_CancelText.clear();
      cancel = true;
    }
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
  {
    std::lock_guard guard(m_Lock);
    if (std::exchange(m_FailProgress, false)) {
      return nullptr;
    }
    ++m_NumOpenProgress;
    m_ProgressFlags = Flags;
  }
  PROGRESS_INFO* pInfo = PROGRESS_Create(sTitle, sText, Flags);
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
