#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "app/engine/frontend.h"

class SCRIPTED_FRONTEND;

// A data window of the scripted front end: notes what it is told. Fields belong to the application
// thread.
class SCRIPTED_WINDOW : public APP_DATA_WINDOW {
 public:
  SCRIPTED_WINDOW(SCRIPTED_FRONTEND* pOwner, MEMAREA* pShown) : pArea(pShown), m_pOwner(pOwner) {}
  void RequestReload() override { ++NumReloads; }
  void RequestBigEndian(bool OnOff) override { IsBigEndian = OnOff; }
  void RequestReadOnly(bool OnOff) override { IsReadOnly = OnOff; }
  void RequestWindowName(const char* sName) override { Name = sName; }
  int IsModified() override;

  MEMAREA* pArea;
  std::string Name;
  bool IsReadOnly = false;
  bool IsBigEndian = false;
  bool Modified = false;  // what IsModified tells, unless the front end has OnIsModified
  u32 NumReloads = 0;
  u32 NumUpdates = 0;

 private:
  SCRIPTED_FRONTEND* m_pOwner;
};

// A message box that was shown, and how it was answered.
struct SCRIPTED_BOX {
  std::string Title, Text, Btn0, Btn1, CheckBox;
  u32 DefaultBtn, Icon;
  u32 Result;
  bool Rejected;
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
  void AnswerBox(u32 Btn, std::optional<u8> Check = {});
  void RejectBox();
  void AnswerValues(std::vector<u64> aValues);
  void AnswerFile(const std::string& Name);
  void CancelFile();
  // Presses Cancel on the current progress at its n-th refresh from now on, or as soon as one of
  // its texts holds Part.
  void CancelAfterRefreshes(u32 NumRefreshes);
  void CancelOnText(const std::string& Part);
  void FailNextDataWindow() { m_FailWindow = true; }
  void FailNextProgress() { m_FailProgress = true; }

  // Set before the job runs. OnBlocking is called without a lock inside each blocking service, with
  // its name, before the answer: a test waits in it to answer late.
  std::function<void(const char* sService)> OnBlocking;
  std::function<void(APP_DATA_WINDOW* pWindow)> OnWindowClosed;  // the core's handler
  std::function<int(MEMAREA* pArea)> OnIsModified;
  std::function<void(PROGRESS_INFO* pInfo)> OnRefresh;

  // ---- Record ----
  std::string GetLog() const;  // without colours, lines ended by LF
  std::string GetColouredLog() const;
  // True when the log, without colours, holds Part.
  bool HasLog(const std::string& Part) const;
  u32 CountLog(const std::string& Part) const;
  void ClearLog();
  std::vector<SCRIPTED_BOX> GetBoxes() const;
  // All texts of boxes, each ended by LF.
  std::string GetBoxTexts() const;
  std::vector<SCRIPTED_QUESTION> GetQuestions() const;
  std::string GetStatusText(u32 Index) const;
  std::string GetTitle() const;
  MENU_STATE GetMenu() const;
  std::vector<std::string> GetRecentFiles() const;
  std::vector<std::string> GetRecentProjects() const;
  // Each text and lower text that a progress showed, in order, repeats in a row left out.
  std::vector<std::string> GetProgressTexts() const;
  u32 GetNumOpenProgress() const;
  u32 GetNumProgress() const;
  u32 GetNumRefreshes() const;
  // Flags of the last progress asked for; the record as it was when the last one was closed.
  u32 GetProgressFlags() const;
  PROGRESS_INFO GetLastProgress() const;

  struct COUNTS {
    u32 NumUpdateGUI, NumTitles, NumMenus, NumVisibility, NumProjectInfo;
    u32 NumPostClose, NumFinishInit, NumTerminate, NumWindowsCreated, NumWindowsClosed;
    u32 Visibility;
    int TerminateCode;
    bool IsGuiEnabled, IsWindowCheckEnabled;
    std::vector<bool> aWindowChecks;  // every EnableDataWindowCheck, in order
  };
  COUNTS GetCounts() const;

