#include "tests/model/plan.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <tuple>

#include "tests/model/random.h"
#include "tests/support/temp_dir.h"

namespace model {

namespace {

constexpr u32 kKiB = 1024;
constexpr u32 kMiB = 1024 * kKiB;

constexpr u8 kProtect[16] = {0x5C, 0x5C, 0x1C, 0x1C, 0x3C, 0x1C, 0x7C, 0x1C,
                             0x0C, 0x00, 0x02, 0x1C, 0x1C, 0x1C, 0x1C, 0x1C};

const std::vector<Part> kSmall = {
    {"GD25WD05C", Kind::Nor, 64 * kKiB, 256, 0x10000, 0xC86410, 3, 0},
    {"M25P10-A", Kind::Nor, 128 * kKiB, 256, 0x8000, 0x202011, 3, 0},
    {"W25Q10RL", Kind::Nor, 128 * kKiB, 256, 0x10000, 0xEF0011, 3, 0},
    {"IS25LP010E", Kind::Nor, 128 * kKiB, 256, 0x10000, 0x9D4011, 4, 0},
    {"MX25R2035F", Kind::Nor, 256 * kKiB, 256, 0x10000, 0xC22812, 4, 0},
    {"MX25L1005A", Kind::Nor, 128 * kKiB, 256, 0x10000, 0xC22011, 8, 0},
    {"GD25Q05B", Kind::Nor, 64 * kKiB, 256, 0x10000, 0xC84010, 6, 0},
    {"AT25DN256", Kind::Nor, 32 * kKiB, 256, 0x8000, 0x1F4000, 5, 0},
    {"AT25Bxx512B", Kind::Nor, 64 * kKiB, 256, 0x8000, 0x1F6500, 5, 0},
    {"M45PE10-VMN6", Kind::Nor, 128 * kKiB, 256, 0x10000, 0x204011, 11, 0},
    {"AT25PE20", Kind::PageErase, 256 * kKiB, 256, 0x800, 0x1F2300, 10, 0},
    {"AT25PE20", Kind::PageErase, 256 * kKiB, 256, 0x800, 0x1F2300, 10, 0},
    {"MB85RS256TY", Kind::Fram, 32 * kKiB, 256, 0x8000, 0x042503, 0, 0},
    {"FM25V02A", Kind::Fram, 32 * kKiB, 256, 0x8000, 0xC22208, 8, 0},
    {"FM25V05A", Kind::Fram, 64 * kKiB, 256, 0x10000, 0xC22308, 8, 0},
    {"AT25080", Kind::Eeprom, 1 * kKiB, 32, 1, 0, 0, 0},
    {"AT25640", Kind::Eeprom, 8 * kKiB, 32, 1, 0, 0, 0},
    {"AT25256", Kind::Eeprom, 32 * kKiB, 64, 1, 0, 0, 0},
    {"M95512", Kind::Eeprom, 64 * kKiB, 128, 1, 0, 0, 0},
    {"M95M01", Kind::Eeprom, 128 * kKiB, 256, 1, 0, 0, 0},
};
const std::vector<Part> kMedium = {
    {"S25FL004K", Kind::Nor, 512 * kKiB, 256, 0x10000, 0xEF4013, 2, 0},
    {"M25PE40-VMN6TP", Kind::Nor, 512 * kKiB, 256, 0x10000, 0x208013, 7, 0},
    {"AT25PE40", Kind::PageErase, 512 * kKiB, 256, 0x800, 0x1F2400, 10, 0},
    {"AT25PE16", Kind::PageErase, 2 * kMiB, 512, 0x1000, 0x1F2600, 10, 0},
    {"N25Q016A", Kind::Nor, 2 * kMiB, 256, 0x10000, 0x20BB15, 7, 0, true},
    {"SST26VF016B", Kind::Nor, 2 * kMiB, 256, 0x1000, 0xBF2641, 9, 0},
    {"ATXP032R", Kind::Nor, 4 * kMiB, 256, 0x10000, 0x43A700, 8, 3},
};
const std::vector<Part> kLarge = {
    {"GD25Q128E", Kind::Nor, 16 * kMiB, 256, 0x10000, 0xC84018, 6, 0, false, true},
    {"M25P128", Kind::Nor, 16 * kMiB, 256, 0x40000, 0x202018, 3, 0},
    {"W25Q256FV", Kind::Nor, 32 * kMiB, 256, 0x10000, 0xEF0019, 4, 1},
    {"N25Q256A", Kind::Nor, 32 * kMiB, 256, 0x10000, 0x200019, 0, 2, true},
    {"S25FL256SAIF", Kind::Nor, 32 * kMiB, 256, 0x10000, 0x010219, 2, 1},
    {"IS25LX256M", Kind::Nor, 32 * kMiB, 256, 0x20000, 0x9D5A19, 0, 1},
    {"MX25L25735F", Kind::Nor, 32 * kMiB, 256, 0x10000, 0xC22019, 4, 2},
    {"GD25LQ256D", Kind::Nor, 32 * kMiB, 256, 0x10000, 0xC86019, 6, 2},
    {"W25Q512JV", Kind::Nor, 64 * kMiB, 256, 0x10000, 0xEF0020, 4, 1},
    {"N25Q512A", Kind::Nor, 64 * kMiB, 256, 0x10000, 0x200020, 0, 2, true},
};

const char* WordOf(Op what) {
  constexpr const char* words[] = {
      "-openprj",       "-saveprjas",  "-open",         "-saveas",    "-save",
      "-merge",         "-relocate",   "-delrange",     "-eliminate", "-generatetestdata",
      "-connect",       "-disconnect", "-erasesectors", "-erasechip", "-program",
      "-programverify", "-auto",       "-verify",       "-readchip",  "-readrange",
      "-savedat",       "-exit"};
  return words[static_cast<std::size_t>(what)];
}

Bytes RandomBytes(Random& random, u64 numBytes) {
  Bytes data(numBytes);
  const std::size_t style = random.Weighted({6, 1, 1, 3});
  for (u64 i = 0; i < numBytes; ++i) {
    data[i] = style == 1 ? 0xFF : style == 2 ? 0 : random.Byte();
  }
  // Blank runs and pages within.
  for (u64 n = style == 3 ? 1 + random.Below(4) : 0; n > 0; --n) {
    const u64 start = random.Below(numBytes);
    const u64 count = std::min<u64>(numBytes - start, random.Pick<u64>({1, 63, 64, 65, 256, 700}));
    std::fill_n(data.begin() + static_cast<i64>(start), count, u8{0xFF});
  }
  return data;
}

// Makes one plan. Each function adds its part.
class Maker {
 public:
  Maker(u64 seed, u64 run, const PlanOptions& options)
      : m_Random(seed * 1000003 + run), m_Options(options) {
    m_Plan.Seed = seed;
    m_Plan.Run = run;
  }

