#include "ui/window/desktop_main.h"

#include <QtWidgets>

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <vector>

#include "app/engine/app_state.h"
#include "app/operations/jobs.h"
#include "sys/interrupts.h"
#include "ui/common/icons.h"
#include "ui/window/main_window.h"

namespace {

constexpr int kPointSize = 8;
constexpr u32 kShowNormal = 1;

// The window that interrupts go to. They may come before there is one, and after.
struct INTERRUPT_TARGET {
  std::mutex Lock;  // guards the others
  MainWindow* pWindow = nullptr;
  bool IsPending = false;

  void SetWindow(MainWindow* pNew) {
    const std::lock_guard guard(Lock);
    pWindow = pNew;
    if (pWindow != nullptr && IsPending) {
      pWindow->PostInterrupt();
    }
  }
};

void OnInterrupt(void* pContext, INTERRUPT kind) {
  auto* pTarget = static_cast<INTERRUPT_TARGET*>(pContext);
  if (kind == INTERRUPT::End) {
    APP_State().IsEndAsked = true;
  }
  const std::lock_guard guard(pTarget->Lock);
  pTarget->IsPending = true;
  if (pTarget->pWindow != nullptr) {
    pTarget->pWindow->PostInterrupt();
  }
}

void TellNoDisplay() {
  std::fputs(
      "KorvaneSPI: there is no display to show a window on. The program \"korvane\" does the same "
      "on a terminal.\n",
      stderr);
}

// The toolkit's own messages are of no use to the user, but for the last one: without a platform to
// show anything on it ends the process.
void OnToolkitMessage(QtMsgType type, const QMessageLogContext& /*context*/,
                      const QString& /*sText*/) {
  if (type == QtFatalMsg) {
    if (QCoreApplication::startingUp()) {
      TellNoDisplay();
    }
    std::_Exit(1);
  }
}

// Lets a run that nobody watches go without a display. False when there has to be one and is not.
bool ChoosePlatform(bool isHiddenRun) {
  if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
    return true;
  }
  const bool hasWayland = !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
  const bool hasDisplay = hasWayland || !qEnvironmentVariableIsEmpty("DISPLAY");
  if (isHiddenRun) {
    // The first that works: a display that can't be reached counts as none.
    qputenv("QT_QPA_PLATFORM", hasWayland ? "wayland;xcb;offscreen" : "xcb;offscreen");
  }
  return hasDisplay || isHiddenRun;
}

int RunWindow(int argc, char** argv, bool isHiddenRun, INTERRUPT_TARGET* pInterrupts) {
  MainWindow window(argc, argv, kShowNormal,
                    isHiddenRun && QGuiApplication::platformName() == "offscreen");
  pInterrupts->SetWindow(&window);
  // Whoever else ends the loop, such as the end of the session: the window closes first.
  do {
    QCoreApplication::exec();
    if (!window.HasEnded()) {
      window.close();
    }
  } while (!window.HasEnded());
  pInterrupts->SetWindow(nullptr);
  return APP_State().ExitCode;
}

}  // namespace

int UI_Main(int argc, char** argv) {
  // Nobody will ever see this run. A value that looks like an option at worst runs without the
  // display that was wanted.
  const bool isHiddenRun =
      MainWindow_HasOption(argc, argv, "-hide") && MainWindow_HasOption(argc, argv, "-exit");
  if (!ChoosePlatform(isHiddenRun)) {
    TellNoDisplay();
    return 1;
  }
  INTERRUPT_TARGET interruptTarget;
  const INTERRUPTS interrupts(OnInterrupt, &interruptTarget);  // before the toolkit's threads
  WORKER_Reset();  // tests start the program more than once
  APP_ResetState();
  const QtMessageHandler oldHandler = qInstallMessageHandler(OnToolkitMessage);
  int numArgs = argc;
  std::vector<char*> args(argv, argv + argc + 1);  // the toolkit takes its own options out of it
  int status = 1;
  {
    QApplication app(numArgs, args.data());
    QApplication::setApplicationName(APP_GetName());
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(UI_GetIcon(UI_ICON::Program));
    QFont font = QApplication::font();
    font.setPointSize(kPointSize);
    QApplication::setFont(font, "QWidget");
    status = RunWindow(argc, argv, isHiddenRun, &interruptTarget);
  }
  APP_TearDown();
  qInstallMessageHandler(oldHandler);
  return status;
}
