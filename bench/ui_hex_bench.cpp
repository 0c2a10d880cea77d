// The hex editor over a large sparse image, and its manners while others work.
#include <QtWidgets>
#include <thread>

#include "bench/bench.h"
#include "image/access_table.h"
#include "image/memarea.h"
#include "ui/hex/hex_editor.h"

namespace {

constexpr u32 NUM_RANGES = 100000;
constexpr u32 NUM_PATCHES = 100000;
constexpr u64 RANGE_DISTANCE = (u64{1} << 32) / NUM_RANGES;
constexpr u64 RANGE_BYTES = 512;

// Small ranges all over 4 GiB, one patch in each.
MEMAREA_PTR MakeSparseImage() {
  MEMAREA_PTR pArea(MEMAREA_Create());
  std::vector<u8> bytes(RANGE_BYTES);
  for (u64 i = 0; i < RANGE_BYTES; ++i) {
    bytes[i] = static_cast<u8>(i * 31);
  }
  for (u64 i = 0; i < NUM_RANGES; ++i) {
    MEMAREA_AddRange(pArea.get(), i * RANGE_DISTANCE, RANGE_BYTES, bytes.data());
  }
  for (u64 i = 0; i < NUM_PATCHES; ++i) {
    const u64 addr = (i * 7919 % NUM_RANGES) * RANGE_DISTANCE + i % RANGE_BYTES;
    MEMAREA_AddPatch(pArea.get(), addr, static_cast<u8>(i));
  }
  return pArea;
}

struct EditorWindow {
  CHexEditor Editor;
  QPlainTextEdit* pText;