  Plan Make() {
    const std::size_t numChips = m_Random.Percent(45) ? 2 : 1;
    for (std::size_t i = 0; i < numChips; ++i) {
      AddChip();
    }
    MakeSettings();
    const std::size_t numSessions = m_Random.Weighted({0, 5, 4, 2});
    m_HasOpen = m_Random.Percent(85);
    for (std::size_t i = 0; i < numSessions; ++i) {
      AddSession();
    }
    if (m_Random.Percent(80)) {
      Add({.What = Op::Exit});
    }
    if (m_Options.HasFaults && m_Random.Percent(50)) {
      AddFaults(m_Plan.Chips[m_Random.Below(numChips)]);
    }
    AddRecovery();
    return std::move(m_Plan);
  }

 private:
  Random m_Random;
  const PlanOptions m_Options;
  Plan m_Plan;
  bool m_HasOpen = true;
  std::vector<std::pair<std::string, std::size_t>> m_Saved;  // copies of projects
  std::vector<Word>* m_pWords = &m_Plan.Words;

  const Part& PickPart() {
    const std::size_t size = m_Random.Weighted({88, 9, 3});
    const std::vector<Part>& parts = size == 2 && m_Options.MaxChipBytes > 8 * kMiB ? kLarge
                                     : size >= 1                                    ? kMedium
                                                                                    : kSmall;
    return m_Random.Pick(parts);
  }

