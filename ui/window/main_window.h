#pragma once

#include <QtWidgets>

#include <array>
#include <functional>
#include <memory>
#include <vector>

#include "app/engine/frontend.h"
#include "app/operations/jobs.h"
#include "ui/window/action_table.h"
#include "ui/window/gui_request.h"
#include "ui/window/mail_ring.h"

class CHexEditor;
class CustTextView;
class DataWindowArea;
class DataWindowHandle;
class ProgressDialog;
class ProjInfoTree;

// The one top-level window, and the end point of the GUI thread's traffic with the application
// thread. It holds no data of its own: what it shows are copies, handed over by jobs.
//
// Services (APP_FRONTEND) run on the application thread: they store what they are given under
// m_Lock and send a signal to this object; its slot runs on the GUI thread, in the order of
// sending. m_Lock is never held while a dialog is open or a job is posted: a dialog's answer must
// reach the job even when the ring is full and the GUI thread waits in a post below the dialog.
class MainWindow : public QMainWindow, public APP_FRONTEND {
  Q_OBJECT

 public:
  // Becomes the front end of the core, starts the application thread and posts Init. The arguments
  // are used until the end. Without a person in front of it (IsUnattended) boxes answer with their
  // defaults, and what they say goes to standard output with the log.
  MainWindow(int argc, char** argv, u32 ShowCmd, bool IsUnattended = false);
  ~MainWindow() override;

  // True once the application thread has ended and the event loop is told to.
  bool HasEnded() const { return m_HasEnded; }
  // Ctrl+C: cancels what runs, drops an open question, closes. Any thread.
  void PostInterrupt();

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

 Q_SIGNALS:
  void _SignalShowCustMsgBox();
  void _SignalShowEditValDialog();
  void _SignalShowFileDialogOpen();
  void _SignalShowFileDialogSave();
  void _SignalCreateDataWindow();
  void _SignalUpdateDataWindow();
  void _SignalCloseDataWindow(APP_DATA_WINDOW* pWindow);
  void _SignalDataWindowForgotten(APP_DATA_WINDOW* pWindow);
  void _SignalUpdateGUI();
  void _SignalUpdateMenuBar();
  void _SignalUpdateVisibility();
  void _SignalUpdateProjectInfo();
  void _SignalEnableGUI();
  void _SignalEnableDataWindowCheck();
  void _SignalClose();
  void _SignalFinAsyncAppInit();
  void _SignalOnNewMail();
  void _SignalInterrupt();

 protected:
  void focusInEvent(QFocusEvent* pEvent) override;
  void closeEvent(QCloseEvent* pEvent) override;
  void dragEnterEvent(QDragEnterEvent* pEvent) override;
  void dragMoveEvent(QDragMoveEvent* pEvent) override;
  void dropEvent(QDropEvent* pEvent) override;

 private Q_SLOTS:
  // What the application thread asks and tells.
  void _SlotOnShowCustMsgBox();
  void _SlotOnShowEditValDialog();
  void _SlotOnShowFileDialogOpen();
  void _SlotOnShowFileDialogSave();
  void _SlotOnCreateDataWindow();
  void _SlotOnUpdateDataWindow();
  void _SlotOnCloseDataWindow(APP_DATA_WINDOW* pWindow);
  void _SlotOnDataWindowForgotten(APP_DATA_WINDOW* pWindow);
  void _SlotOnGUIUpdate();
  void _SlotOnMenuBarUpdate();
  void _SlotOnVisibilityUpdate();
  void _SlotOnUpdateProjectInfo();
  void _SlotOnEnableGUI();
  void _SlotOnEnableDataWindowCheck();
  void _SlotOnClose();
  void _SlotOnFinAsyncAppInit();
  void _SlotOnNewMail();
  void _SlotOnInterrupt();

  // What the user does, apart from the menus.
  void _SlotOnHoverMenu(QAction* pAction);
  void _SlotOnMenuHide();
  void _SlotOnDataWindowInFocus(CHexEditor* pEditor);
  void _SlotOnDataWindowClose();
  void _SlotOnDataWindowUpdate();
  void _SlotOnActMRUDataFile(const QString& sFile);
  void _SlotOnActMRUProjFile(const QString& sFile);

 private:
  using SIGNAL_FUNC = void (MainWindow::*)();
  // Does what a menu's row says, once no data window has anything left to write.
  void RunAction(u32 Action);
  void StartAction(u32 Action);
  void StartOperation(APP_OPERATION_ID Id);

  // Construction, in this order.
  void CreateMenus();
  void CreateMenuRow(const UI_PLACE& place);
  void CreateCenter();
  void CreateDocks();
  void CreateStatusBar();
  void ConnectSignals();

