#pragma once

#include <QtWidgets>
#include <array>
#include <atomic>
#include <memory>
#include <vector>

#include "sys/thread.h"
#include "ui/hex/hex_types.h"

struct MEMAREA;
struct MEM_WRITE;
class AddrHistory;
class CEditOverlay;
class CustScrollBar;
class HexCopy;
class HexView;
class WriteQueue;
enum class HEX_COPY;

// The memory window: a byte range as hexadecimal items and text.
//
// It shows a memory area, which stays its owner's, or target memory through handlers. All members
// but the static functions belong to the GUI thread. What is shown, the cursor and the selection
// are the business of HexView; this class is its window.
//
// The application thread may hold an area's lock for long. The editor never waits for it: it shows
// what it has, and tries again a little later; writes wait in a queue meanwhile.
class CHexEditor : public QMainWindow {
  Q_OBJECT

 public:
  explicit CHexEditor(QWidget* pParent = nullptr, Qt::WindowFlags WindowFlags = Qt::WindowFlags());
  ~CHexEditor() override;

  void SetConfig(const HEX_EDITOR_CONFIG* pConfig);
  // Read only forbids all changes of memory.
  void SetReadOnly(int OnOff);
  void SetBigEndian(int OnOff);
  // Shown in the title, at most 512 bytes.
  void SetWindowName(const char* sName);
  // Null detaches. The area has to outlive its attachment.
  void SetMemArea(MEMAREA* pArea);
  MEMAREA* GetMemArea() const;
  void SetHandlers(const HEX_HANDLERS& Handlers);
  // Ends an edit as if the focus went elsewhere, and writes what was typed or pasted. False as long
  // as that isn't all in the memory: it goes on by itself, ask again.
  bool Settle();
  // The window name, cut to BufSize.
  void GetFileName(char* pBuf, u32 BufSize) const;

  // From any thread; a null editor is ignored. They take effect on the GUI thread a little later.
  static void RequestReload(CHexEditor* pEditor);
  static void RequestBigEndian(CHexEditor* pEditor, int OnOff);
  static void RequestReadOnly(CHexEditor* pEditor, int OnOff);
  static void RequestWindowName(CHexEditor* pEditor, const char* sName);
  // 1 if the area has unsaved changes, 0 if not or without an area, -1 for a null editor. Waits for
  // the area's lock, so not for the GUI thread.
  static int IsModified(CHexEditor* pEditor);

  QSize sizeHint() const override;
  bool eventFilter(QObject* pWatched, QEvent* pEvent) override;

 public Q_SLOTS:
  void OnShow();

 Q_SIGNALS:
  void SignalTitleUpdate(QString sTitle);
  // The window closes.
  void SignalClosed();
  // A left mouse press in the memory.
  void SignalFocusIn();
  // Writes were carried out.
  void SignalEditingFinished();
  // To itself, queued: requests wait.
  void _SignalUpdateGUI();

 protected:
  void closeEvent(QCloseEvent* pEvent) override;

 private Q_SLOTS:
  void _SlotOnGUIUpdate();
  // Window and timers
  void OnSizeChanged(int Width, int Height);
  void OnResizeTimerTimeout();
  void OnAutoUpdateTimerTimeout();
  void OnRetryTimerTimeout();
  void OnRefreshRateChanged();
  void OnPaint(QWidget* pWidget);
  // Mouse and keys
  void OnMouseButtonPressed(QMouseEvent* pEvent);
  void OnMouseButtonReleased(QMouseEvent* pEvent);
  void OnMouseMoved(QMouseEvent* pEvent);
  void OnMouseWheelScrolled(QWheelEvent* pEvent);
  void OnAutoScrollSelectionTimerTimeout();
  void OnKeyEvent(QKeyEvent* pEvent);
  void OnKeyUpPressed(QKeyEvent* pEvent);
  void OnKeyDownPressed(QKeyEvent* pEvent);
  void OnKeyLeftPressed(QKeyEvent* pEvent);
  void OnKeyRightPressed(QKeyEvent* pEvent);
  void OnHomeKeyPressed(QKeyEvent* pEvent);
  void OnEndKeyPressed(QKeyEvent* pEvent);
  void OnKeyPageUpPressed(QKeyEvent* pEvent);
  void OnKeyPageDownPressed(QKeyEvent* pEvent);
  void OnKeyPageUpReleased(QKeyEvent* pEvent);
  void OnKeyPageDownReleased(QKeyEvent* pEvent);
  void OnEscapeKeyPressed(QKeyEvent* pEvent);
  void OnKeyPastePressed(QKeyEvent* pEvent);
  void OnKeyOtherPressed(QKeyEvent* pEvent);
  // Scroll bar, address box, menus
  void OnScrollbarActionTriggered(int Action);
  void OnScrollbarReleased();
  void OnAddrBoxEditingFinished();
  void OnContextMenuRequested(QPoint Pos);
  void OnToolbarChevronClicked();
  void OnMemZoneMenuActionTriggered(QAction* pAction);
  void OnActionGotoTriggered();
  void OnActionGoBackTriggered();
  void OnActionAutoRefreshTriggered();
  void OnActionShowToolbarTriggered();
  void OnActionViewFormatTriggered(QAction* pAction);
  void OnItemFormatChanged();
  void OnActionAccessWidthTriggered(QAction* pAction);
  // Changing and copying
  void OnItemEditingFinished();
  void OnEditUpdateTimerTimeout();
  void OnActionCopyTriggered();
  void OnActionCopyHexTriggered();
  void OnActionCopyTextTriggered();
  void OnActionCopyBinaryTriggered();
  void OnActionCopyIntListTriggered();
  void OnActionPasteTriggered();
  void OnActionFillTriggered();
  void OnActionLoadTriggered();
  void OnActionSaveTriggered();

