#pragma once

#include <map>
#include <string>
#include <vector>

#include "tests/model/plan.h"

// Runs a plan on the real core in a process of its own, and judges what has come of it.

namespace model {

// One line of words, as its process told it.
struct LineResult {
  bool HasEnded = false;
  int Status = 0;
  u32 Cause = 0;
  std::string CauseName;
  u64 VirtualMs = 0;
  std::string Log;
};

struct RunResult {
  std::string Death;  // how the process ended, empty: as it should
  double CpuSeconds = 0;
  LineResult Line, Recovery;
};

// Which words to run: those from First on, Count of them.
struct Slice {
  std::size_t First = 0;
  std::size_t Count = ~std::size_t{0};
  bool Recovers = true;  // a failed line is followed by the plan's recovery
};

// The folder holds the plan's files, see Plan::Store.
RunResult RunPlan(const Plan& plan, const std::string& folder, const Slice& slice = {});
// The files of the folder in which the words run.
std::map<std::string, std::string> ReadFolder(const std::string& folder);

enum class Rule : u8 {
  Died,          // crashed, or went on for ever
  WrongPass,     // a word that could not be done was passed
  ErrorInPass,   // status 0 over an error in the log
  FalseFailure,  // nothing was in the way
  WrongStop,     // stopped at no word of the line
  NoCause,       // a failure without a cause
  ChipDiffers,   // the chip holds something else
  ChipDamaged,   // a failure changed what it had nothing to do with
  FileDiffers,   // a file holds something else
  StrayFile,     // a file that nobody asked for
  ClientFault,   // the chip was treated as no data sheet allows
  TooLong,
  RecoveryFailed,  // a failed line left something behind that the next one falls over
};
const char* RuleName(Rule rule);

struct Violation {
  Rule Broken;
  std::string Text;
};

std::vector<Violation> Judge(const Plan& plan, const std::string& folder,
                             const std::map<std::string, std::string>& inputs,
                             const RunResult& result);

// A plan in a folder of its own.
class Trial {
 public:
  explicit Trial(Plan plan);
  ~Trial();
  Trial(const Trial&) = delete;
  Trial& operator=(const Trial&) = delete;

  RunResult Run(const Slice& slice = {}) const { return RunPlan(m_Plan, m_Folder, slice); }
  std::vector<Violation> Judge(const RunResult& result) const {
    return model::Judge(m_Plan, m_Folder, m_Inputs, result);
  }
  const Plan& GetPlan() const { return m_Plan; }
  const std::string& Folder() const { return m_Folder; }
  void Keep() { m_IsKept = true; }
  // What somebody needs to see it again.
  std::string Describe(const RunResult& result, const std::vector<Violation>& violations) const;

 private:
  const Plan m_Plan;
  std::string m_Folder;
  std::map<std::string, std::string> m_Inputs;
  bool m_IsKept = false;
};

}  // namespace model
