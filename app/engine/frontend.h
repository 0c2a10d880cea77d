#pragma once

#include "app/engine/progress.h"
#include "sys/types.h"

struct MEMAREA;
struct PROJ_INFO;

// The one boundary between the core and what the user sees.
//
// The core runs on the application thread, a front end on its own. A job reaches the user through
// APP_FRONTEND and in no other way. Blocking services return when the user has answered; the job
// waits meanwhile. Unless said otherwise a service is called on the application thread.

// Icons of a message box; any other value shows none.
constexpr u32 APP_ICON_CRITICAL = 256;
constexpr u32 APP_ICON_QUESTION = 512;
constexpr u32 APP_ICON_WARNING = 768;
constexpr u32 APP_ICON_INFORMATION = 1024;

struct MSGBOX_INFO {
  const char* sTitle;
  const char* sText;
  const char* sBtn0;  // button texts; null leaves the button out
  const char* sBtn1;
  const char* sCheckBox;  // text of a check box; null leaves it out
  u32 CheckState;
  u32 DefaultBtn;  // the result when the box closes by its timer
  u32 Icon;
  i32 TimeoutMs;  // above 0: the box closes by itself after this time
  u8 TextSelectable;
  u8 CheckResult;  // out: state of the check box
  u32 Result;      // out: button index
  u8 Rejected;     // out: closed by Esc or the window frame
};

struct EDIT_VALUE_ITEM {
  i64 Min;      // negative allows a leading minus sign
  u64* pValue;  // in: start value; out: the entered value
  const char* sLabel;
};

// What the menu has to know.
struct MENU_STATE {
  u8 HasRecentProjects;
  u8 HasRecentDataFiles;
  u8 HasDataWindow;
  u8 DataWindowModified;
  u8 ProjectOpen;
  u8 ProjectModified;
  u8 Connected;
  u8 ModuleSelection;
  u8 FlashIsNOR;
};

constexpr u32 APP_NUM_RECENT = 10;
constexpr u32 APP_NUM_STATUS_TEXTS = 3;

// Borrowed for the call; null behind the last entry.
struct APP_RECENT_LISTS {
  const char* apDataFiles[APP_NUM_RECENT];
  const char* apProjects[APP_NUM_RECENT];
};

// One open data window. Created by CreateDataWindow and owned by the front end, which frees it
// after CloseDataWindow. The image isn't owned.
class APP_DATA_WINDOW {
 public:
  virtual ~APP_DATA_WINDOW() = default;
  // The shown image has changed in place.
  virtual void RequestReload() = 0;
  virtual void RequestBigEndian(bool OnOff) = 0;
  virtual void RequestReadOnly(bool OnOff) = 0;
  virtual void RequestWindowName(const char* sName) = 0;
  // 1 or 0; 0 without an image.
  virtual int IsModified() = 0;
};

class APP_FRONTEND {
 public:
  virtual ~APP_FRONTEND() = default;

  // ---- Blocking ----

  // Fills CheckResult, Result and Rejected. Also callable on the front end's own thread.
  virtual void ShowMsgBox(MSGBOX_INFO* pInfo) = 0;
  // 0 OK, -1 rejected.
  virtual int ShowEditValDialog(const char* sTitle, EDIT_VALUE_ITEM* pItems, u32 NumItems) = 0;
  // pBuf: in the start path or name, out the chosen name. 0 chosen, non-zero cancelled.
  virtual int ShowFileDialogOpen(const char* sTitle, const char* sFilters, const char* sSelected,
                                 char* pBuf, u32 BufSize) = 0;
  virtual int ShowFileDialogSave(const char* sTitle, const char* sFilters, const char* sSelected,
                                 char* pBuf, u32 BufSize) = 0;
  // Null on failure. The new window has the focus.
  virtual APP_DATA_WINDOW* CreateDataWindow(MEMAREA* pArea, const char* sTitle, bool ReadOnly,
                                            bool BigEndian) = 0;
  // Shows another image, or the same one anew. Returns once the old image is no longer used.
  virtual void UpdateDataWindow(APP_DATA_WINDOW* pWindow, MEMAREA* pArea) = 0;

  // ---- Not blocking ----

  // The window may still draw its image until the front end posts its closing (job 31); a front end
  // without that road calls the core's handler before it returns.
  virtual void CloseDataWindow(APP_DATA_WINDOW* pWindow) = 0;
  virtual void UpdateGUI(const APP_RECENT_LISTS& lists) = 0;
  virtual void SetWindowTitleText(const char* sText) = 0;
  // Index 0 outcome of the last operation, 1 connection, 2 speed; any other is ignored.
  virtual void SetStatusText(const char* sText, u32 Index) = 0;
  virtual void UpdateMenuBar(const MENU_STATE& state) = 0;
  // 0 hidden, 1 normal, 2 minimized, 3 maximized.
  virtual void SetVisibility(u32 Visibility) = 0;
  // Copies the record.
  virtual void UpdateProjectInfo(const PROJ_INFO& info) = 0;
  virtual void EnableGUI(bool OnOff) = 0;
  virtual void EnableDataWindowCheck(bool OnOff) = 0;
  // Asks the front end to close the program.
  virtual void PostClose() = 0;
  // The Init job has finished.
  virtual void FinishAsyncInit() = 0;
  // Returns at once; null when memory is out. The job changes the record at will.
  virtual PROGRESS_INFO* CreateProgressDialog(const char* sTitle, const char* sText, u32 Flags) = 0;
  // Clears the caller's pointer; a null pointer in it is ignored.
  virtual void CloseProgressDialog(PROGRESS_INFO** ppInfo) = 0;
  // One or more lines, each ended by LF, with colour escape sequences. Any thread.
  virtual void AddLogLine(const char* sText) = 0;

  // The data window that has the focus, or null.
  virtual APP_DATA_WINDOW* GetFocusedDataWindow() = 0;
  // Ends the process at once, without shut-down, when nothing can work (no driver library). A front
  // end that returns lets the caller fail.
  virtual void Terminate(int ExitCode) = 0;
};

// The one front end of the process. Set once, before the worker starts; null is allowed and sends
// log lines and boxes to standard error. Not owned.
void APP_SetFrontEnd(APP_FRONTEND* pFrontEnd);
APP_FRONTEND* APP_GetFrontEnd();

// Progress of the running operation, and the record that APP_IsOperationAlive polls. Flags 16 is
// what the operations pass. Null without a front end; every PROGRESS_ function accepts that.
PROGRESS_INFO* APP_CreateProgress(const char* sText);
void APP_CloseProgress(PROGRESS_INFO** ppInfo);

// Closes a progress dialog at the end of a scope, on every path.
class APP_PROGRESS {
 public:
  explicit APP_PROGRESS(const char* sText) : m_pInfo(APP_CreateProgress(sText)) {}
  ~APP_PROGRESS() { Close(); }
  APP_PROGRESS(const APP_PROGRESS&) = delete;
  APP_PROGRESS& operator=(const APP_PROGRESS&) = delete;
  void Close() { APP_CloseProgress(&m_pInfo); }
  PROGRESS_INFO* Get() const { return m_pInfo; }
  bool IsCanceled() const { return PROGRESS_IsCanceled(m_pInfo) == 1; }

 private:
  PROGRESS_INFO* m_pInfo;
};
