#include "tests/desktop/desktop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <thread>

#include "flash/driver.h"
#include "tests/desktop/display.h"
#include "ui/window/desktop_main.h"

namespace {

// The main thread's inbox: one start of the program at a time.
struct STAGE {
  std::mutex Lock;
  std::condition_variable Changed;
  std::vector<std::string> Args;
  bool IsAsked = false;
  bool IsEnded = false;
  bool IsStarted = false;
  bool IsOver = false;
  int Status = -1;
};

STAGE Stage;

void ServeStarts() {
  std::unique_lock lock(Stage.Lock);
  for (;;) {
    Stage.Changed.wait(lock, [] { return Stage.IsAsked || Stage.IsOver; });
    if (Stage.IsOver) {
      return;
    }
    Stage.IsAsked = false;
    std::vector<std::string> args = Stage.Args;
    lock.unlock();
    std::vector<char*> pointers;
    for (std::string& arg : args) {
      pointers.push_back(arg.data());
    }
    pointers.push_back(nullptr);
    const int status = UI_Main(static_cast<int>(args.size()), pointers.data());
    lock.lock();
    Stage.Status = status;
    Stage.IsEnded = true;
    Stage.Changed.notify_all();
  }
}

constexpr auto kPatience = std::chrono::seconds(60);
constexpr auto kLookAgain = std::chrono::milliseconds(10);

bool HasEnded() {
  const std::lock_guard lock(Stage.Lock);
  return Stage.IsEnded;
}

std::string Num(int value) {
  return std::to_string(value);
}

}  // namespace

int RunDesktopTests() {
  int result = 1;
  std::thread tests([&] {
    result = RUN_ALL_TESTS();
    const std::lock_guard lock(Stage.Lock);
    if (Stage.IsStarted && !Stage.IsEnded) {
      std::_Exit(1);  // a test has failed and left it behind
    }
    Stage.IsOver = true;
    Stage.Changed.notify_all();
  });
  ServeStarts();
  tests.join();
  return result;
}

QWidget* FindWidget(const char* sClass, const QString& sName) {
  for (QWidget* pWidget : QApplication::allWidgets()) {
    if (pWidget->isVisible() && (*sClass == 0 || pWidget->inherits(sClass)) &&
        (sName.isEmpty() || pWidget->objectName() == sName)) {
      return pWidget;
    }
  }
  return nullptr;
}

DESKTOP::DESKTOP() {
  setenv("XDG_CONFIG_HOME", Path("config").c_str(), 1);
  setenv("VORTIC_CONFIG", Path("Vortic.ini").c_str(), 1);
  DRIVER_SetLibraryPath(KORVANE_DRIVER);
  SetProbe({});
}

DESKTOP::~DESKTOP() {
  EXPECT_FALSE(m_IsRunning) << "the program was left running";
}

void DESKTOP::SetProbe(const std::string& moreLines) {
  WriteFile(
      Path("Vortic.ini"),
      std::string(
          "[Probe0]\nBackend = sim\nSerialNumber = 20260001\nProductId = 1\nHardwareVersion = "
          "51200\nTargetMilliVolts = 3300\nChip = W25Q128FV\nImageFile = chip.bin\n") +
          (moreLines.find("Time") == std::string::npos ? "Time = virtual\n" : "") + moreLines);
}

void DESKTOP::Start(const std::vector<std::string>& args) {
  {
    const std::lock_guard lock(Stage.Lock);
    Stage.Args = {"KorvaneSPI"};
    Stage.Args.insert(Stage.Args.end(), args.begin(), args.end());
    Stage.IsEnded = false;
    Stage.IsAsked = true;
    Stage.IsStarted = true;
    Stage.Changed.notify_all();
  }
  m_IsRunning = true;
  // The application object comes into being on the other thread.
  while (QCoreApplication::instance() == nullptr || QCoreApplication::startingUp()) {
    std::this_thread::sleep_for(kLookAgain);
  }
  WaitFor("the main window", [] {
    QWidget* pWindow = FindWidget("MainWindow");
    return pWindow != nullptr && pWindow->isActiveWindow();
  });
}

int DESKTOP::WaitEnd() {
  std::unique_lock lock(Stage.Lock);
  EXPECT_TRUE(Stage.Changed.wait_for(lock, kPatience, [] { return Stage.IsEnded; }));
  m_IsRunning = !Stage.IsEnded;
  return Stage.Status;
}

bool DESKTOP::WaitFor(const std::string& what, const std::function<bool()>& condition) {
  const auto start = std::chrono::steady_clock::now();
  while (!Ui([&] { return condition(); })) {
    if (std::chrono::steady_clock::now() - start > kPatience) {
      Shot("failed");
      ADD_FAILURE() << "waited in vain for " << what;
      return false;
    }
    std::this_thread::sleep_for(kLookAgain);
  }
  return true;
}

