#pragma once

#include <QtWidgets>
#include <atomic>

#include "ui/log/text_area.h"

struct CUST_TEXT_VIEW_CONFIG {
  const char* sName;  // may be null; copied
  u32 TextMode;       // TEXT_MODE_PLAIN, TEXT_MODE_ANSI or TEXT_MODE_TERMINAL
  u32 ColorScheme;    // COLOR_SCHEME_LIGHT, COLOR_SCHEME_DARK or COLOR_SCHEME_SYSTEM
  u32 NumLinesInitial;
  u32 ShowClearAll;  // non-zero: the context menu offers it
};

// The log of the program.
constexpr CUST_TEXT_VIEW_CONFIG CUST_TEXT_VIEW_LOG = {nullptr, TEXT_MODE_ANSI, COLOR_SCHEME_LIGHT,
                                                      100, 0};

// A scrolling text panel with colours, selection and a find bar. Text may come from any thread; all
// else belongs to the GUI thread.
class CustTextView : public QScrollArea {
  Q_OBJECT

 public:
  using TEXT_HANDLER = std::function<void(const char* sName, const char* sText)>;

  explicit CustTextView(QWidget* pParent, const CUST_TEXT_VIEW_CONFIG& Config = CUST_TEXT_VIEW_LOG);
  ~CustTextView() override;

  // Any thread. 0 or a negative result. Null text is ignored.
  int AddTextFromThread(const char* pText);
  static int AddTextFromThread(CustTextView* pView, const char* pText);
  // Text as UTF-8 rather than as single bytes; the old state.
  bool SetLocal8Bit(bool OnOff);
  void SetFontSize(int PointSize) { m_pArea->SetFontSize(PointSize); }
  void SetMessageHandlers(TEXT_HANDLER pfOnError, TEXT_HANDLER pfOnWarning);
  // Mirrors completed lines, under the buffer's lock, on the thread that adds the text.
  void SetLineHandler(TextBuffer::LINE_HANDLER pfOnLine);
  void ResetLineHandler();
  int GetLineHeight() const { return m_pArea->GetLineHeight(); }
  CustTextArea* GetArea() const { return m_pArea; }

 Q_SIGNALS:
  void SignalRequestGUIUpdate();
  void SignalTextUpdated();

 protected:
  void resizeEvent(QResizeEvent* pEvent) override;
  void showEvent(QShowEvent* pEvent) override;
  void focusInEvent(QFocusEvent* pEvent) override;
  void focusOutEvent(QFocusEvent* pEvent) override;
  void contextMenuEvent(QContextMenuEvent* pEvent) override;
  bool event(QEvent* pEvent) override;
  void keyPressEvent(QKeyEvent* pEvent) override;

 private Q_SLOTS:
  void _OnUpdateGUI();
  void _OnTextUpdated();
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

 private:
  struct MENU_ROW;
  static const MENU_ROW aMenuRows[];
  void CreateMenu(bool ShowClearAll);
  void CreateFindBar();
  void PlaceFindBar();
  void ShowFindFailure(bool OnOff);
  void Find(bool Backward);

  std::string m_sName;
  CustTextArea* m_pArea;
  QMenu* m_pMenu;
  QAction* m_pCopyAction = nullptr;
  QFrame* m_pFindBar;
  QLineEdit* m_pFindEdit;
  TEXT_POS m_FindPos;
  u64 m_FindVersion = 0;  // of the text that the position points into
  bool m_IsFindActive = false;
  bool m_IsAtBottom = true;
  std::atomic<bool> m_IsUpdateRequested = false;  // one queued signal serves many texts
};
