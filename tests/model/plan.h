#pragma once

#include <string>
#include <vector>

#include "tests/model/image.h"

// What one run works with, made from a number: chips, projects, data files, settings, a command
// line, faults. Names are relative to the run's folder.

namespace model {

enum class Kind : u8 { Nor, PageErase, Fram, Eeprom };

// From data sheets. The rows of the product are not asked.
struct Part {
  const char* sName;
  Kind Is;
  u32 Size, Page, Sector;
  u32 Id;  // first byte highest
  u8 Format;
  u8 AddrMode;  // 0 three bytes; 1 instructions with four; 2 a mode; 3 always four, fast read
  bool HasFlagStatus = false;
  bool HasQuad = false;

  bool HasErase() const { return Is == Kind::Nor || Is == Kind::PageErase; }
  bool HasTwoAddrBytes() const;
  u8 ProtectMask() const;
};

struct Cell {
  u64 Addr = 0;
  u8 Bit = 0;
};

struct Chip {
  const Part* pPart = nullptr;
  Bytes Contents;
  u8 StatusRegister = 0;
  std::vector<std::string> Faults;
  std::vector<Cell> Flipped, Stuck;  // of the faults
  bool AnswersId = true;
  bool ReadsVary = false;  // what is read may be wrong, and nobody can know
  std::string Extra;       // further lines of its probe's section
};

struct Production {
  u32 EraseType = 1;
  bool Compare = false, Erase = true, Program = true, Verify = true, Serial = false;
  u32 SNAddr = 0, SNLen = 0, SNValue = 0, SNInc = 0;
};

enum class How : u8 { Detect, ByHand, ByName };

struct Project {
  std::string Name = {};
  u32 ChipIndex = 0;
  How Described = How::Detect;
  const Part* pDescribed = nullptr;  // another part than the chip's: a wrong project
  u8 Format = 0;                     // of the description by hand
  u32 FlashType = 1;
  bool UsesQuad = false;
  u32 Speed = 50000;
  bool HasSupply = false;
  std::string DataFile;
  u32 DataAddr = 0;
  Production Auto;
};

struct DataFile {
  std::string Name = {};
  Image Data = {};
  u64 Addr = 0;  // where a .bin starts
  bool IsBroken = false;
};

struct Settings {
  bool AutoBlankCheck = true, AutoDisconnect = false, SkipBlankAreas = false, VerifyErase = true;
  u32 AutoMode = 0;
};

enum class Op : u8 {
  OpenPrj,
  SavePrjAs,
  Open,
  SaveAs,
  Save,
  Merge,
  Relocate,
  DelRange,
  Eliminate,
  TestData,
  Connect,
  Disconnect,
  EraseSectors,
  EraseChip,
  Program,
  ProgramVerify,
  Auto,
  Verify,
  ReadChip,
  ReadRange,
  SaveDat,
  Exit
};

struct Word {
  Op What = Op::Exit;
  std::string Name = {};  // of a project or file
  u64 A = 0, B = 0;       // addresses, offset or size
  bool HasRange = false;
  std::string Text = {};  // as on the command line; no two words of a line have the same
};

struct Plan {
  u64 Seed = 0;
  u64 Run = 0;
  std::vector<Chip> Chips;
  std::vector<Project> Projects;
  std::vector<DataFile> Files;
  Settings Set;
  std::vector<Word> Words;
  std::vector<std::size_t> Sessions;  // first word of each
  std::vector<Word> Recovery;         // a line without faults that must work behind a failed one

  const Project* FindProject(const std::string& name) const;
  const DataFile* FindFile(const std::string& name) const;
  bool OpensData() const;  // -open is on the line
  std::string ProbeConfig(bool withFaults) const;
  // Writes everything into the folder.
  void Store(const std::string& folder) const;
  std::string CommandLine() const;
};

struct PlanOptions {
  bool HasFaults = true;
  bool HasDips = true;
  u32 MaxChipBytes = 64U << 20;
};

Plan MakePlan(u64 seed, u64 run, const PlanOptions& options = {});

}  // namespace model
