#pragma once

#include <QtWidgets>

#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/temp_dir.h"

// The desktop program in this process, used by a person in another thread: the program's own main
// body runs on the main thread; the test runs beside it, looks at the widgets through the GUI
// thread, and acts by key and mouse events of the X server alone.

// Runs the tests on a thread of their own and lends the main thread to the program.
int RunDesktopTests();

class DESKTOP {
 public:
  DESKTOP();
  ~DESKTOP();

  std::string Path(const std::string& name) const { return m_Dir.file(name); }
  void SetProbe(const std::string& moreLines);
  // Starts the program with these arguments and waits for its window.
  void Start(std::vector<std::string> args);
  // Waits for the end of the program: its exit status.
  int WaitEnd();

  // Calls the function on the GUI thread and returns what it returns.
  template <typename F>
  auto Ui(F function) const {
    using RESULT = std::invoke_result_t<F>;
    if constexpr (std::is_void_v<RESULT>) {
      QMetaObject::invokeMethod(qApp, function, Qt::BlockingQueuedConnection);
    } else {
      RESULT result{};
      QMetaObject::invokeMethod(
          qApp, [&] { result = function(); }, Qt::BlockingQueuedConnection);
      return result;
    }
  }
  // Looks again until the condition holds on the GUI thread. A minute without it fails the test
  // with a picture of the screen.
  bool WaitFor(const std::string& what, const std::function<bool()>& condition);
  // Waits until the condition holds, true, or the program has ended.
  bool WaitOver(const std::function<bool()>& condition);
  // A visible widget of that class and name (either may be empty) is there.
  bool WaitWidget(const char* sClass, const QString& sName = {});
  // Clicks the dialog's push button with that text until the dialog is gone: a window manager may
  // still be moving it.
  bool Press(const char* sDialog, const QString& sText);

  void Key(const std::string& keys);
  void Type(const std::string& text);
  void Click(const QPoint& pos, int numClicks = 1);
  // Leaves a picture of the screen where KORVANE_SCREENSHOTS says, if it does.
  void Shot(const std::string& name);
  // Text of the log so far.
  std::string Log() const { return ReadFile(Path("log.txt")); }

 private:
  TempDir m_Dir;
};

// On the GUI thread: the visible widget, or null.
QWidget* FindWidget(const char* sClass, const QString& sName = {});
