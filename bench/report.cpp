#include <cstdio>

#include "bench/bench.h"

namespace {

int g_NumMissed = 0;

}  // namespace

void BENCH_Section(const char* sTitle) {
  std::printf("\n%s\n", sTitle);
}

void BENCH_Row(const std::string& Name, double Value, const char* sUnit, BENCH_BOUND Kind,
               double Bound) {
  const bool isMet = Kind == BENCH_BOUND::AtLeast ? Value >= Bound : Value <= Bound;
  g_NumMissed += isMet ? 0 : 1;
  std::printf("  %-52s %9.3f %-5s %s %8.3f  %s\n", Name.c_str(), Value, sUnit,
              Kind == BENCH_BOUND::AtLeast ? ">=" : "<=", Bound, isMet ? "ok" : "NOT MET");
  std::fflush(stdout);
}

void BENCH_Note(const std::string& Name, double Value, const char* sUnit) {
  std::printf("  %-52s %9.3f %s\n", Name.c_str(), Value, sUnit);
  std::fflush(stdout);
}

int BENCH_GetNumMissed() {
  return g_NumMissed;
}

int BENCH_Finish() {
  std::printf("\n%s\n", g_NumMissed == 0 ? "All bounds met." : "Some bounds not met.");
  return g_NumMissed == 0 ? 0 : 1;
}
