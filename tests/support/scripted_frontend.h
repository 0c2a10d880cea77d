#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "app/engine/frontend.h"

// A data window of the scripted front end. Fields belong to the application thread.
struct SCRIPTED_WINDOW : APP_DATA_WINDOW {
  SCRIPTED_WINDOW(MEMAREA* pShown, const char* sTitle) : pArea(pShown), Name(sTitle) {}
  void RequestReload() override { ++NumReloads; }
  void RequestBigEndian(bool /*OnOff*/) override {}
  void RequestReadOnly(bool OnOff) override { IsReadOnly = OnOff; }
  void RequestWindowName(const char* sName) override { Name = sName; }
  int IsModified() override { return pArea != nullptr && Modified ? 1 : 0; }

  MEMAREA* pArea;
  std::string Name;
  bool IsReadOnly = false, Modified = false;  // Modified: what the window tells
  u32 NumReloads = 0, NumUpdates = 0;
};

// A message box that was shown.
struct SCRIPTED_BOX {
  std::string Title, Text, Btn0, Btn1;
  u32 DefaultBtn, Icon;
};

// A question other than a message box: "EditVal", "Open", "Save".
struct SCRIPTED_QUESTION {
  std::string Kind, Title, Detail, Start;  // Detail: labels or filters; Start: the start path
};

// The tests' front end: answers from lists, records what it was asked and told. Any thread; results
// are copies. Answers run out: message boxes get their default button, value dialogs are rejected,
// file dialogs cancelled.
class SCRIPTED_FRONTEND : public APP_FRONTEND {
 public:
  // ---- Script ----
  void AnswerBox(u32 Btn, std::optional<u8> Check = {}) {
    With([&] { m_BoxAnswers.push_back({Btn, false, Check}); });
  }
  void RejectBox() {
    With([&] { m_BoxAnswers.push_back({0, true, {}}); });
  }
  void AnswerValues(const std::vector<u64>& aValues) {
    With([&] { m_ValueAnswers.push_back(aValues); });
  }
  void AnswerFile(const std::string& Name) {
    With([&] { m_FileAnswers.emplace_back(Name); });
  }
  void CancelFile() {
    With([&] { m_FileAnswers.emplace_back(); });
  }
  // Presses Cancel as soon as one of the texts of a progress holds Part.
  void CancelOnText(const std::string& Part) {
    With([&] { m_CancelText = Part; });
  }
  void FailNextProgress() {
    With([&] { m_FailProgress = true; });
  }

  // Set before the job runs. OnBlocking is called without a lock inside each blocking service, with
  // its name, before the answer: a test waits in it to answer late.
  std::function<void(const char* sService)> OnBlocking;
  std::function<void(PROGRESS_INFO* pInfo)> OnRefresh;

  // ---- Record ----
  std::string GetLog() const;  // without colours, lines ended by LF
  std::string GetColouredLog() const { return Copy(m_Log); }
  // True when the log, without colours, holds Part.
  bool HasLog(const std::string& Part) const { return GetLog().find(Part) != std::string::npos; }
  u32 CountLog(const std::string& Part) const;
  void ClearLog() {
    With([&] { m_Log.clear(); });
  }
  std::vector<SCRIPTED_BOX> GetBoxes() const { return Copy(m_Boxes); }
  // All texts of boxes, each ended by LF.
  std::string GetBoxTexts() const;
  bool HasBox(const std::string& Part) const {
    return GetBoxTexts().find(Part) != std::string::npos;
  }
  std::vector<SCRIPTED_QUESTION> GetQuestions() const { return Copy(m_Questions); }
  std::string GetStatusText(u32 Index) const { return Copy(m_StatusTexts[Index]); }
  MENU_STATE GetMenu() const { return Copy(m_Menu); }
  // Each text and lower text that a progress showed, in order, repeats in a row left out.
  std::vector<std::string> GetProgressTexts() const { return Copy(m_ProgressTexts); }
  u32 GetNumOpenProgress() const { return Copy(m_NumOpenProgress); }
  // Flags of the last progress asked for; the record as it was when the last one was closed.
  u32 GetProgressFlags() const { return Copy(m_ProgressFlags); }
  PROGRESS_INFO GetLastProgress() const { return Copy(m_LastProgress); }

