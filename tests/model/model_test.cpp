// Random runs of the whole core against the model, and the proof that the model sees what is wrong.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <sstream>

#include "app/engine/report.h"
#include "tests/model/run.h"
#include "tests/support/temp_dir.h"

namespace {

using namespace model;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr u64 kNumRuns = 30;
constexpr u64 kNumPairs = 5;
#else
constexpr u64 kNumRuns = 250;
constexpr u64 kNumPairs = 40;
#endif

TEST(Model, RandomRunsEndAsTheModelTells) {
  for (u64 run = 0; run < kNumRuns; ++run) {
    const Trial trial(MakePlan(1, run));
    const RunResult result = trial.Run();
    const std::vector<Violation> violations = trial.Judge(result);
    ASSERT_TRUE(violations.empty()) << trial.Describe(result, violations) << result.Line.Log;
  }
}

// ---- Planted faults ----

// Spoils what came of a run. False when it isn't a run for that.
using Plant = std::function<bool(const Trial& trial, RunResult& result)>;

struct PlantRow {
  Rule Expected;
  bool Passed;  // the run that it takes: one that passed, or one that failed without a fault
  Plant Spoil;
};

std::string ChipFile(const Trial& trial, const RunResult& result) {
  return trial.Folder() + (result.Recovery.HasEnded ? "/chip0.mid" : "/chip0.bin");
}

// Changes the bytes of a file from the first one on for which isWanted holds.
bool ChangeFile(const std::string& name, std::size_t count, char value) {
  std::string text = ReadFile(name);
  const std::size_t at = text.find_first_not_of(value);
  if (at == std::string::npos) {
    return false;
  }
  std::fill_n(text.begin() + static_cast<i64>(at), std::min(count, text.size() - at), value);
  WriteFile(name, text);
  return true;
}

bool ChangeSaved(const Trial& trial, bool isDeleted) {
  for (const Word& word : trial.GetPlan().Words) {
    const std::string name = trial.Folder() + "/work/" + word.Name;
    if (word.What == Op::SaveAs && std::filesystem::file_size(name) > 200) {
      return isDeleted ? std::filesystem::remove(name) : ChangeFile(name, 1, 'F');
    }
  }
  return false;
}

const PlantRow kPlants[] = {
    {Rule::Died, true,
     [](const Trial&, RunResult& result) {
       result.Death = "signal 11";
       return true;
     }},
    {Rule::ChipDiffers, true,
     [](const Trial& trial, RunResult& result) {
       return ChangeFile(ChipFile(trial, result), 1, '\x5A');
     }},
    // A page that was never programmed.
    {Rule::ChipDiffers, true,
     [](const Trial& trial, RunResult& result) {
       return ChangeFile(ChipFile(trial, result), 256, '\xFF');
     }},
    // A neighbour that was erased as well.
    {Rule::ChipDamaged, false,
     [](const Trial& trial, RunResult& result) {
       return ChangeFile(ChipFile(trial, result), 0x10000, '\xFF');
     }},
    {Rule::WrongPass, false,
     [](const Trial&, RunResult& result) {
       result.Line.Status = 0;
       return true;
     }},
    {Rule::ErrorInPass, true,
     [](const Trial&, RunResult& result) {
       result.Line.Log += " - ERROR: Failed to verify target.\n";
       return true;
     }},
    {Rule::FalseFailure, true,
     [](const Trial& trial, RunResult& result) {
       result.Line.Status = 1;
       result.Line.Log += "CMDLINE: Stopped at option [" + trial.GetPlan().Words[0].Text + "]\n";
       return true;
     }},
    {Rule::WrongStop, false,
     [](const Trial& trial, RunResult& result) {
       for (const Word& word : trial.GetPlan().Words) {
         const std::size_t at = result.Line.Log.find("[" + word.Text + "]\n");
         if (at != std::string::npos && result.Line.Log.find("Stopped at option") < at) {
           result.Line.Log.replace(at, word.Text.size() + 2, "[-other]");
           return true;
         }
       }
       return false;
     }},
    {Rule::NoCause, false,
     [](const Trial&, RunResult& result) {
       result.Line.Cause = static_cast<u32>(APP_CAUSE::None);
       return true;
     }},
    {Rule::FileDiffers, true,
     [](const Trial& trial, RunResult&) { return ChangeSaved(trial, false); }},
    {Rule::FileDiffers, true,
     [](const Trial& trial, RunResult&) { return ChangeSaved(trial, true); }},
    // A project that was rewritten unasked.
    {Rule::FileDiffers, true,
     [](const Trial& trial, RunResult&) {
       return ChangeFile(trial.Folder() + "/work/p0.korvane", 1, ';');
     }},
    {Rule::StrayFile, true,
     [](const Trial& trial, RunResult&) {
       WriteFile(trial.Folder() + "/work/d0.hex.tmp", "");
       return true;
     }},
    {Rule::ClientFault, true,
     [](const Trial&, RunResult& result) {
       result.Line.Log += "  - Simulated chip W25Q10RL: 1 x write without write enable\n";
       return true;
     }},
    {Rule::TooLong, true,
     [](const Trial&, RunResult& result) {
       result.Line.VirtualMs = 3'600'000;
       return true;
     }},
    {Rule::RecoveryFailed, false,
     [](const Trial&, RunResult& result) {
       result.Recovery.Status = 1;
       return result.Recovery.HasEnded;
     }},
};

TEST(Model, CatchesEachKindOfPlantedFault) {
  for (std::size_t i = 0; i < std::size(kPlants); ++i) {
    const PlantRow& plant = kPlants[i];
    bool isPlanted = false;
    for (u64 run = 0; run < 200 && !isPlanted; ++run) {
      Trial trial(MakePlan(2, run, {.HasFaults = false, .MaxChipBytes = 1U << 20}));
      RunResult result = trial.Run();
      isPlanted = (result.Line.Status == 0) == plant.Passed && trial.Judge(result).empty() &&
                  plant.Spoil(trial, result);
      if (!isPlanted) {
        continue;
      }
      const std::vector<Violation> violations = trial.Judge(result);
      EXPECT_TRUE(std::any_of(
          violations.begin(), violations.end(),
          [&](const Violation& violation) { return violation.Broken == plant.Expected; }))
          << i << ": " << RuleName(plant.Expected) << "\n"
          << trial.Describe(result, violations);
    }
    EXPECT_TRUE(isPlanted) << i << ": " << RuleName(plant.Expected);
  }
}

// ---- Several projects in one process ----

// Each session has data of its own, so that nothing but the process connects it with the others.
bool IsInSessions(const Plan& plan) {
  return plan.Sessions.size() > 1 &&
         std::all_of(plan.Sessions.begin(), plan.Sessions.end(), [&](std::size_t first) {
           return first + 1 < plan.Words.size() && plan.Words[first + 1].What == Op::Open;
         });
}

// What the chips have to say about their client, in order.
std::string ClientFaults(const std::string& log) {
  std::istringstream lines(log);
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    text += line.find("Simulated chip ") != std::string::npos ? line + "\n" : "";
  }
  return text;
}