 private:
  // One action a value, in the order of the table that makes them.
  static constexpr u32 NUM_ACTIONS = 20;

  template <class Fn>
  static void Request(CHexEditor* pEditor, Fn Change);
  void CreateWidgets();
  void CreateActions();
  void CreateToolBar();
  void CreateTimers();
  QWidget* CreateToolBarLabel(const QString& sText);
  QAction* GetAction(u32 Id) const { return m_apActions[Id]; }
  void SetFonts();
  void SetScaledSizes();
  void ApplyConfig();
  void UpdateReadOnly();
  void UpdateTitle();
  void UpdateScrollBar();
  bool UpdateSize();
  // Does what the view left to do: repaints, title, scroll bar, overlay, retries.
  void Apply();
  QPoint PixelToCell(QPoint Pos) const;
  QPoint GetCursorPoint() const;
  bool FilterViewportEvent(QEvent* pEvent);
  bool FilterTextEvent(QEvent* pEvent);
  void RunKeyPress(QKeyEvent* pEvent);
  void GoToText(const QString& sText);
  void FillAddrBox();
  QMenu* CreateZoneMenu(QMenu* pParent);
  void SetRefreshIndex(int Index);
  void CloseOverlay();
  void OpenOverlay(u64 Addr, u8 Nibble, char Typed);
  void TypeText(QKeyEvent* pEvent);
  void QueueWrite(u64 Addr, std::vector<u8> Data);
  void RunWrites();
  void StartCopy(HEX_COPY Format);
  void OnCopyTimerTimeout();
  void FinishCopy();
  u64 GetEditAddr() const;
  void SaveRange(const QString& sFile, u64 Addr, u64 NumBytes);

  std::unique_ptr<HexView> m_pView;
  std::unique_ptr<WriteQueue> m_pWriteQueue;
  std::vector<MEM_WRITE> m_aPendingWrites;  // typed, not yet merged
  std::unique_ptr<HexCopy> m_pCopy;         // a long copy under way
  std::unique_ptr<AddrHistory> m_pAddrHistory;
  HEX_EDITOR_CONFIG m_Config;
  // What the application thread asks whether it is modified. Set on the GUI thread.
  std::atomic<MEMAREA*> m_pArea = nullptr;
  bool m_IsReadOnly = false;
  bool m_HasClosed = false;
  u32 m_RowHeight = 1;
  u32 m_CharWidth = 1;
  bool m_IsAddrBoxEnabled = true;
  QString m_sLastGoToText = "0";
  QString m_sLastSaveFile;
  QString m_sLastLoadFile;
  QElapsedTimer m_MenuClosed;  // since the context menu last closed
  QPoint m_PressPos;
  QPoint m_MousePos;    // as last told while the button is down; it may be outside
  QPoint m_ChevronPos;  // where the chevron was clicked, on the screen
  int m_WheelRest = 0;  // of a notch
  QRegion m_PaintRegion;

  // Guards the request fields, which other threads write.
  SYS_MUTEX m_Lock = nullptr;
  u8 m_UpdatePending = 0;
  bool m_IsReloadRequested = false;
  int m_RequestedBigEndian = -1;  // -1: none
  int m_RequestedReadOnly = -1;
  std::string m_sWindowName;

  QWidget* m_pCentralWidget = nullptr;
  QPlainTextEdit* m_pTextEditor = nullptr;
  CustScrollBar* m_pScrollBar = nullptr;
  QToolBar* m_pToolBar = nullptr;
  QComboBox* m_pAddrBox = nullptr;
  QComboBox* m_pRefreshBox = nullptr;
  QList<QAction*> m_apRefreshActions;  // the label and the box in the tool bar
  CEditOverlay* m_pOverlay = nullptr;
  std::array<QAction*, NUM_ACTIONS> m_apActions{};
  QTimer* m_pRefreshTimer = nullptr;
  QTimer* m_pEditTimer = nullptr;
  QTimer* m_pSelectionTimer = nullptr;
  QTimer* m_pResizeTimer = nullptr;
  QTimer* m_pRetryTimer = nullptr;
  QTimer* m_pCopyTimer = nullptr;
  QTimer* m_pWriteTimer = nullptr;  // a long write goes on, or a busy area is tried again
};
