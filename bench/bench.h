#pragma once

#include <string>
#include <vector>

#include "sys/types.h"

// Frame of the benchmarks: one line a figure, with its bound and whether it is met.
//
// Each section is a file with one function, called from main.cpp. Figures are ratios against an
// independent tool of the same run, or processor seconds. What is compared with another program
// runs as a process of its own, this program with a --child option, so that start-up and peak
// memory count on both sides.

enum class BENCH_BOUND { AtLeast, AtMost };

void BENCH_Section(const char* sTitle);
void BENCH_Row(const std::string& Name, double Value, const char* sUnit, BENCH_BOUND Kind,
               double Bound);
// A figure without a bound.
void BENCH_Note(const std::string& Name, double Value, const char* sUnit);
int BENCH_GetNumMissed();
// The last line of the report; the exit status.
int BENCH_Finish();

double BENCH_GetCpuSeconds();

// Best of some runs of a whole process.
struct BENCH_PROCESS {
  bool IsDone = false;
  double WallSeconds = 0;
  double CpuSeconds = 0;
  double PeakMegabytes = 0;
};
BENCH_PROCESS BENCH_RunProcess(const std::vector<std::string>& Args, int NumRuns);
// Full name of this program.
std::string BENCH_GetSelf();

void BenchImage();
// Serves the --child options of the section; -1 when Args are none of them, else the exit status.
int BenchImageChild(const std::vector<std::string>& Args);
void BenchFlash();

// Sections of the desktop program's benchmark, korvane_ui_bench, which runs on the toolkit's
// offscreen platform.
void BenchUiLog();
void BenchUiHex();
void BenchDesktop();