  // ---- Application thread ----
  // Stores a request under the lock, sends its signal, waits until its event is set. With the GUI
  // ended it returns at once: the results are what fill preset.
  void AskGui(SYS_HANDLE* phDone, const std::function<void()>& fill, SIGNAL_FUNC pfSignal);
  int AskFile(SIGNAL_FUNC pfSignal, const char* sTitle, const char* sFilters, const char* sSelected,
              char* pBuf, u32 BufSize);
  void SendMail(const GUI_MAIL& mail);
  void KeepLogLine(const std::string& plain);
  // Any of the two threads. Shows why the program ends before its window was seen.
  void TellStartFailure();
  // Sends the signal unless one is still on its way.
  void RequestGuiUpdate();

  // ---- GUI thread ----
  bool IsGuiThread() const;
  // Sets the event of a request, if somebody still waits for it.
  void FinishRequest(SYS_HANDLE* phDone);
  bool IsRequested(const SYS_HANDLE* phDone) const;
  // done is called when the box has been answered; without it the call returns then.
  void RunMsgBox(MSGBOX_INFO* pInfo, const std::function<void()>& done);
  void AnswerUnattended(MSGBOX_INFO* pInfo);
  void ServeFileDialog(bool IsOpen);
  void CreateProgress(PROGRESS_INFO* pInfo);
  void CloseProgress(PROGRESS_INFO* pInfo);
  DataWindowHandle* FindHandle(const CHexEditor* pEditor) const;
  // Null for a window that is not known any more.
  DataWindowHandle* FindHandle(const APP_DATA_WINDOW* pWindow) const;
  DataWindowHandle* GetFocused() const;
  void CheckFocus(APP_DATA_WINDOW* pWindow);
  // Posts the checks that wait and an update of the menu, in a turn of the event loop of its own.
  void RequestPosts();
  void PostUpdates();
  // A close that came at a bad moment.
  void CloseIfAsked();
  void EndGui();
  static int PollGui(void* pArg);
  static void PumpGui(void* pArg);

  void ShowRecent(UI_MENU Menu, const std::array<std::string, APP_NUM_RECENT>& paths,
                  QSignalMapper* pMapper, bool IsProject);
  void ShowDock(QDockWidget* pDock, bool OnOff);
  void FitWindow();
  void CenterWindow();
  // Asks for a data file; false when none was chosen. pBuf has room for 512 bytes.
  bool AskDataFile(const char* sTitle, char* pBuf);
  void OpenHelp(u32 Action);
  void OpenManual();

  APP_OWNER m_Owner;  // of jobs that tell something when they are done
  APP_START_INFO m_Start{};
  u64 m_GuiThreadId;
  SYS_MUTEX m_Lock;  // recursive; guards what stands between here and the mail ring
  GUI_REQUEST_BLOCK m_Request;
  std::unique_ptr<PROJ_INFO> m_pProjInfo;
  bool m_IsInterrupted = false;  // everything that starts is cancelled at once
  bool m_IsStarting = true;      // Init runs: the log is kept for TellStartFailure
  std::string m_StartLog;        // its last lines, without colours
  GUI_MAIL_RING m_Mail;
  std::atomic<bool> m_HasEnded{false};  // nobody answers a request any more
  std::atomic<bool> m_IsUpdatePending{false};
  const bool m_IsUnattended;
  const bool m_IsScript;  // hidden, or ends by itself: no box at a failed start

  // Below: GUI thread only.
  std::vector<std::unique_ptr<DataWindowHandle>> m_Handles;
  QHash<PROGRESS_INFO*, ProgressDialog*> m_Progress;
  std::array<QMenu*, UI_NUM_MENUS> m_apMenu{};
  std::array<QAction*, UI_NUM_ACTIONS> m_apAction{};
  std::array<QLabel*, APP_NUM_STATUS_TEXTS> m_apStatusLabel{};
  QSignalMapper* m_pDataMapper = nullptr;
  QSignalMapper* m_pProjMapper = nullptr;
  DataWindowArea* m_pArea = nullptr;
  ProjInfoTree* m_pProjTree = nullptr;
  CustTextView* m_pLogView = nullptr;
  QDockWidget* m_pLogDock = nullptr;
  QDockWidget* m_pProjDock = nullptr;
  std::array<std::string, APP_NUM_RECENT> m_ShownData;  // what the recent menus show
  std::array<std::string, APP_NUM_RECENT> m_ShownProj;
  std::vector<APP_DATA_WINDOW*>
      m_FocusChecks;  // null: all; only the core looks behind the pointers
  bool m_IsMenuPostWanted = false;
  bool m_IsPosting = false;
  bool m_DataWindowCheckOn = true;
  bool m_FirstResize = true;
  bool m_IsClosing = false;
  bool m_IsCreatingWindow = false;  // a job waits for the window: nothing may be posted
  bool m_IsInFileDialog = false;    // a job waits for the dialog below in the stack
  int m_NumPolls = 0;               // posts below in the stack that wait for a slot
  bool m_CloseAgain = false;        // a close that came meanwhile
};

// What the command line will say, before the core has read it: a value that looks like the option
// counts.
bool MainWindow_HasOption(int argc, char** argv, const char* sWord);

// A box with one button over the main window; a null title means the product's. Modal waits for the
// answer.
void MainWindow_ShowBox(const char* sTitle, const char* sText, bool Modal);