  struct COUNTS {
    u32 NumMenus, NumPostClose, NumFinishInit, NumWindowChecks;
    u32 Visibility;
    bool IsWindowCheckEnabled;
  };
  COUNTS GetCounts() const { return Copy(m_Counts); }
  // Oldest first; owned by the front end.
  std::vector<SCRIPTED_WINDOW*> GetWindows() const;
  // Null restores the rule that the newest window has the focus.
  void SetFocus(SCRIPTED_WINDOW* pWindow) {
    With([&] { m_pFocus = pWindow; });
  }

  // ---- APP_FRONTEND ----
  void ShowMsgBox(MSGBOX_INFO* pInfo) override;
  int ShowEditValDialog(const char* sTitle, EDIT_VALUE_ITEM* pItems, u32 NumItems) override;
  int ShowFileDialogOpen(const char* sTitle, const char* sFilters, const char* /*sSelected*/,
                         char* pBuf, u32 BufSize) override {
    return AskFile("Open", sTitle, sFilters, pBuf, BufSize);
  }
  int ShowFileDialogSave(const char* sTitle, const char* sFilters, const char* /*sSelected*/,
                         char* pBuf, u32 BufSize) override {
    return AskFile("Save", sTitle, sFilters, pBuf, BufSize);
  }
  APP_DATA_WINDOW* CreateDataWindow(MEMAREA* pArea, const char* sTitle, bool ReadOnly,
                                    bool BigEndian) override;
  void UpdateDataWindow(APP_DATA_WINDOW* pWindow, MEMAREA* pArea) override;
  void CloseDataWindow(APP_DATA_WINDOW* pWindow) override;
  void UpdateGUI(const APP_RECENT_LISTS& /*lists*/) override {}
  void SetWindowTitleText(const char* /*sText*/) override {}
  void SetStatusText(const char* sText, u32 Index) override {
    With([&] { m_StatusTexts[Index] = sText; });
  }
  void UpdateMenuBar(const MENU_STATE& state) override {
    With([&] { ++m_Counts.NumMenus, m_Menu = state; });
  }
  void SetVisibility(u32 Visibility) override {
    With([&] { m_Counts.Visibility = Visibility; });
  }
  void UpdateProjectInfo(const PROJ_INFO& /*info*/) override {}
  void EnableGUI(bool /*OnOff*/) override {}
  void EnableDataWindowCheck(bool OnOff) override {
    With([&] { ++m_Counts.NumWindowChecks, m_Counts.IsWindowCheckEnabled = OnOff; });
  }
  void PostClose() override {
    With([&] { ++m_Counts.NumPostClose; });
  }
  void FinishAsyncInit() override {
    With([&] { ++m_Counts.NumFinishInit; });
  }
  PROGRESS_INFO* CreateProgressDialog(const char* sTitle, const char* sText, u32 Flags) override;
  void CloseProgressDialog(PROGRESS_INFO** ppInfo) override;
  void AddLogLine(const char* sText) override {
    With([&] { m_Log += sText; });
  }
  APP_DATA_WINDOW* GetFocusedDataWindow() override;
  void Terminate(int /*ExitCode*/) override {}

 private:
  struct BoxAnswer {
    u32 Btn = 0;
    bool Rejected = false;
    std::optional<u8> Check;
  };

  void With(const auto& change) {
    std::lock_guard guard(m_Lock);
    change();
  }
  template <class T>
  T Copy(const T& field) const {
    std::lock_guard guard(m_Lock);
    return field;
  }
  static void RefreshProgress(PROGRESS_INFO* pInfo, void* pContext);
  bool NoteRefresh(PROGRESS_INFO* pInfo);
  void Block(const char* sService);
  int AskFile(const char* sKind, const char* sTitle, const char* sFilters, char* pBuf, u32 BufSize);

  mutable std::mutex m_Lock;  // guards everything below
  std::deque<BoxAnswer> m_BoxAnswers;
  std::deque<std::vector<u64>> m_ValueAnswers;
  std::deque<std::optional<std::string>> m_FileAnswers;
  std::string m_CancelText;
  bool m_FailProgress = false;

  std::string m_Log;
  std::vector<SCRIPTED_BOX> m_Boxes;
  std::vector<SCRIPTED_QUESTION> m_Questions;
  std::string m_StatusTexts[APP_NUM_STATUS_TEXTS];
  MENU_STATE m_Menu{};
  std::vector<std::string> m_ProgressTexts;
  u32 m_NumOpenProgress = 0;
  u32 m_ProgressFlags = 0;
  PROGRESS_INFO m_LastProgress{};
  COUNTS m_Counts{};
  std::vector<std::unique_ptr<SCRIPTED_WINDOW>> m_Windows;
  SCRIPTED_WINDOW* m_pFocus = nullptr;
};
