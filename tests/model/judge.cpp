#include <algorithm>
#include <filesystem>

#include "app/engine/report.h"
#include "tests/model/expect.h"
#include "tests/model/run.h"
#include "tests/support/temp_dir.h"

namespace model {

namespace {

constexpr u64 kMaxVirtualMs = 1'000'000;  // a chip that stays busy is waited for
constexpr u64 kMaxDeadMs = 60'000;        // one that is gone is not
constexpr double kMaxCpuSeconds = 20;

class Judging {
 public:
  Judging(const Plan& plan, const std::string& folder,
          const std::map<std::string, std::string>& inputs, const RunResult& result)
      : m_Plan(plan), m_Folder(folder), m_Result(result), m_Expected(std::in_place, plan, inputs) {
    for (const Chip& chip : plan.Chips) {
      m_HasFaults = m_HasFaults || !chip.Faults.empty();
    }
  }

  std::vector<Violation> Run() {
    if (!m_Result.Death.empty()) {
      Report(Rule::Died, m_Result.Death);
      return m_Violations;
    }
    JudgeLine();
    m_IsLost = m_IsLost || m_Expected->IsBlurred();
    JudgeChips(m_Result.Recovery.HasEnded ? "mid" : "bin");
    JudgeClient(m_Result.Line, m_HasFaults);
    if (m_Result.Recovery.HasEnded) {
      JudgeRecovery();
    }
    JudgeFiles();
    const u64 maxMs = MayStayBusy() ? kMaxVirtualMs : kMaxDeadMs;
    if (m_Result.Line.VirtualMs > maxMs || m_Result.CpuSeconds > kMaxCpuSeconds) {
      Report(Rule::TooLong,
             Printf("%llu ms, %.1f s of the processor",
                    static_cast<unsigned long long>(m_Result.Line.VirtualMs), m_Result.CpuSeconds));
    }
    return m_Violations;
  }

 private:
  void Report(Rule rule, const std::string& text) { m_Violations.push_back({rule, text}); }

  // What a chip that is erased as a whole may take, too.
  bool MayStayBusy() const {
    return std::any_of(m_Plan.Chips.begin(), m_Plan.Chips.end(), [](const Chip& chip) {
      return chip.pPart->Size > 4U << 20 ||
             std::any_of(chip.Faults.begin(), chip.Faults.end(), [](const std::string& fault) {
               return fault.starts_with("busy") || fault.starts_with("slow") ||
                      fault.starts_with("fastbusy");
             });
    });
  }

  // Index of the word at which the line stopped; the number of words when it was behind them.
  std::size_t FindStop() {
    for (std::size_t i = 0; i < m_Plan.Words.size(); ++i) {
      if (m_Result.Line.Log.find("Stopped at option [" + m_Plan.Words[i].Text + "]") !=
          std::string::npos) {
        return i;
      }
    }
    if (m_Result.Line.Log.find("Stopped at option [") != std::string::npos) {
      Report(Rule::WrongStop, "a word that is not on the line");
    }
    return m_Plan.Words.size();
  }

  void JudgeLine() {
    const LineResult& line = m_Result.Line;
    const std::size_t stop = line.Status == 0 ? m_Plan.Words.size() : FindStop();
    for (std::size_t i = 0; i < stop; ++i) {
      if (m_Expected->Apply(m_Plan.Words[i]) == Verdict::Bad && !m_Expected->IsBlurred()) {
        Report(Rule::WrongPass, m_Plan.Words[i].Text);
        m_IsLost = true;
        return;
      }
    }
    if (line.Status == 0) {
      if (line.Log.find("ERROR:") != std::string::npos) {
        Report(Rule::ErrorInPass, "status 0, but an error is in the log");
      }
      return;
    }
    const auto cause = static_cast<APP_CAUSE>(line.Cause);
    if (cause == APP_CAUSE::None || cause == APP_CAUSE::Internal) {
      Report(Rule::NoCause, line.CauseName);
    }
    JudgeFailure(stop);
  }

  void JudgeFailure(std::size_t stop) {
    if (stop == m_Plan.Words.size()) {
      if (!m_HasFaults) {
        Report(Rule::FalseFailure, "behind the last word");
      }
      return;
    }
    const Word& word = m_Plan.Words[stop];
    m_HasFailed = true;
    if (!m_HasFaults) {
      Expectation trial = *m_Expected;
      const Verdict verdict = trial.Apply(word);
      if (verdict == Verdict::Good) {
        Report(Rule::FalseFailure, word.Text);
      }
      if (verdict == Verdict::Bad) {
        m_Expected.emplace(trial);
        return;
      }
    }
    m_Expected->ApplyBroken(word);
  }