  explicit EditorWindow(MEMAREA* pArea) {
    HEX_EDITOR_CONFIG config;
    config.ShowRefresh = config.ShowAccessWidth = config.ShowLoad = config.ShowSave = 0;
    config.ScrollWhileDragging = 1;
    Editor.SetMemArea(pArea);
    Editor.SetConfig(&config);
    Editor.resize(Editor.sizeHint());
    Editor.show();
    pText = Editor.findChild<QPlainTextEdit*>("pTextEditor");
    pText->setFocus();
    Settle(50);
  }
  static void Settle(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
  }
  void Press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const {
    QKeyEvent event(QEvent::KeyPress, key, modifiers);
    QApplication::sendEvent(pText, &event);
  }
  // Until what a slot asked to repaint is painted.
  static void Paint() {
    QApplication::sendPostedEvents();
    QApplication::processEvents();
  }
};

template <class Fn>
double GetMsEach(int count, Fn&& fn) {
  const double start = BENCH_GetCpuSeconds();
  for (int i = 0; i < count; ++i) {
    fn();
  }
  return (BENCH_GetCpuSeconds() - start) * 1000 / count;
}

// The longest time between two turns of the event loop until work says that it is done.
template <class Fn>
double GetLongestGapMs(int minMs, Fn&& isDone) {
  QElapsedTimer total;
  QElapsedTimer turn;
  double longest = 0;
  QEventLoop loop;
  QTimer ticker;
  QObject::connect(&ticker, &QTimer::timeout, &loop, [&] {
    longest = std::max(longest, static_cast<double>(turn.nsecsElapsed()) / 1e6);
    turn.restart();
    if (total.hasExpired(minMs) && isDone()) {
      loop.quit();
    }
  });
  total.start();
  turn.start();
  ticker.start(0);
  loop.exec();
  return longest;
}

void BenchSparse() {
  const MEMAREA_PTR pArea = MakeSparseImage();
  EditorWindow window(pArea.get());
  QWidget* pViewport = window.pText->viewport();
  BENCH_Row("one screen of 100 000 ranges and patches, painted",
            GetMsEach(200, [&] { pViewport->repaint(); }), "ms", BENCH_BOUND::AtMost, 5);
  window.Press(Qt::Key_End, Qt::ControlModifier);
  window.Press(Qt::Key_Home, Qt::ControlModifier);
  BENCH_Row("a jump across the image, read and painted",
            GetMsEach(200,
                      [&] {
                        window.Press(Qt::Key_End, Qt::ControlModifier);
                        EditorWindow::Paint();
                        window.Press(Qt::Key_Home, Qt::ControlModifier);
                        EditorWindow::Paint();
                      }) /
                2,
            "ms", BENCH_BOUND::AtMost, 5);
  const auto step = [&](int key) {
    return GetMsEach(300, [&] {
      window.Press(key);
      EditorWindow::Paint();
    });
  };
  GetMsEach(40, [&] { window.Press(Qt::Key_Down); });
  BENCH_Row("a row scrolled, read and painted", step(Qt::Key_Down), "ms", BENCH_BOUND::AtMost, 2);
  BENCH_Row("a row scrolled, without painting",
            GetMsEach(3000, [&] { window.Press(Qt::Key_Down); }), "ms", BENCH_BOUND::AtMost, 0.2);
  // A held key repeats some 30 times a second.
  BENCH_Row("Page Down held", step(Qt::Key_PageDown), "ms a page", BENCH_BOUND::AtMost, 10);
}

void BenchPaste() {
  constexpr u64 NUM_BYTES = 100 * 1000 * 1000;
  MEMAREA_PTR pArea(MEMAREA_Create());
  {
    const std::vector<u8> bytes(NUM_BYTES, 0xFF);
    MEMAREA_AddRange(pArea.get(), 0, bytes.size(), bytes.data());
  }
  EditorWindow window(pArea.get());
  auto* pMimeData = new QMimeData;  // the clipboard takes it
  pMimeData->setData("application/octet-stream", QByteArray(NUM_BYTES, 'x'));
  QApplication::clipboard()->setMimeData(pMimeData);
  bool isDone = false;
  QObject::connect(&window.Editor, &CHexEditor::SignalEditingFinished, &window.Editor,
                   [&isDone] { isDone = true; });
  QTimer::singleShot(0, &window.Editor,
                     [&] { window.Editor.findChild<QAction*>("pActionMemoryPaste")->trigger(); });
  BENCH_Row("100 MB pasted, longest gap", GetLongestGapMs(0, [&] { return isDone; }), "ms",
            BENCH_BOUND::AtMost, 50);
  window.Press(Qt::Key_Shift);
  window.Press(Qt::Key_End, Qt::ControlModifier | Qt::ShiftModifier);
  QTimer::singleShot(0, &window.Editor, [&] { window.Press(Qt::Key_C, Qt::ControlModifier); });
  BENCH_Row("100 MB selected and copied, longest gap", GetLongestGapMs(50, [] { return true; }),
            "ms", BENCH_BOUND::AtMost, 50);
}

// Another thread holds the image, as a save of a large file does, while keys are held.
void BenchBusy() {
  const MEMAREA_PTR pArea = MakeSparseImage();
  EditorWindow window(pArea.get());
  std::atomic<bool> isEnd = false;
  std::atomic<bool> isHeld = false;
  std::thread holder([&] {
    const MEMAREA_LOCK_GUARD lock(pArea.get());
    isHeld = true;
    while (!isEnd) {
      std::this_thread::yield();
    }
  });
  while (!isHeld) {
    std::this_thread::yield();
  }
  QTimer keys;
  QObject::connect(&keys, &QTimer::timeout, &window.Editor, [&] {
    window.Press(Qt::Key_PageDown);
    window.Press(Qt::Key_Down);
  });
  keys.start(30);
  BENCH_Row("keys held while the image is locked, longest gap",
            GetLongestGapMs(1000, [] { return true; }), "ms", BENCH_BOUND::AtMost, 50);
  isEnd = true;
  holder.join();
}

}  // namespace

void BenchUiHex() {
  BENCH_Section("Hex editor");
  BenchSparse();
  BenchPaste();
  BenchBusy();
}