  void AddChip() {
    Chip chip;
    chip.pPart = &PickPart();
    const Part& part = *chip.pPart;
    chip.Contents.assign(part.Size, 0xFF);
    const std::size_t style = m_Random.Weighted({40, part.Size <= 256 * kKiB ? 20U : 0U, 40});
    if (style == 1) {
      std::generate(chip.Contents.begin(), chip.Contents.end(), [&] { return m_Random.Byte(); });
    }
    for (u64 n = style == 2 ? 1 + m_Random.Below(6) : 0; n > 0; --n) {
      const u64 count = std::min<u64>(part.Size, 1 + m_Random.Below(4000));
      const Bytes data = RandomBytes(m_Random, count);
      std::copy(data.begin(), data.end(),
                chip.Contents.begin() + static_cast<i64>(m_Random.Below(part.Size - count + 1)));
    }
    if (m_Random.Percent(15)) {
      chip.StatusRegister = static_cast<u8>(m_Random.Byte() & part.ProtectMask());
    }
    if (m_Random.Percent(25)) {
      chip.Extra += "DisableFunctions = 45,72\n";
    }
    m_Plan.Chips.push_back(std::move(chip));
  }

  void MakeSettings() {
    Settings& set = m_Plan.Set;
    set.AutoBlankCheck = m_Random.Percent(70);
    set.AutoDisconnect = m_Random.Percent(30);
    set.SkipBlankAreas = m_Random.Percent(30);
    set.VerifyErase = m_Random.Percent(90);
    set.AutoMode = m_Random.Percent(75) ? 0 : static_cast<u32>(1 + m_Random.Below(2));
  }

  // A probe's calls are counted from its opening on.
  std::string Call() {
    return std::to_string(m_Random.Between(1, u64{1} << m_Random.Between(1, 8)));
  }

  std::string Length() {
    return m_Random.Percent(50) ? std::to_string(m_Random.Between(1, 20))
                                : std::to_string(m_Random.Between(1, 30)) + "ms";
  }

  void AddFaults(Chip& chip) {
    if (m_Options.HasDips) {
      chip.Extra += "Float = " + m_Random.Pick<std::string>({"0", "1", "1", "last"}) + "\n";
    }
    const u64 numFaults = m_Random.Percent(75) ? 1 : 2;
    for (u64 i = 0; i < numFaults; ++i) {
      AddFault(chip);
    }
  }

  void AddFault(Chip& chip) {
    const u64 addr = m_Random.Below(chip.pPart->Size);
    const u8 bit = static_cast<u8>(m_Random.Below(8));
    const std::string cell = Printf("%llu:%u", static_cast<unsigned long long>(addr), bit);
    std::string text;
    const u32 dips = m_Options.HasDips ? 1 : 0;
    switch (m_Random.Weighted({10, 8, 8, 6, 10, 8, 14, 6, 6, 4, 3, 6 * dips, 10 * dips, 6 * dips,
                               6 * dips, 5 * dips, 24 * dips, 10 * dips})) {
      case 0:
        text = "disconnect@" + Call();
        break;
      case 1:
        text = "timeout@" + Call();
        break;
      case 2:
        text = "nak@" + Call();
        break;
      case 3:
        text = "listresult=-" + std::to_string(1 + m_Random.Below(300)) + "@" + Call();
        break;
      case 4:
        text = "busy=forever@" + Call();
        break;
      case 5:
        text = "power=" + m_Random.Pick<std::string>({"0", "500", "999", "1000"}) + "@" + Call();
        break;
      case 6:
        text = "cutpower@" + Call();
        break;
      case 7:
        text = "flip=" + cell;
        chip.Flipped.push_back({addr, bit});
        break;
      case 8:
        text = "stuck=" + cell;
        chip.Stuck.push_back({addr, bit});
        chip.Contents[addr] |= static_cast<u8>(1U << bit);  // it never was 0
        break;
      case 9:
        text = "slow=" + m_Random.Pick<std::string>({"0.1", "3", "1000"});
        break;
      case 10:
        text = m_Random.Pick<std::string>({"id=00 00 00", "id=FF FF FF"});
        chip.AnswersId = false;
        break;
      case 11:
        text = "mute@" + Call();
        break;
      case 12:
        text = "lost@" + Call();
        break;
      case 13:
        text = "stale@" + Call();
        chip.ReadsVary = true;
        break;
      case 14:
        text = "fastbusy@" + Call();
        break;
      case 15:
        text = "noise=" + std::to_string(m_Random.Between(1000, 1000000));
        chip.ReadsVary = true;
        break;
      case 16:
        text = "dip=power:" + Length() + "@" + Call() +
               (m_Random.Percent(30) ? "+" + std::to_string(m_Random.Below(5000)) + "us" : "");
        break;
      default:
        text = "dip=link:" + Length() + "@" + Call();
        break;
    }
    chip.Faults.push_back(text);
  }

