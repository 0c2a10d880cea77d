// The log view under load: a million coloured lines from another thread, and a full view's
// painting.
#include <QtWidgets>
#include <ctime>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "bench/bench.h"
#include "ui/log/text_view.h"

namespace {

constexpr u32 kNumLines = 1000000;
constexpr u32 kNumLinesFull = 20000;  // by then the ring has turned
constexpr int kNumPaints = 100;

double ThreadSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double ResidentMegabytes() {
  std::ifstream file("/proc/self/statm");
  double total = 0;
  double resident = 0;
  file >> total >> resident;
  return resident * 4096 / (1 << 20);
}

// 80 characters in three colours, as errors and warnings have them.
std::vector<std::string> MakeLines() {
  std::vector<std::string> lines;
  for (int i = 0; i < 64; ++i) {
    lines.push_back(" - \x1b[1;3" + std::to_string(i % 8) + "m" + std::string(30, 'E') +
                    "\x1b[0m " + std::string(20, 'a') + "\x1b[2;33m" + std::string(26, '7') +
                    "\x1b[0m\n");
  }
  return lines;
}

struct FLOOD {
  double Seconds = 0;
  double LateMegabytes = 0;  // that memory grew after the ring was full
};

// The GUI thread goes on with its events all the while.
FLOOD AddLines(CustTextView* pView) {
  const std::vector<std::string> lines = MakeLines();
  FLOOD result;
  std::atomic<bool> isDone = false;
  std::thread writer([&] {
    const double start = ThreadSeconds();
    for (u32 i = 0; i < kNumLinesFull; ++i) {
      pView->AddTextFromThread(lines[i % lines.size()].c_str());
    }
    const double before = ResidentMegabytes();
    for (u32 i = kNumLinesFull; i < kNumLines; ++i) {
      pView->AddTextFromThread(lines[i % lines.size()].c_str());
    }
    result.Seconds = ThreadSeconds() - start;
    result.LateMegabytes = ResidentMegabytes() - before;
    isDone = true;
  });
  double longest = 0;
  while (!isDone) {
    QElapsedTimer turn;
    turn.start();
    QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    longest = std::max(longest, static_cast<double>(turn.nsecsElapsed()) * 1e-6);
  }
  writer.join();
  BENCH_Note("longest turn of the window meanwhile", longest, "ms");
  return result;
}

double PaintMilliseconds(CustTextView* pView, double scale) {
  QImage image(QSize(1000, 800) * scale, QImage::Format_ARGB32_Premultiplied);
  image.setDevicePixelRatio(scale);
  pView->render(&image);
  const double start = ThreadSeconds();
  for (int i = 0; i < kNumPaints; ++i) {
    pView->render(&image);
  }
  return (ThreadSeconds() - start) * 1000 / kNumPaints;
}

}  // namespace

void BenchUiLog() {
  BENCH_Section("Log view");
  CustTextView view(nullptr);
  view.SetLocal8Bit(true);
  view.resize(1000, 800);
  view.show();
  QCoreApplication::processEvents();
  const FLOOD flood = AddLines(&view);
  BENCH_Row("a million coloured lines, the adding thread", flood.Seconds, "s", BENCH_BOUND::AtMost,
            1.0);
  BENCH_Row("memory grown once the ring was full", flood.LateMegabytes, "MiB", BENCH_BOUND::AtMost,
            4.0);
  QCoreApplication::processEvents();
  BENCH_Row("painting 1000 by 800, 80 characters a line", PaintMilliseconds(&view, 1), "ms",
            BENCH_BOUND::AtMost, 3.0);
  BENCH_Note("the same at twice the scale", PaintMilliseconds(&view, 2), "ms");
  for (int i = 0; i < 100; ++i) {
    view.AddTextFromThread((std::string(4000, 'w') + "\n").c_str());
    view.AddTextFromThread((std::string(40, '-') + " 25 \xc2\xb0"
                                                   "C at \xc2\xb5s rate\n")
                               .c_str());
  }
  QCoreApplication::processEvents();
  BENCH_Row("painting 1000 by 800, lines far wider than that", PaintMilliseconds(&view, 1), "ms",
            BENCH_BOUND::AtMost, 3.0);
}