  // Oldest first; owned by the front end.
  std::vector<SCRIPTED_WINDOW*> GetWindows() const;
  // Null restores the rule that the newest window has the focus.
  void SetFocus(SCRIPTED_WINDOW* pWindow);

  // ---- APP_FRONTEND ----
  void ShowMsgBox(MSGBOX_INFO* pInfo) override;
  int ShowEditValDialog(const char* sTitle, EDIT_VALUE_ITEM* pItems, u32 NumItems) override;
  int ShowFileDialogOpen(const char* sTitle, const char* sFilters, const char* sSelected,
                         char* pBuf, u32 BufSize) override;
  int ShowFileDialogSave(const char* sTitle, const char* sFilters, const char* sSelected,
                         char* pBuf, u32 BufSize) override;
  APP_DATA_WINDOW* CreateDataWindow(MEMAREA* pArea, const char* sTitle, bool ReadOnly,
                                    bool BigEndian) override;
  void UpdateDataWindow(APP_DATA_WINDOW* pWindow, MEMAREA* pArea) override;
  void CloseDataWindow(APP_DATA_WINDOW* pWindow) override;
  void UpdateGUI(const APP_RECENT_LISTS& lists) override;
  void SetWindowTitleText(const char* sText) override;
  void SetStatusText(const char* sText, u32 Index) override;
  void UpdateMenuBar(const MENU_STATE& state) override;
  void SetVisibility(u32 Visibility) override;
  void UpdateProjectInfo(const PROJ_INFO& info) override;
  void EnableGUI(bool OnOff) override;
  void EnableDataWindowCheck(bool OnOff) override;
  void PostClose() override;
  void FinishAsyncInit() override;
  PROGRESS_INFO* CreateProgressDialog(const char* sTitle, const char* sText, u32 Flags) override;
  void CloseProgressDialog(PROGRESS_INFO** ppInfo) override;
  void AddLogLine(const char* sText) override;
  APP_DATA_WINDOW* GetFocusedDataWindow() override;
  void Terminate(int ExitCode) override;

 private:
  struct BoxAnswer {
    u32 Btn = 0;
    bool Rejected = false;
    std::optional<u8> Check;
  };

  static void RefreshProgress(PROGRESS_INFO* pInfo, void* pContext);
  bool NoteRefresh(PROGRESS_INFO* pInfo);
  void NoteProgressText(const std::string& Text);
  void Block(const char* sService);
  int AskFile(const char* sKind, const char* sTitle, const char* sFilters, char* pBuf, u32 BufSize);

  mutable std::mutex m_Lock;  // guards everything below
  std::deque<BoxAnswer> m_BoxAnswers;
  std::deque<std::vector<u64>> m_ValueAnswers;
  std::deque<std::optional<std::string>> m_FileAnswers;
  u32 m_RefreshesToCancel = 0;  // 0: not asked for
  std::string m_CancelText;
  bool m_FailWindow = false;
  bool m_FailProgress = false;

  std::string m_Log;
  std::vector<SCRIPTED_BOX> m_Boxes;
  std::vector<SCRIPTED_QUESTION> m_Questions;
  std::string m_StatusTexts[APP_NUM_STATUS_TEXTS];
  std::string m_Title;
  MENU_STATE m_Menu{};
  std::vector<std::string> m_RecentFiles, m_RecentProjects;
  std::vector<std::string> m_ProgressTexts;
  u32 m_NumOpenProgress = 0;
  u32 m_NumProgress = 0;
  u32 m_NumRefreshes = 0;
  u32 m_ProgressFlags = 0;
  PROGRESS_INFO m_LastProgress{};
  COUNTS m_Counts{};
  std::vector<std::unique_ptr<SCRIPTED_WINDOW>> m_Windows;
  SCRIPTED_WINDOW* m_pFocus = nullptr;
};
