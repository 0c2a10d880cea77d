#include <QtWidgets>

#include "bench/bench.h"

int main(int argc, char** argv) {
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  BenchDesktop();  // brings an application of its own
  {
    QApplication app(argc, argv);
    BenchUiLog();
    BenchUiHex();
  }
  return BENCH_Finish();
}