std::string Chips(const Trial& trial) {
  std::string text;
  for (std::size_t i = 0; i < trial.GetPlan().Chips.size(); ++i) {
    text += ReadFile(trial.Folder() + Printf("/chip%zu.bin", i));
  }
  return text;
}

// The head of a programmer's data file tells when it was made.
std::map<std::string, std::string> TimelessFiles(const Trial& trial) {
  std::map<std::string, std::string> files = ReadFolder(trial.Folder());
  for (auto& [name, text] : files) {
    if (name.ends_with(".dat")) {
      text.erase(0, 256);
    }
  }
  return files;
}

TEST(Model, ProjectsInOneProcessEqualProcessesOfTheirOwn) {
  u64 numPairs = 0;
  for (u64 run = 0; numPairs < kNumPairs; ++run) {
    const Plan plan = MakePlan(3, run, {.HasFaults = false});
    if (!IsInSessions(plan)) {
      continue;
    }
    ++numPairs;
    Trial together(plan);
    const RunResult all = together.Run({.Recovers = false});
    Trial apart(plan);
    RunResult last;
    std::string faults;
    for (std::size_t i = 0; i < plan.Sessions.size() && last.Line.Status == 0; ++i) {
      const std::size_t end =
          i + 1 < plan.Sessions.size() ? plan.Sessions[i + 1] : plan.Words.size();
      last = apart.Run({plan.Sessions[i], end - plan.Sessions[i], false});
      faults += ClientFaults(last.Line.Log);
    }
    SCOPED_TRACE(together.Describe(all, {}) + all.Line.Log + "==== apart:\n" + last.Line.Log);
    ASSERT_EQ(all.Line.Status, last.Line.Status);
    ASSERT_EQ(all.Line.Cause, last.Line.Cause);
    ASSERT_EQ(ClientFaults(all.Line.Log), faults);
    ASSERT_TRUE(Chips(together) == Chips(apart));
    ASSERT_TRUE(TimelessFiles(together) == TimelessFiles(apart));
  }
}

}  // namespace