  void JudgeChips(const std::string& extension) {
    for (std::size_t i = 0; i < m_Plan.Chips.size() && !m_IsLost; ++i) {
      const std::string found = ReadFile(m_Folder + Printf("/chip%zu.", i) + extension);
      const ChipState& state = m_Expected->GetChip(i);
      u64 numWrong = found.size() == state.Cells.size() ? 0 : 1;
      u64 first = 0;
      for (u64 addr = 0; addr < found.size() && addr < state.Cells.size(); ++addr) {
        const bool isKnown = state.Unknown.empty() || state.Unknown[addr] == 0;
        if (isKnown && static_cast<u8>(found[addr]) != state.Cells[addr]) {
          first = numWrong == 0 ? addr : first;
          ++numWrong;
        }
      }
      if (numWrong != 0) {
        Report(m_HasFailed ? Rule::ChipDamaged : Rule::ChipDiffers,
               Printf("chip %zu (%s), %llu bytes, first at 0x%llX: expected %02X, found %02X", i,
                      m_Plan.Chips[i].pPart->sName, static_cast<unsigned long long>(numWrong),
                      static_cast<unsigned long long>(first), state.Cells[first],
                      found.empty() ? 0U : static_cast<u8>(found[first])));
      }
    }
  }

  // Programming over what is not blank was asked for by the line.
  void JudgeClient(const LineResult& line, bool hasFaults) {
    const bool mayAsk = m_Expected->GetChip(0).AsksForOnes ||
                        (m_Plan.Chips.size() > 1 && m_Expected->GetChip(1).AsksForOnes);
    for (std::size_t at = 0; !m_IsLost && !hasFaults &&
                             (at = line.Log.find("Simulated chip ", at)) != std::string::npos;) {
      const std::string text = line.Log.substr(at, line.Log.find('\n', at) - at);
      at += text.size();
      if (!mayAsk || text.find("a bit from 0 to 1") == std::string::npos) {
        Report(Rule::ClientFault, text);
      }
    }
  }

  void JudgeRecovery() {
    m_Expected->SetFaulty(false);
    for (const Word& word : m_Plan.Recovery) {
      m_Expected->Apply(word);
    }
    if (m_Result.Recovery.Status != 0) {
      Report(Rule::RecoveryFailed, m_Result.Recovery.Log);
      return;
    }
    JudgeClient(m_Result.Recovery, false);
    JudgeChips("bin");
  }

  void JudgeFiles() {
    const std::map<std::string, std::string> found = ReadFolder(m_Folder);
    for (const auto& [name, text] : found) {
      if (!m_IsLost && !m_Expected->Files().contains(name)) {
        Report(Rule::StrayFile, name);
      }
    }
    for (const auto& [name, contents] : m_Expected->Files()) {
      const auto it = found.find(name);
      std::string reason;
      const bool isGood =
          std::any_of(contents.begin(), contents.end(), [&](const Content& content) {
            reason = it != found.end()                     ? Compare(content, it->second)
                     : content.Is == Content::Form::Absent ? ""
                                                           : "is missing";
            return reason.empty();
          });
      if (!isGood && !m_IsLost) {
        Report(Rule::FileDiffers, name + ": " + reason);
      }
    }
  }

  // Why the text is not that content; empty when it is.
  static std::string Compare(const Content& content, const std::string& text) {
    std::optional<Image> found;
    switch (content.Is) {
      case Content::Form::Absent:
        return "should not be there";
      case Content::Form::Anything:
        return {};
      case Content::Form::Text:
        return text == content.Text ? "" : "was changed";
      case Content::Form::Bin:
        return CompareBin(content, text);
      case Content::Form::C: {
        const std::optional<Bytes> bytes = DecodeC(text);
        const bool isGood = bytes && *bytes == content.Data.Read(content.First, content.Last);
        return isGood ? "" : "holds other bytes";
      }
      case Content::Form::Programmer:
        found = DecodeProgrammerFile(text);
        break;
      case Content::Form::Txt:
        found = Decode(text, ".txt");
        break;
      case Content::Form::HexOrMot:
        found = Decode(text, content.Text);
        break;
    }
    if (!found) {
      return "is damaged";
    }
    return Difference(
        content.Is == Content::Form::Txt ? content.Data.WithEvenStarts() : content.Data, *found);
  }

  // Ends with the last byte of data in the range.
  static std::string CompareBin(const Content& content, const std::string& text) {
    Image part = content.Data;
    if (content.First > 0) {
      part.Cut(0, content.First - 1);
    }
    part.Cut(content.Last + 1, ~u64{0});
    const Bytes bytes = part.IsEmpty() ? Bytes() : part.Read(content.First, part.Max());
    return std::equal(bytes.begin(), bytes.end(), text.begin(), text.end(),
                      [](u8 a, char b) { return a == static_cast<u8>(b); })
               ? ""
               : Printf("%zu bytes expected, %zu found, or others", bytes.size(), text.size());
  }

  const Plan& m_Plan;
  const std::string m_Folder;
  const RunResult& m_Result;
  std::optional<Expectation> m_Expected;
  std::vector<Violation> m_Violations;
  bool m_HasFaults = false;
  bool m_HasFailed = false;
  bool m_IsLost = false;  // what came of the line can't be told
};

}  // namespace

const char* RuleName(Rule rule) {
  constexpr const char* names[] = {
      "died",         "wrong pass",   "error in a pass", "false failure", "wrong stop",
      "no cause",     "chip differs", "chip damaged",    "file differs",  "stray file",
      "client fault", "too long",     "recovery failed"};
  return names[static_cast<std::size_t>(rule)];
}

std::vector<Violation> Judge(const Plan& plan, const std::string& folder,
                             const std::map<std::string, std::string>& inputs,
                             const RunResult& result) {
  return Judging(plan, folder, inputs, result).Run();
}

}  // namespace model