  // ---- Projects ----

  void AddProject(u32 chipIndex) {
    Project project;
    const Part& part = *m_Plan.Chips[chipIndex].pPart;
    project.Name = Printf("p%zu.korvane", m_Plan.Projects.size());
    project.ChipIndex = chipIndex;
    project.pDescribed = &part;
    project.Format = part.Format;
    project.Speed = m_Random.Pick<u32>({1000, 20000, 50000});
    if (part.Is == Kind::Eeprom) {
      project.Described = m_Random.Percent(70) ? How::ByName : How::ByHand;
      project.FlashType = 3;
    } else {
      project.Described = m_Random.Percent(55) ? How::Detect : How::ByHand;
      // A part whose ID says FRAM is one, whatever the project says when it lets the ID decide.
      project.FlashType =
          part.Is == Kind::Fram && (project.Described == How::ByHand || m_Random.Percent(50)) ? 2
                                                                                              : 1;
    }
    if (project.Described == How::ByHand && part.Id != 0 && m_Random.Percent(6)) {
      const Part& other = m_Random.Pick(kSmall);
      project.pDescribed = other.HasErase() && other.Id != part.Id ? &other : &part;
      project.Format = project.pDescribed->Format;
      project.FlashType = project.pDescribed->HasErase() ? 1 : 2;
    }
    project.UsesQuad = part.HasQuad && project.Described == How::Detect && m_Random.Percent(60);
    project.HasSupply = m_Random.Percent(10);
    MakeProduction(part, &project.Auto);
    m_Plan.Projects.push_back(project);
  }

  void MakeProduction(const Part& part, Production* pAuto) {
    pAuto->EraseType = m_Random.Pick<u32>({1, 1, 2, 2, 3});
    pAuto->Compare = m_Random.Percent(50);
    pAuto->Erase = m_Random.Percent(85);
    pAuto->Program = m_Random.Percent(90);
    pAuto->Verify = m_Random.Percent(85);
    pAuto->Serial = m_Random.Percent(30);
    if (!pAuto->Serial) {
      return;
    }
    pAuto->SNLen = m_Random.Pick<u32>({4, 8, 8, 12, 32, 1, m_Random.Percent(20) ? 0U : 8U});
    pAuto->SNAddr = static_cast<u32>(m_Random.Below(part.Size - 16));
    pAuto->SNValue = m_Random.Percent(90) ? static_cast<u32>(m_Random.Below(200)) : 0xFFFFFFF0;
    pAuto->SNInc = m_Random.Percent(95) ? static_cast<u32>(1 + m_Random.Below(9)) : 0;
  }

  // ---- Data ----

  u64 RangeStart(const Part& part) {
    const u64 unit = m_Random.Percent(50) ? part.Page : std::max(part.Sector, part.Page);
    const u64 border = m_Random.Below(part.Size / unit) * unit;
    switch (m_Random.Weighted({2, 3, 3, 2})) {
      case 0:
        return 0;
      case 1:
        return border;
      case 2:
        return border + m_Random.Below(unit);
      default:
        return border + unit - std::min<u64>(unit, 1 + m_Random.Below(5));
    }
  }

  u64 RangeLength(const Part& part) {
    switch (m_Random.Weighted({3, 3, 3, 2, 1})) {
      case 0:
        return 1 + m_Random.Below(8);
      case 1:
        return part.Page + m_Random.Below(3) - 1;
      case 2:
        return 1 + m_Random.Below(3000);
      case 3:
        return std::min<u64>(part.Size, std::min<u64>(std::max(part.Sector, part.Page), 0x10000));
      default:
        return std::min<u64>(part.Size, 200000);
    }
  }

