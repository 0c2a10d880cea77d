#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/model/plan.h"

// What has to come of a plan's words, told from what chips and files are, not from the product.

namespace model {

// Open: a fault may end the word; a success still has to be a real one.
enum class Verdict : u8 { Good, Bad, Open };

// One of the contents that a file may have.
struct Content {
  enum class Form : u8 {
    Absent,
    Anything,
    Text,
    HexOrMot,
    Txt,
    Bin,
    C,
    Programmer
  } Is = Form::Text;
  std::string Text = {};
  Image Data = {};  // of the forms that are data files; .bin and .c from First to Last
  u64 First = 0, Last = 0;
};

struct ChipState {
  Bytes Cells = {};
  Bytes Unknown = {};        // 1 where a failed word may have left anything; empty: nowhere
  bool AsksForOnes = false;  // a word had to program over what was not blank
};

class Expectation {
 public:
  Expectation(const Plan& plan, std::map<std::string, std::string> inputs);

  // Takes the word's effects as far as they are certain: those of a success, or of the failure.
  Verdict Apply(const Word& word);
  // The word failed at a place that nobody knows.
  void ApplyBroken(const Word& word);
  // A line begins: nothing is open, or everything as it was.
  void SetFaulty(bool withFaults) { m_HasFaults = withFaults; }

  // Something was read that may have been wrong: what came of it can't be told.
  bool IsBlurred() const { return m_IsBlurred; }
  const ChipState& GetChip(std::size_t index) const { return m_Chips[index]; }
  // By name; each with the contents that it may have.
  const std::map<std::string, std::vector<Content>>& Files() const { return m_Files; }

 private:
  struct Window {
    Image Data;
    std::string Name;
  };
  // The data file that a project names.
  struct Bound {
    std::string Name;
    u64 Addr = 0;
  };
  struct Serial {
    u32 Value = 0;
    bool IsInFile = false;
  };

  Verdict OpenProject(const Word& word);
  Verdict OpenData(const std::string& name, u64 addr);
  std::optional<Image> Load(const std::string& name, u64 addr) const;
  Verdict Edit(const Word& word);
  Verdict SaveAs(const Word& word);
  Verdict SaveProgrammerFile(const Word& word);
  Verdict Connect() const;
  Verdict Erase();
  Verdict Program(bool verifies);
  Verdict Verify(const Image& image);
  Verdict Read(u64 first, u64 last);
  Verdict Auto();
  Verdict RunAuto(const Production& production, const Image& image);
  Verdict Stamp(const Production& production, Window* pWindow);
  Verdict AdvanceSerial(const Production& production);
  void SetSerialFile(std::vector<std::optional<u32>> values);

  // The chip of the open project.
  const Chip& Bench() const { return m_Plan.Chips[m_pProject->ChipIndex]; }
  const Part& ThePart() const { return *Bench().pPart; }
  ChipState& State() { return m_Chips[m_pProject->ChipIndex]; }
  bool IsSkippingErase() const { return m_pProject->FlashType != 1 || !ThePart().HasErase(); }
  bool Fits(const Image& image) const { return image.Max() < ThePart().Size; }
  bool IsFaulty() const;
  // As a read shows it.
  u8 Seen(u64 addr) const;
  bool IsBlank(u64 first, u64 last) const;
  void EraseSpan(u64 first, u64 numBytes);
  void Write(const Image& image);
  void HoldStuckBits();
  void Forget(u64 first, u64 last);
  // First addresses of the units that the image touches.
  std::vector<u64> Units(const Image& image, u64 unit) const;

  const Plan& m_Plan;
  std::map<std::string, std::string> m_Inputs;
  std::vector<ChipState> m_Chips;
  std::map<std::string, std::vector<Content>> m_Files;
  std::map<std::string, Serial> m_Serials;           // by project
  std::map<std::string, const Project*> m_Projects;  // saved ones included
  std::map<std::string, Bound> m_Bound;              // of saved projects
  Bound m_Current;                                   // of the open one
  std::vector<Window> m_Windows;
  const Project* m_pProject = nullptr;
  std::string m_ProjectName;
  bool m_HasFaults = true;
  bool m_IsBlurred = false;
};

}  // namespace model
