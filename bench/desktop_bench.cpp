// The desktop program as a whole: start, idle memory, and the gaps in its event loop while the core
// works.
#include <QtWidgets>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "app/operations/jobs.h"
#include "bench/bench.h"
#include "ui/window/action_table.h"
#include "ui/window/desktop_main.h"

namespace {

using CLOCK = std::chrono::steady_clock;

constexpr u32 kChipBytes = 16 << 20;
constexpr u32 kLargeFileBytes = 64 << 20;

// Gaps between two turns of the event loop: how much later than asked a timer of one millisecond
// comes. What the other threads and programs take of the processor counts too, as it does for the
// user.
class TURNS : public QObject {
 public:
  TURNS() {
    m_Timer.setTimerType(Qt::PreciseTimer);
    connect(&m_Timer, &QTimer::timeout, this, [this] {
      const CLOCK::time_point now = CLOCK::now();
      m_Gaps.push_back(std::chrono::duration<double, std::milli>(now - m_Last).count());
      m_Last = now;
    });
  }
  void Begin() {
    m_Gaps.clear();
    m_Last = CLOCK::now();
    m_Timer.start(1);
  }
  void Report(const std::string& name) {
    m_Timer.stop();
    std::sort(m_Gaps.begin(), m_Gaps.end());
    if (m_Gaps.empty()) {
      m_Gaps.push_back(1e9);  // not one turn
    }
    BENCH_Note(name + ": turns", static_cast<double>(m_Gaps.size()), "");
    BENCH_Note(name + ": median gap", At(0.5), "ms");
    BENCH_Note(name + ": 99 of 100 gaps below", At(0.99), "ms");
    BENCH_Row(name + ": longest gap", m_Gaps.back(), "ms", BENCH_BOUND::AtMost, 50);
  }

 private:
  double At(double part) const {
    return m_Gaps[static_cast<std::size_t>(part * static_cast<double>(m_Gaps.size() - 1))];
  }

  QTimer m_Timer;
  CLOCK::time_point m_Last = CLOCK::now();
  std::vector<double> m_Gaps;
};

// A folder with a project, a probe without latency, an image for the whole chip and a large file.
class WORKPLACE {
 public:
  WORKPLACE() : m_Dir(std::filesystem::temp_directory_path() / "korvane-ui-bench") {
    std::filesystem::remove_all(m_Dir);
    std::filesystem::create_directories(m_Dir);
    qputenv("XDG_CONFIG_HOME", Path("config").c_str());
    qputenv("VORTIC_CONFIG", Path("Vortic.ini").c_str());
    Write("Vortic.ini",
          "[Probe0]\nBackend = sim\nSerialNumber = 1\nProductId = 1\nHardwareVersion = 51200\n"
          "TargetMilliVolts = 3300\nChip = W25Q128FV\nImageFile = chip.bin\nTime = virtual\n");
    Write("p.korvane",
          "  AppVersion = 93800\n[GENERAL]\n  ConnectMode = 0\n[JTAG]\n  Speed0 = 50000\n[FLASH]\n"
          "  AutoDetect = 0x00000001\n  FlashType = 0x00000001\n");
  }
  ~WORKPLACE() {
    std::error_code error;
    std::filesystem::remove_all(m_Dir, error);
  }
  WORKPLACE(const WORKPLACE&) = delete;
  WORKPLACE& operator=(const WORKPLACE&) = delete;

  // After what is measured of other processes: they start with the memory of this one.
  void MakeDataFiles() const {
    std::string data(kChipBytes, '\0');
    std::mt19937 random(1);
    std::generate(data.begin(), data.end(), [&] { return static_cast<char>(random()); });
    Write("chip16.bin", data);
    WriteHex("large.hex");
  }

  std::string Path(const std::string& name) const { return (m_Dir / name).string(); }

 private:
  void Write(const std::string& name, const std::string& data) const {
    std::ofstream(Path(name), std::ios::binary) << data;
  }
  void WriteHex(const std::string& name) const {
    std::string text;
    for (u32 addr = 0; addr < kLargeFileBytes; addr += 32) {
      if (addr % 0x10000 == 0) {
        const u32 high = addr >> 16;
        const u32 sum = 2 + 4 + (high >> 8) + high;
        Record(&text, {2, 0, 0, 4, static_cast<u8>(high >> 8), static_cast<u8>(high)}, sum);
      }
      u8 bytes[36] = {32, static_cast<u8>(addr >> 8), static_cast<u8>(addr), 0};
      u32 sum = 32U + (addr >> 8 & 0xFF) + (addr & 0xFF);
      for (u32 i = 0; i < 32; ++i) {
        bytes[4 + i] = static_cast<u8>(addr * 7 + i * 13);
        sum += bytes[4 + i];
      }
      Record(&text, {bytes, bytes + 36}, sum);
    }
    Write(name, text + ":00000001FF\r\n");
  }
  static void Record(std::string* pText, const std::vector<u8>& bytes, u32 sum) {
    static const char kDigits[] = "0123456789ABCDEF";
    *pText += ':';
    for (const u8 byte : bytes) {
      *pText += {kDigits[byte >> 4], kDigits[byte & 15]};
    }
    const u8 check = static_cast<u8>(0 - sum);
    *pText += {kDigits[check >> 4], kDigits[check & 15], '\r', '\n'};
  }