  Image MakeImage(const Part& part, bool isOneRange) {
    Image image;
    u64 next = RangeStart(part);
    for (u64 n = isOneRange ? 1 : 1 + m_Random.Below(6); n > 0; --n) {
      u64 length = RangeLength(part);
      if (next >= part.Size) {
        next = RangeStart(part);
      }
      length = std::min(length, part.Size - next);
      image.Put(next, RandomBytes(m_Random, length));
      next = m_Random.Percent(50)
                 ? next + length + m_Random.Pick<u64>({1, 2, 3, 4, 5, 64, 255, 1023, 1024, 1025})
                 : RangeStart(part);
    }
    if (!isOneRange && m_Random.Percent(3)) {
      image.Put(part.Size - m_Random.Below(3), RandomBytes(m_Random, 4));  // runs off the chip
    }
    return image;
  }

  const DataFile& AddFile(const Part& part) {
    DataFile file;
    const std::string extension =
        m_Random.Pick<std::string>({".hex", ".hex", ".mot", ".txt", ".bin", ".bin", ""});
    file.Name = Printf("d%zu", m_Plan.Files.size()) + extension;
    if (!m_Random.Percent(3)) {
      file.Data = MakeImage(part, extension == ".bin");
    }
    file.Addr = file.Data.Min();
    file.IsBroken = extension == ".hex" && !file.Data.IsEmpty() && m_Random.Percent(3);
    m_Plan.Files.push_back(file);
    return m_Plan.Files.back();
  }

  // ---- Words ----

  // Told apart by the case of their letters: the log names the word at which the line stopped.
  void Add(Word word) {
    std::string option = WordOf(word.What);
    std::string value;
    const auto hex = [](u64 n) { return Printf("%llX", static_cast<unsigned long long>(n)); };
    switch (word.What) {
      case Op::OpenPrj:
      case Op::SavePrjAs:
      case Op::SaveDat:
        value = word.Name;
        break;
      case Op::Open:
      case Op::Merge:
        value = word.Name + (word.HasRange ? "," + hex(word.A) : "");
        break;
      case Op::SaveAs:
        value = word.Name + (word.HasRange ? "," + hex(word.A) + "," + hex(word.B) : "");
        break;
      case Op::Relocate:
        value = static_cast<i64>(word.A) < 0 ? "-" + hex(~word.A + 1) : hex(word.A);
        break;
      case Op::DelRange:
      case Op::ReadRange:
        value = hex(word.A) + "," + hex(word.B);
        break;
      case Op::TestData:
        value = hex(word.A);
        break;
      default:
        break;
    }
    const auto isTaken = [&](const std::string& text) {
      return std::any_of(m_pWords->begin(), m_pWords->end(),
                         [&](const Word& other) { return other.Text == text; });
    };
    for (u32 pattern = 0; word.Text.empty() || isTaken(word.Text); ++pattern) {
      for (std::size_t i = 1; i < option.size(); ++i) {
        const bool isUpper = i <= 20 && (pattern >> (i - 1) & 1) != 0;
        option[i] = static_cast<char>(isUpper ? std::toupper(option[i]) : std::tolower(option[i]));
      }
      word.Text = option + value;
    }
    m_pWords->push_back(word);
  }

  void AddOpen(Op what, const DataFile& file) {
    Add({.What = what, .Name = file.Name, .A = file.Addr, .HasRange = file.Name.ends_with(".bin")});
  }

  void AddSession() {
    m_Plan.Sessions.push_back(m_Plan.Words.size());
    std::size_t index = m_Random.Below(m_Plan.Projects.size());
    std::string name;
    if (!m_Saved.empty() && m_Random.Percent(50)) {
      std::tie(name, index) = m_Random.Pick(m_Saved);
    } else if (m_Plan.Projects.empty() || m_Random.Percent(80)) {
      AddProject(static_cast<u32>(m_Random.Below(m_Plan.Chips.size())));
      index = m_Plan.Projects.size() - 1;
    }
    const Part& part = *m_Plan.Chips[m_Plan.Projects[index].ChipIndex].pPart;
    if (Project& project = m_Plan.Projects[index];
        !m_HasOpen && project.DataFile.empty() && m_Random.Percent(80)) {
      const DataFile& file = AddFile(part);
      project.DataFile = file.Name;
      project.DataAddr = static_cast<u32>(file.Addr);
    }
    name = name.empty() ? m_Plan.Projects[index].Name : name;
    Add({.What = Op::OpenPrj, .Name = name});
    if (m_HasOpen && (m_Plan.Words.size() < 2 || m_Random.Percent(85))) {
      AddOpen(Op::Open, AddFile(part));
    }
    if (m_Random.Percent(25)) {
      AddEdit(part);
    }
    for (u64 n = 1 + m_Random.Below(5); n > 0; --n) {
      AddOperation(part, index);
    }
  }

