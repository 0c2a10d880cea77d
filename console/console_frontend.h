#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "app/engine/frontend.h"
#include "console/terminal.h"
#include "sys/interrupts.h"

// The front end of the console program. Boxes and dialogs answer with their defaults, data windows
// are a plain list whose newest has the focus, and the program ends after the command line.
class CONSOLE_FRONTEND : public APP_FRONTEND {
 public:
  CONSOLE_FRONTEND();
  ~CONSOLE_FRONTEND() override;

  // Waits until the Init job has finished.
  void WaitInit();
  // What Ctrl+C does: the Cancel button of the running progress, or of the next one; a second time
  // within the same operation it ends the process. A request to end cancels what runs and all that
  // follows, so that the probe is closed and the program ends; a second one ends the process.
  void OnInterrupt(INTERRUPT Kind);

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
  static void OnRefresh(PROGRESS_INFO* pInfo, void* pContext);
  void Refresh(PROGRESS_INFO* pInfo);

  TERMINAL m_Terminal;
  SYS_HANDLE m_hInitDone;
  SYS_MUTEX m_Lock;  // guards the four below, shared with the thread of the interrupts
  std::vector<PROGRESS_INFO*> m_Progress;  // open records, newest last
  bool m_CancelNext = false;
  u32 m_NumInterrupts = 0;  // since the newest operation began
  u32 m_NumEnds = 0;
  // A cancel refreshes from the thread of the interrupts.
  std::atomic<u32> m_ProgressStartMs{0};
  std::atomic<u32> m_LastDrawMs{0};
  // Application thread only.
  std::vector<std::unique_ptr<APP_DATA_WINDOW>> m_Windows;
};