  std::filesystem::path m_Dir;
};

template <typename F>
void OnGuiThread(F function) {
  QMetaObject::invokeMethod(qApp, function, Qt::BlockingQueuedConnection);
}

// The user's part, on a thread of its own.
class USER {
 public:
  explicit USER(const WORKPLACE& place) : m_Place(place) {}

  void Work() {
    WaitFor([] { return Window() != nullptr; });
    OnGuiThread([this] { m_pTurns = std::make_unique<TURNS>(); });
    Measure("load 16 MiB binary", [this] { Open("chip16.bin"); });
    Measure(
        "program 16 MiB", [] { Trigger(APP_OP_PROGRAM); }, APP_OP_PROGRAM);
    Measure(
        "verify 16 MiB", [] { Trigger(APP_OP_VERIFY); }, APP_OP_VERIFY);
    Measure(
        "read 16 MiB", [] { Trigger(APP_OP_READ_CHIP); }, APP_OP_READ_CHIP);
    Measure("load 64 MiB HEX", [this] { Open("large.hex"); });
    // The end may ask whether to save, so that a call that waits for it would wait for ever.
    OnGuiThread([this] {
      m_pTurns.reset();
      auto* pAnswer = new QTimer(qApp);
      QObject::connect(pAnswer, &QTimer::timeout, AnswerBox);
      pAnswer->start(20);
      QMetaObject::invokeMethod(
          qApp, [] { QApplication::closeAllWindows(); }, Qt::QueuedConnection);
    });
  }

 private:
  static QWidget* Window() {
    for (QWidget* pWidget : QApplication::topLevelWidgets()) {
      if (pWidget->inherits("MainWindow") && pWidget->isVisible()) {
        return pWidget;
      }
    }
    return nullptr;
  }
  static QAction* Action(u32 action) {
    return Window()->findChild<QAction*>(UI_GetActionRow(action).Text.sName);
  }
  static void Trigger(u32 action) { Action(action)->trigger(); }
  void Open(const char* sFile) {
    APP_PostOperation(APP_OP_OPEN_DATA, {.Text = '"' + m_Place.Path(sFile) + '"', .File = {}});
  }

  static void AnswerBox() {
    QWidget* pModal = QApplication::activeModalWidget();
    auto* pButton = pModal != nullptr && pModal->inherits("DIALOG_CustMsgBox")
                        ? pModal->findChild<QPushButton*>()
                        : nullptr;
    if (pButton != nullptr) {
      QMetaObject::invokeMethod(pButton, "click", Qt::QueuedConnection);
    }
  }

  // Looks on the GUI thread, and answers what the program asks with the first button.
  template <typename F>
  void WaitFor(F condition) {
    for (bool isMet = false; !isMet;) {
      OnGuiThread([&] {
        isMet = condition();
        AnswerBox();
      });
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }

  // The turns until the job behind the operation has run.
  template <typename F>
  void Measure(const char* sName, F operation, u32 action = APP_OP_OPEN_DATA) {
    WaitFor([&] { return Action(action) != nullptr && Action(action)->isEnabled(); });
    m_IsDone = false;
    OnGuiThread([&] {
      m_pTurns->Begin();
      operation();
      APP_Post(APP_JOB_GET_GLOBAL_SETTINGS, [this] { m_IsDone = true; });
    });
    WaitFor([&] { return m_IsDone.load(); });
    OnGuiThread([&] { m_pTurns->Report(sName); });
  }

  const WORKPLACE& m_Place;
  std::unique_ptr<TURNS> m_pTurns;
  std::atomic<bool> m_IsDone = false;
};

}  // namespace

void BenchDesktop() {
  const WORKPLACE place;
  BENCH_Section("Desktop program: start and idle");
  const std::string program =
      (std::filesystem::path(BENCH_GetSelf()).parent_path() / "KorvaneSPI").string();
  // Hidden from the command line it builds the same window and ends by itself.
  const BENCH_PROCESS start = BENCH_RunProcess({program, "-exit"}, 5);
  BENCH_Row("start to usable window and end: processor time",
            start.IsDone ? start.CpuSeconds * 1000 : 1e9, "ms", BENCH_BOUND::AtMost, 300);
  BENCH_Row("idle: peak memory", start.IsDone ? start.PeakMegabytes : 1e9, "MB",
            BENCH_BOUND::AtMost, 80);

  BENCH_Section("Desktop program: the event loop while the core works");
  place.MakeDataFiles();
  USER user(place);
  std::thread thread([&] { user.Work(); });
  std::string name = "KorvaneSPI";
  std::string project = place.Path("p.korvane");
  char* argv[] = {name.data(), project.data(), nullptr};
  UI_Main(2, argv);
  thread.join();
}