  void AddEdit(const Part& part) {
    const u64 a = RangeStart(part);
    switch (m_Random.Weighted({3, 2, 2, 2})) {
      case 0:
        AddOpen(Op::Merge, AddFile(part));
        break;
      case 1:
        Add({.What = Op::Relocate, .A = m_Random.Pick<u64>({0, 1, 4, part.Page, part.Sector})});
        break;
      case 2:
        Add({.What = Op::DelRange, .A = a, .B = a + RangeLength(part)});
        break;
      default:
        Add({.What = Op::Eliminate});
        break;
    }
  }

  void AddSave() {
    const std::string extension =
        m_Random.Pick<std::string>({".hex", ".mot", ".txt", ".bin", ".bin", ".c"});
    Word word{.What = Op::SaveAs, .Name = Printf("s%zu", m_Plan.Words.size()) + extension};
    if ((extension == ".bin" || extension == ".c") && m_Random.Percent(40)) {
      word.HasRange = true;
      word.A = m_Random.Below(0x8000);
      word.B = word.A + m_Random.Below(0x3000);
    }
    Add(word);
  }

  void AddOperation(const Part& part, std::size_t projectIndex) {
    const Project& project = m_Plan.Projects[projectIndex];
    const u64 a = RangeStart(part);
    switch (m_Random.Weighted({22, 12, 20, 10, 10, 5, 8, 6, 4, 4, 8, 2, 4, 3, 1})) {
      case 0:
      case 1: {
        if (part.HasErase() && m_Random.Percent(70)) {
          Add({.What = m_Random.Percent(70) ? Op::EraseChip : Op::EraseSectors});
        }
        Add({.What = m_Random.Percent(60) ? Op::ProgramVerify : Op::Program});
        break;
      }
      case 2:
        Add({.What = Op::Auto});
        break;
      case 3:
        Add({.What = Op::Verify});
        break;
      case 4:
        Add({.What = Op::EraseChip});
        break;
      case 5:
        Add({.What = Op::EraseSectors});
        break;
      case 6:
        if (part.Size > 2 * kMiB && !m_Random.Percent(20)) {
          break;
        }
        Add({.What = Op::ReadChip});
        if (m_Random.Percent(60)) {
          AddSave();
        }
        break;
      case 7:
        Add({.What = Op::ReadRange,
             .A = a,
             .B = a + std::min(RangeLength(part), part.Size - a) - 1});
        if (m_Random.Percent(60)) {
          AddSave();
        }
        break;
      case 8:
        Add({.What = Op::Connect});
        break;
      case 9:
        Add({.What = Op::Disconnect});
        break;
      case 10:
        AddSave();
        break;
      case 11:
        Add({.What = Op::Save});
        break;
      case 12:
        if (project.Described != How::Detect) {
          Add({.What = Op::SaveDat, .Name = Printf("z%zu.dat", m_Plan.Words.size())});
        }
        break;
      case 13:
        m_Saved.emplace_back(Printf("q%zu.korvane", m_Plan.Words.size()), projectIndex);
        Add({.What = Op::SavePrjAs, .Name = m_Saved.back().first});
        break;
      default:
        Add({.What = Op::TestData, .A = m_Random.Below(3000)});
        break;
    }
  }

