#pragma once

#include <QScrollArea>
#include <atomic>
#include <functional>
#include <string>

#include "sys/types.h"
#include "ui/log/log_types.h"

class CustTextArea;
class LogFindBar;
class QMenu;
class QAction;

// The log view: a scrolling text panel with colours, selection, copy and find, that takes text from
// any thread and keeps the last 10000 lines. GUI thread only, but for AddTextFromThread.
//
// Text from another thread goes into a locked buffer; one queued signal at a time asks the GUI
// thread to follow, so that any amount of text costs a repaint per turn of its event loop.
class CustTextView : public QScrollArea {
  Q_OBJECT
 public:
  // Mirrors completed lines: each as it is stored, without colours, and then CR LF. Called under
  // the view's lock, from the thread that adds the text.
  using LINE_HANDLER = std::function<void(const char* pText, u32 NumBytes)>;
  // The view's name and what went wrong. Called like the one above.
  using MESSAGE_HANDLER = std::function<void(const char* sName, const char* sText)>;

  CustTextView(QWidget* pParent, const CUST_TEXT_VIEW_CONFIG* pConfig);
  // The program's log: coloured, on white, text in the system's code page.
  explicit CustTextView(QWidget* pParent);
  ~CustTextView() override;

  // Any thread. 0, or the first negative result; null text gives 0.
  int AddTextFromThread(const char* pText);
  // GUI thread: the view follows at once.
  int AddText(const char* pText);

  // Whether text is in the system's code page, or one byte a character. Returns the old state.
  u32 SetLocal8Bit(u32 OnOff);
  void SetLineHandler(LINE_HANDLER pfOnLine);
  // An incomplete last line goes to the handler first.
  void ResetLineHandler();
  void SetMessageHandlers(MESSAGE_HANDLER pfOnError, MESSAGE_HANDLER pfOnWarning);
  // In points; sizes above 64 are ignored.
  void SetFontSize(u32 PointSize);
  // Frees the text. No thread may add any after that.
  void Cleanup();

  CustTextArea* GetArea() const { return m_pArea; }
  void ScrollToBottom();

 Q_SIGNALS:
  void SignalRequestGUIUpdate();  // from any thread
  void SignalTextUpdated();

 public Q_SLOTS:
  void _OnCopy();
  void _OnSelectAll();
  void _OnScrollToTop();
  void _OnScrollToBottom();
  void _SlotOnActFind();
  void _SlotOnActFindNext();
  void _SlotOnActFindPrev();
  void _SlotOnActFindExit();
  void _SlotOnEscape();
  void _SlotOnClearAll();

 protected:
  void resizeEvent(QResizeEvent* pEvent) override;
  void showEvent(QShowEvent* pEvent) override;
  void focusInEvent(QFocusEvent* pEvent) override;
  void focusOutEvent(QFocusEvent* pEvent) override;

 private:
  void BuildActions(bool ShowClearAll);
  void SetBackground(u32 ColorScheme);
  void PlaceFindBar();
  void Find(bool IsBackward);
  void _OnUpdateGUI();
  void _OnTextUpdated();
  void _OnContextMenuRequest(const QPoint& pos);

  CustTextArea* m_pArea;
  LogFindBar* m_pFindBar;
  QMenu* m_pMenu = nullptr;
  QAction* m_pActCopy = nullptr;
  std::atomic<bool> m_IsUpdateQueued = false;  // a request is on its way to the GUI thread
};
