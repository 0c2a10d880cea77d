#include "tests/desktop/desktop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>
#include <thread>

#include "flash/driver.h"
#include "tests/desktop/display.h"
#include "tests/support/wait_for.h"
#include "ui/window/desktop_main.h"

namespace {

// From the tests' thread to the main one, and back. Empty arguments: nothing was started.
std::promise<std::vector<std::string>> Asked;
std::promise<int> Ended;
std::shared_future<int> Status = Ended.get_future().share();
bool IsStarted = false;

void ServeStart() {
  std::vector<std::string> args = Asked.get_future().get();
  if (args.empty()) {
    return;
  }
  std::vector<char*> pointers;
  for (std::string& arg : args) {
    pointers.push_back(arg.data());
  }
  pointers.push_back(nullptr);
  Ended.set_value(UI_Main(static_cast<int>(args.size()), pointers.data()));
}

constexpr auto kPatience = std::chrono::seconds(60);
constexpr auto kLookAgain = std::chrono::milliseconds(10);

bool HasEnded() {
  return Status.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

std::string Num(int value) {
  return std::to_string(value);
}

}  // namespace

int RunDesktopTests() {
  int result = 1;
  std::thread tests([&] {
    result = RUN_ALL_TESTS();
    if (!IsStarted) {
      Asked.set_value({});
    } else if (!HasEnded()) {
      std::_Exit(1);  // a test has failed and left it behind
    }
  });
  ServeStart();
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
  EXPECT_TRUE(!IsStarted || HasEnded()) << "the program was left running";
}

void DESKTOP::SetProbe(const std::string& moreLines) {
  WriteFile(
      Path("Vortic.ini"),
      std::string(
          "[Probe0]\nBackend = sim\nSerialNumber = 20260001\nProductId = 1\nHardwareVersion = "
          "51200\nTargetMilliVolts = 3300\nChip = W25Q128FV\nImageFile = chip.bin\n") +
          (moreLines.find("Time") == std::string::npos ? "Time = virtual\n" : "") + moreLines);
}

void DESKTOP::Start(std::vector<std::string> args) {
  args.insert(args.begin(), "KorvaneSPI");
  IsStarted = true;
  Asked.set_value(std::move(args));
  // The application object comes into being on the other thread.
  ASSERT_TRUE(::WaitFor(
      [] { return QCoreApplication::instance() != nullptr && !QCoreApplication::startingUp(); }));
  WaitFor("the main window", [] {
    QWidget* pWindow = FindWidget("MainWindow");
    return pWindow != nullptr && pWindow->isActiveWindow();
  });
}

int DESKTOP::WaitEnd() {
  const bool isEnded = Status.wait_for(kPatience) == std::future_status::ready;
  EXPECT_TRUE(isEnded);
  return isEnded ? Status.get() : -1;
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

void DESKTOP::Shot(const std::string& name) {
  const char* sFolder = getenv("KORVANE_SCREENSHOTS");
  if (sFolder != nullptr) {
    RunTool({"import", "-window", "root", std::string(sFolder) + "/" + name + ".png"});
  }
}
