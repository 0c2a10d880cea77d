#pragma once

#include <QtWidgets>

#include "sys/thread.h"
#include "ui/hex/hex_types.h"

struct MEMAREA;
class AddrBox;
class CEditOverlay;
class CMemDialog;
class CustScrollBar;
class HexView;

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

 private:
  class Private;
  friend class CMemDialog;
  std::unique_ptr<Private> m;
};
