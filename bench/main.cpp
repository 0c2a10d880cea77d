#include <cstdio>

#include "bench/bench.h"

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  if (!args.empty()) {
    const int status = BenchImageChild(args);
    if (status < 0) {
      std::fprintf(stderr, "Unknown option %s\n", args[0].c_str());
    }
    return status == 0 ? 0 : 1;
  }
  BenchFlash();
  BenchImage();
  return BENCH_Finish();
}