bool DESKTOP::WaitOver(const std::function<bool()>& condition) {
  const auto start = std::chrono::steady_clock::now();
  while (std::chrono::steady_clock::now() - start < kPatience) {
    // The application object goes before the program ends, so it isn't waited for.
    if (HasEnded()) {
      return false;
    }
    // The application object goes before the program ends: an answer may never come.
    auto pAnswer = std::make_shared<std::atomic<int>>(-1);
    if (QCoreApplication* pApp = QCoreApplication::instance(); pApp != nullptr) {
      QMetaObject::invokeMethod(pApp, [pAnswer, condition] { *pAnswer = condition() ? 1 : 0; });
    }
    while (*pAnswer < 0 && !HasEnded()) {
      std::this_thread::sleep_for(kLookAgain);
    }
    if (*pAnswer == 1) {
      return true;
    }
    std::this_thread::sleep_for(kLookAgain);
  }
  return false;
}

bool DESKTOP::WaitWidget(const char* sClass, const QString& sName) {
  return WaitFor(std::string(sClass) + " " + sName.toStdString(),
                 [&] { return FindWidget(sClass, sName) != nullptr; });
}

QPoint DESKTOP::Middle(const char* sClass, const QString& sName) {
  return Ui([&] {
    QWidget* pWidget = FindWidget(sClass, sName);
    return pWidget != nullptr ? pWidget->mapToGlobal(pWidget->rect().center()) : QPoint();
  });
}

bool DESKTOP::Press(const char* sDialog, const QString& sText) {
  if (!WaitWidget(sDialog)) {
    return false;
  }
  QPointer<QWidget> pDialog = Ui([&] { return FindWidget(sDialog); });
  return WaitFor("the end of " + std::string(sDialog) + " by " + sText.toStdString(), [&] {
    if (pDialog.isNull() || !pDialog->isVisible()) {
      return true;
    }
    for (auto* pButton : pDialog->findChildren<QPushButton*>()) {
      if (pButton->text().remove('&') == sText) {
        Click(pButton->mapToGlobal(pButton->rect().center()));
      }
    }
    return false;
  });
}

void DESKTOP::Key(const std::string& keys) {
  EXPECT_TRUE(RunTool({"xdotool", "key", "--clearmodifiers", keys}));
}

void DESKTOP::Type(const std::string& text) {
  EXPECT_TRUE(RunTool({"xdotool", "type", "--delay", "2", text}));
}

void DESKTOP::Click(const QPoint& pos, int numClicks) {
  EXPECT_TRUE(RunTool({"xdotool", "mousemove", Num(pos.x()), Num(pos.y()), "click", "--repeat",
                       Num(numClicks), "--delay", "20", "1"}));
}

void DESKTOP::Drag(const QPoint& from, const QPoint& to, const std::function<bool()>& isArrived) {
  const auto move = [](const QPoint& pos) {
    EXPECT_TRUE(RunTool({"xdotool", "mousemove", Num(pos.x()), Num(pos.y())}));
  };
  move(from);
  EXPECT_TRUE(RunTool({"xdotool", "mousedown", "1"}));
  constexpr int kNumSteps = 10;
  for (int step = 1; step <= kNumSteps; ++step) {
    move(from + (to - from) * step / kNumSteps);
  }
  // A drag is a talk of programs: who comes late to it needs one more move to see it.
  int nudge = 0;
  WaitFor("the drag to arrive", [&] {
    move(to + QPoint(++nudge % 2, 0));
    return isArrived();
  });
  EXPECT_TRUE(RunTool({"xdotool", "mouseup", "1"}));
}

namespace {

// Sees what is dragged over the program's windows.
struct DRAG_WATCH : QObject {
  int NumMoves = 0;
  bool eventFilter(QObject*, QEvent* pEvent) override {
    NumMoves += pEvent->type() == QEvent::DragMove ? 1 : 0;
    return false;
  }
};

}  // namespace

void DESKTOP::DropFiles(const std::vector<std::string>& files, const QPoint& to) {
  std::vector<std::string> args = {KORVANE_DRAG_SOURCE};
  for (const std::string& file : files) {
    args.push_back(Path(file));
  }
  const pid_t source = StartTool(args);
  std::string geometry;
  while (!RunTool({"xdotool", "search", "--onlyvisible", "--name", "Drag source",
                   "getwindowgeometry", "--shell"},
                  &geometry)) {
    std::this_thread::sleep_for(kLookAgain);
  }
  const auto value = [&](const std::string& key) {
    const std::size_t at = geometry.find("\n" + key + "=");
    return at == std::string::npos ? 0 : std::atoi(geometry.c_str() + at + key.size() + 2);
  };
  const QPoint from(value("X") + value("WIDTH") / 2, value("Y") + value("HEIGHT") / 2);
  DRAG_WATCH* pWatch = Ui([] {
    auto* pNew = new DRAG_WATCH;
    qApp->installEventFilter(pNew);
    return pNew;
  });
  Drag(from, to, [pWatch] { return pWatch->NumMoves > 1; });
  WaitTool(source);
  Ui([pWatch] { delete pWatch; });
}

void DESKTOP::Shot(const std::string& name) {
  const char* sFolder = getenv("KORVANE_SCREENSHOTS");
  if (sFolder != nullptr) {
    RunTool({"import", "-window", "root", std::string(sFolder) + "/" + name + ".png"});
  }
}
