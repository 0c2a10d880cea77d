// The tests of the model, and by hand:
//   korvane_test_model --seed N (--runs COUNT | --run K) [--from K] [--jobs J] [--keep]
//   [--no-faults]
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string_view>

#include "tests/model/run.h"

namespace {

struct Options {
  bool IsByHand = false;
  u64 Seed = 1, First = 0, Count = 0, Jobs = 1;
  bool Keeps = false, ShowsLog = false;
  std::set<std::string_view> Ignored;
  model::PlanOptions Plan;
};

// False: an argument that makes no sense.
bool Parse(int argc, char** argv, Options* pOptions) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view arg = argv[i];
    const bool hasValue = i + 1 < argc;
    const auto number = [&] { return std::strtoull(argv[++i], nullptr, 0); };
    if (arg == "--keep") {
      pOptions->Keeps = true;
    } else if (arg == "--no-dips") {
      pOptions->Plan.HasDips = false;
    } else if (arg == "--no-faults") {
      pOptions->Plan.HasFaults = false;
    } else if (arg == "--seed" && hasValue) {
      pOptions->Seed = number();
    } else if (arg == "--from" && hasValue) {
      pOptions->First = number();
    } else if (arg == "--runs" && hasValue) {
      pOptions->Count = number();
    } else if (arg == "--jobs" && hasValue) {
      pOptions->Jobs = std::max<u64>(1, number());
    } else if (arg == "--ignore" && hasValue) {
      pOptions->Ignored.insert(argv[++i]);
    } else if (arg == "--run" && hasValue) {
      pOptions->First = number();
      pOptions->Count = 1;
      pOptions->ShowsLog = true;
    } else {
      return false;
    }
    pOptions->IsByHand = true;
  }
  return true;
}

// Every Jobs-th run, from the given one on. Counts the runs with a violation.
void RunShare(const Options& options, u64 first, std::atomic<u64>* pNumBad) {
  for (u64 run = first; run < options.First + options.Count; run += options.Jobs) {
    model::Trial trial(model::MakePlan(options.Seed, run, options.Plan));
    const model::RunResult result = trial.Run();
    std::vector<model::Violation> violations = trial.Judge(result);
    std::erase_if(violations, [&](const model::Violation& violation) {
      return options.Ignored.contains(model::RuleName(violation.Broken));
    });
    if (!violations.empty() || options.ShowsLog) {
      std::string text = trial.Describe(result, violations);
      if (options.ShowsLog) {
        text += result.Line.Log;
      }
      if (options.Keeps) {
        trial.Keep();
        text += "  kept in " + trial.Folder() + "\n";
      }
      std::fputs(text.c_str(), stdout);
      std::fflush(stdout);
    }
    *pNumBad += violations.empty() ? 0 : 1;
  }
}

int RunByHand(const Options& options) {
  void* pShared = mmap(nullptr, sizeof(std::atomic<u64>), PROT_READ | PROT_WRITE,
                       MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  auto* pNumBad = new (pShared) std::atomic<u64>(0);
  for (u64 i = 0; i < options.Jobs; ++i) {
    if (fork() == 0) {
      RunShare(options, options.First + i, pNumBad);
      _exit(0);
    }
  }
  bool hasDied = false;
  for (int status = 0; wait(&status) > 0;) {
    hasDied = hasDied || !WIFEXITED(status) || WEXITSTATUS(status) != 0;
  }
  std::printf(
      "model: %llu runs, %llu with violations%s\n", static_cast<unsigned long long>(options.Count),
      static_cast<unsigned long long>(pNumBad->load()), hasDied ? ", and a job that died" : "");
  return *pNumBad == 0 && !hasDied ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  Options options;
  if (!Parse(argc, argv, &options)) {
    std::fputs(
        "usage: --seed N (--runs COUNT | --run K) [--from K] [--jobs J] [--keep] "
        "[--no-faults] [--ignore RULE]...\n",
        stderr);
    return 2;
  }
  return options.IsByHand ? RunByHand(options) : RUN_ALL_TESTS();
}