  // The chip of the faults, or any; a project that is right, and data that fits.
  void AddRecovery() {
    m_pWords = &m_Plan.Recovery;
    u32 index = 0;
    for (u32 i = 0; i < m_Plan.Chips.size(); ++i) {
      index = m_Plan.Chips[i].Faults.empty() ? index : i;
    }
    const Part& part = *m_Plan.Chips[index].pPart;
    AddProject(index);
    m_Plan.Projects.back().pDescribed = &part;
    m_Plan.Projects.back().Format = part.Format;
    m_Plan.Projects.back().FlashType = part.Is == Kind::Eeprom ? 3 : part.Is == Kind::Fram ? 2 : 1;
    DataFile file{.Name = "recovery.hex"};
    file.Data.Put(m_Random.Below(part.Size - 700), RandomBytes(m_Random, 600));
    file.Addr = file.Data.Min();
    m_Plan.Files.push_back(file);
    Add({.What = Op::OpenPrj, .Name = m_Plan.Projects.back().Name});
    AddOpen(Op::Open, file);
    Add({.What = Op::EraseChip});
    Add({.What = Op::ProgramVerify});
  }
};

// ---- Files ----

std::string Key(const char* sName, u64 value) {
  return Printf("  %s = 0x%llX\r\n", sName, static_cast<unsigned long long>(value));
}

u32 Log2(u64 value) {
  u32 shift = 0;
  while (value >> shift > 1) {
    ++shift;
  }
  return shift;
}

// What a user takes from the data sheet when he describes a part by hand.
std::string Description(const Project& project) {
  const Part& part = *project.pDescribed;
  const bool hasLatch = part.Is != Kind::PageErase;
  const bool isReadyOne = part.HasFlagStatus || !hasLatch;
  const bool hasFourByteCommands = part.AddrMode == 1;
  std::string text = Printf("  abID[3] = 0x%02X,0x%02X,0x%02X\r\n", part.Id >> 16,
                            part.Id >> 8 & 255, part.Id & 255);
  // The second byte of these tells voltages apart.
  text += Key("Ignore2ndIdByte", (part.Id >> 8 & 255) == 0 ? 1 : 0);
  text += Key("NumPages", part.Size / part.Page) + Key("PageSizeShift", Log2(part.Page)) +
          Key("SectorSizeShift", Log2(part.Sector)) + "[SPI]\r\n";
  text += Key("CmdWriteEnable", hasLatch ? 0x06 : 0) + Key("CmdWriteDisable", hasLatch ? 0x04 : 0) +
          Key("CmdReadID", 0x9F) +
          Key("CmdReadStatus", hasLatch ? (part.HasFlagStatus ? 0x70 : 0x05) : 0xD7) +
          Key("CmdWriteStatus", hasLatch ? 0x01 : 0);
  text += Key("CmdReadData", hasFourByteCommands  ? 0x13
                             : part.AddrMode == 3 ? 0x0B
                                                  : 0x03) +
          Key("CmdWritePage", hasFourByteCommands ? 0x12 : 0x02);
  const u32 cmdErase = !hasLatch ? 0x50 : part.Sector == 0x1000 ? 0x20 : 0xD8;
  text += Key("CmdEraseSector", !part.HasErase()      ? 0
                                : hasFourByteCommands ? 0xDC
                                                      : cmdErase) +
          Key("CmdEraseBulk", part.Is == Kind::Nor ? 0xC7 : 0) +
          Key("StatusRegFormat", project.Format) +
          Key("NumAddrBytes", part.AddrMode != 0       ? 4
                              : part.HasTwoAddrBytes() ? 2
                                                       : 3) +
          Key("Dedicated4BAddrMode", part.AddrMode == 2 ? 1 : 0) +
          Key("StatusIsReadyBit", isReadyOne ? 1 : 0) + Key("StatusBitPos", isReadyOne ? 7 : 0);
  return text;
}

std::string ProjectText(const Project& project) {
  std::string text = "[GENERAL]\r\n" + Key("USBPort", project.ChipIndex);
  if (!project.DataFile.empty()) {
    text +=
        "  CurrentFile = \"" + project.DataFile + "\"\r\n" + Key("DataFileSAddr", project.DataAddr);
  }
  text += "[JTAG]\r\n" + Key("Speed0", project.Speed) + "[FLASH]\r\n" +
          Key("FlashType", project.FlashType) +
          Key("AutoDetect", project.Described == How::Detect ? 1 : 0);
  if (project.UsesQuad) {
    text += Key("DataTransferMode", 2);
  }
  if (project.Described == How::ByName) {
    text += Printf("  DeviceName = \"%s\"\r\n", project.pDescribed->sName);
  } else if (project.Described == How::ByHand) {
    text += Description(project);
  }
  if (project.UsesQuad) {  // as a project that was saved behind a detection
    text += "[SPI]\r\n" + Key("UseQuadMode", 1) + "[QSPI]\r\n" + Key("CmdReadDataQuad", 0x6B) +
            Key("CmdWritePageQuad", 0x32) + Key("NumDummyCyclesQuad", 8);
  }
  const Production& production = project.Auto;
  text += "[PRODUCTION]\r\n" + Key("EraseType", production.EraseType) +
          Key("PerformCompare", production.Compare ? 1 : 0) +
          Key("AutoPerformsErase", production.Erase ? 1 : 0) +
          Key("AutoPerformsProgram", production.Program ? 1 : 0) +
          Key("AutoPerformsVerify", production.Verify ? 1 : 0) +
          Key("ProgramSN", production.Serial ? 1 : 0) + Key("SNAddr", production.SNAddr) +
          Key("SNLen", production.SNLen) + Key("SNValue", production.SNValue) +
          Key("SNInc", production.SNInc) + Key("EnableTargetPower", project.HasSupply ? 1 : 0) +
          Key("TargetPowerDelay", 10);
  return text;
}

// A digit that its checksum doesn't cover.
std::string FileText(const DataFile& file) {
  const std::size_t dot = file.Name.find('.');
  std::string text = Encode(file.Data, dot == std::string::npos ? ".hex" : file.Name.substr(dot));
  if (file.IsBroken) {
    char& digit = text[text.find(':', 1) - 3];
    digit = digit == '0' ? '1' : '0';
  }
  return text;
}

}  // namespace

bool Part::HasTwoAddrBytes() const {
  return !HasErase() && Size <= 64 * kKiB;
}

u8 Part::ProtectMask() const {
  return HasErase() ? kProtect[Format] : 0x0C;
}

const Project* Plan::FindProject(const std::string& name) const {
  const auto it = std::find_if(Projects.begin(), Projects.end(),
                               [&](const Project& project) { return project.Name == name; });
  return it == Projects.end() ? nullptr : &*it;
}

const DataFile* Plan::FindFile(const std::string& name) const {
  const auto it = std::find_if(Files.begin(), Files.end(),
                               [&](const DataFile& file) { return file.Name == name; });
  return it == Files.end() ? nullptr : &*it;
}

bool Plan::OpensData() const {
  return std::any_of(Words.begin(), Words.end(),
                     [](const Word& word) { return word.What == Op::Open; });
}

std::string Plan::ProbeConfig(bool withFaults) const {
  std::string text;
  for (std::size_t i = 0; i < Chips.size(); ++i) {
    const Chip& chip = Chips[i];
    text += Printf(
        "[Probe%zu]\nBackend = sim\nSerialNumber = %zu\nTime = virtual\nChip = %s\n"
        "ImageFile = chip%zu.bin\nStatusRegister = %u\n",
        i, 1000 + i, chip.pPart->sName, i, chip.StatusRegister);
    text += chip.Extra;
    std::string faults;
    for (const std::string& fault : chip.Faults) {
      faults += (faults.empty() ? "" : ", ") + fault;
    }
    if (withFaults && !faults.empty()) {
      text += "Fault = " + faults + "\n";
    }
  }
  return text;
}

void Plan::Store(const std::string& folder) const {
  WriteFile(folder + "/Vortic.ini", ProbeConfig(true));
  WriteFile(folder + "/cfg/TARVEX/KorvaneSPI.ini",
            Printf("[OPERATION]\r\nAutoBlankCheck = %d\r\nAutoDisconnect = %d\r\nAutoMode = "
                   "%u\r\nSkipBlankAreas = %d\r\nVerifyErase = %d\r\n",
                   Set.AutoBlankCheck, Set.AutoDisconnect, Set.AutoMode, Set.SkipBlankAreas,
                   Set.VerifyErase));
  for (std::size_t i = 0; i < Chips.size(); ++i) {
    const Bytes& contents = Chips[i].Contents;
    std::ofstream(folder + Printf("/chip%zu.bin", i), std::ios::binary)
        .write(reinterpret_cast<const char*>(contents.data()),
               static_cast<std::streamsize>(contents.size()));
  }
  for (const Project& project : Projects) {
    WriteFile(folder + "/work/" + project.Name, ProjectText(project));
  }
  for (const DataFile& file : Files) {
    WriteFile(folder + "/work/" + file.Name, FileText(file));
  }
}

std::string Plan::CommandLine() const {
  std::string text = "korvane";
  for (const Word& word : Words) {
    text += " " + word.Text;
  }
  return text;
}

Plan MakePlan(u64 seed, u64 run, const PlanOptions& options) {
  return Maker(seed, run, options).Make();
}

}  // namespace model
