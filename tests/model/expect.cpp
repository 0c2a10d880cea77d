#include "tests/model/expect.h"

#include <algorithm>

namespace model {

namespace {

constexpr u64 kReadBlock = 0x20000;
constexpr u64 kBlankRun = 64;

Content Text(std::string text) {
  return {.Is = Content::Form::Text, .Text = std::move(text)};
}

Verdict Worse(Verdict a, Verdict b) {
  return a == Verdict::Bad || b == Verdict::Bad     ? Verdict::Bad
         : a == Verdict::Open || b == Verdict::Open ? Verdict::Open
                                                    : Verdict::Good;
}

std::string Extension(const std::string& name) {
  const std::size_t dot = name.rfind('.');
  return dot == std::string::npos ? "" : name.substr(dot);
}

}  // namespace

Expectation::Expectation(const Plan& plan, std::map<std::string, std::string> inputs)
    : m_Plan(plan), m_Inputs(std::move(inputs)) {
  for (const Chip& chip : plan.Chips) {
    m_Chips.push_back({.Cells = chip.Contents});
  }
  for (const auto& [name, text] : m_Inputs) {
    m_Files[name] = {Text(text)};
  }
  for (const Project& project : plan.Projects) {
    m_Projects[project.Name] = &project;
  }
}

bool Expectation::IsFaulty() const {
  return m_HasFaults && m_pProject != nullptr && !Bench().Faults.empty();
}

Verdict Expectation::Apply(const Word& word) {
  Verdict verdict = Verdict::Good;
  switch (word.What) {
    case Op::OpenPrj:
      return OpenProject(word);
    case Op::SavePrjAs:
      m_Projects[word.Name] = m_pProject;
      m_Serials[word.Name] = {.Value = m_Serials[m_ProjectName].Value};
      m_Bound[word.Name] = m_Current;
      m_ProjectName = word.Name;
      m_Files[word.Name] = {{.Is = Content::Form::Anything}};
      return Verdict::Good;
    case Op::Open:
      return OpenData(word.Name, word.A);
    case Op::SaveAs:
    case Op::Save:
      return SaveAs(word);
    case Op::Merge:
    case Op::Relocate:
    case Op::DelRange:
    case Op::Eliminate:
      return Edit(word);
    case Op::TestData: {
      Bytes data(word.A);
      for (std::size_t i = 0; i < data.size(); ++i) {
        data[i] = static_cast<u8>(i / 4 >> (8 * (i % 4)));
      }
      m_Windows.emplace_back();
      m_Windows.back().Data.Put(0, data);
      return Verdict::Good;
    }
    case Op::SaveDat:
      return SaveProgrammerFile(word);
    case Op::Exit:
    case Op::Disconnect:
      break;
    case Op::Connect:
      verdict = Connect();
      break;
    case Op::EraseSectors:
    case Op::EraseChip:
      verdict = Erase();
      break;
    case Op::Program:
    case Op::ProgramVerify:
      verdict = Program(word.What == Op::ProgramVerify);
      break;
    case Op::Auto:
      verdict = Auto();
      break;
    case Op::Verify:
      verdict = m_Windows.empty() ? Verdict::Bad : Verify(m_Windows.back().Data);
      break;
    case Op::ReadChip:
      verdict = Read(0, ThePart().Size - 1);
      break;
    case Op::ReadRange:
      verdict = Read(word.A, word.B);
      break;
  }
  return IsFaulty() ? Worse(verdict, Verdict::Open) : verdict;
}

// ---- Projects and data ----

Verdict Expectation::OpenProject(const Word& word) {
  m_pProject = m_Projects.at(word.Name);
  m_ProjectName = word.Name;
  m_Serials.try_emplace(word.Name, Serial{.Value = m_pProject->Auto.SNValue});
  const auto saved = m_Bound.find(word.Name);
  m_Current =
      saved != m_Bound.end() ? saved->second : Bound{m_pProject->DataFile, m_pProject->DataAddr};
  if (m_Plan.OpensData() || m_Current.Name.empty()) {
    return Verdict::Good;
  }
  // Without its data file a project opens all the same, unless the next word would take another
  // image for it.
  const bool hadWindow = !m_Windows.empty();
  const Verdict verdict = OpenData(m_Current.Name, m_Current.Addr);
  return verdict == Verdict::Bad && !hadWindow ? Verdict::Open : verdict;
}

std::optional<Image> Expectation::Load(const std::string& name, u64 addr) const {
  if (const auto it = m_Files.find(name);
      it != m_Files.end() && it->second.front().Is != Content::Form::Text) {
    const Content& content = it->second.front();
    if (content.Is == Content::Form::C) {
      return {};
    }
    if (content.Is == Content::Form::Bin) {
      Image image;
      image.Put(addr, content.Data.Read(content.First, content.Last));
      return image;
    }
    return content.Is == Content::Form::Txt ? content.Data.WithEvenStarts() : content.Data;
  }
  const DataFile* pFile = m_Plan.FindFile(name);
  if (pFile == nullptr || pFile->IsBroken) {
    return {};
  }
  return name.ends_with(".bin") ? pFile->Data.Moved(addr - pFile->Addr) : pFile->Data;
}

Verdict Expectation::OpenData(const std::string& name, u64 addr) {
  const std::optional<Image> image = Load(name, addr);
  if (!image) {
    return Verdict::Bad;
  }
  m_Windows.push_back({*image, name});
  m_Current = {name, addr};
  return Verdict::Good;
}

Verdict Expectation::Edit(const Word& word) {
  if (m_Windows.empty()) {
    return Verdict::Bad;
  }
  Image& image = m_Windows.back().Data;
  switch (word.What) {
    case Op::Merge: {
      const std::optional<Image> other = Load(word.Name, word.A);
      if (!other) {
        return Verdict::Bad;
      }
      for (const auto& [addr, data] : other->Ranges()) {
        image.Put(addr, data);
      }
      return Verdict::Good;
    }
    case Op::Relocate:
      image = image.Moved(word.A);
      return Verdict::Good;
    case Op::DelRange:
      if (word.B <= word.A) {
        return Verdict::Bad;
      }
      image.Cut(word.A, word.B);
      return Verdict::Good;
    default:
      image.Eliminate();
      return Verdict::Good;
  }
}

Verdict Expectation::SaveAs(const Word& word) {
  if (m_Windows.empty()) {
    return Verdict::Bad;
  }
  Window& window = m_Windows.back();
  const std::string name = word.What == Op::Save ? window.Name : word.Name;
  const std::string extension = Extension(name);
  if (extension.empty()) {
    return Verdict::Bad;
  }
  Content content{.Data = window.Data};
  content.First = word.HasRange ? word.A : window.Data.Min();
  content.Last = word.HasRange ? word.B : window.Data.Max();
  content.Is = extension == ".bin"   ? Content::Form::Bin
               : extension == ".c"   ? Content::Form::C
               : extension == ".txt" ? Content::Form::Txt
                                     : Content::Form::HexOrMot;
  content.Text = extension;
  m_Files[name] = {content};
  window.Name = name;
  m_Current = {name, content.First};
  // There is no saying what a file of no bytes is for.
  return window.Data.IsEmpty() ? Verdict::Open : Verdict::Good;
}

Verdict Expectation::SaveProgrammerFile(const Word& word) {
  if (m_Windows.empty() || !Fits(m_Windows.back().Data)) {
    return Verdict::Bad;
  }
  const Image& image = m_Windows.back().Data;
  const u64 page = m_pProject->pDescribed->Page;
  Content content{.Is = Content::Form::Programmer};
  for (u64 addr : Units(image, page)) {
    content.Data.Put(addr, image.Read(addr, addr + page - 1));
  }
  m_Files[word.Name] = {content};
  return image.IsEmpty() || m_pProject->pDescribed != &ThePart() ? Verdict::Open : Verdict::Good;
}

// ---- The chip ----

Verdict Expectation::Connect() const {
  const Part& part = ThePart();
  if (m_pProject->Described == How::ByName) {
    return Verdict::Good;
  }
  const bool isOther =
      m_pProject->Described == How::ByHand && m_pProject->pDescribed->Id != part.Id;
  if (part.Is == Kind::Eeprom && m_pProject->pDescribed == &part) {
    return Verdict::Good;
  }
  const bool answers = part.Is != Kind::Eeprom && (Bench().AnswersId || !m_HasFaults);
  return answers && !isOther ? Verdict::Good : Verdict::Bad;
}

u8 Expectation::Seen(u64 addr) const {
  u8 value = m_Chips[m_pProject->ChipIndex].Cells[addr];
  for (const Cell& cell : Bench().Flipped) {
    value ^= m_HasFaults && cell.Addr == addr ? static_cast<u8>(1U << cell.Bit) : u8{0};
  }
  return value;
}

bool Expectation::IsBlank(u64 first, u64 last) const {
  const auto it = m_Chips[m_pProject->ChipIndex].Cells.begin();
  const auto isBlank = [](u8 byte) { return byte == 0xFF; };
  if (!IsFaulty() || Bench().Flipped.empty()) {
    return std::all_of(it + static_cast<i64>(first), it + static_cast<i64>(last) + 1, isBlank);
  }
  while (first <= last && Seen(first) == 0xFF) {
    ++first;
  }
  return first > last;
}

std::vector<u64> Expectation::Units(const Image& image, u64 unit) const {
  std::vector<u64> units;
  for (const auto& [addr, data] : image.Ranges()) {
    for (u64 at = addr / unit * unit; at < addr + data.size(); at += unit) {
      if (units.empty() || units.back() != at) {
        units.push_back(at);
      }
    }
  }
  return units;
}

void Expectation::EraseSpan(u64 first, u64 numBytes) {
  ChipState& state = State();
  std::fill_n(state.Cells.begin() + static_cast<i64>(first), numBytes, u8{0xFF});
  if (!state.Unknown.empty()) {
    std::fill_n(state.Unknown.begin() + static_cast<i64>(first), numBytes, u8{0});
  }
}

void Expectation::HoldStuckBits() {
  for (const Cell& cell : Bench().Stuck) {
    State().Cells[cell.Addr] |= m_HasFaults ? static_cast<u8>(1U << cell.Bit) : u8{0};
  }
}

// Flash clears bits. The others take whole pages, in which open bytes become FF.
void Expectation::Write(const Image& image) {
  ChipState& state = State();
  if (!ThePart().HasErase()) {
    for (u64 addr : Units(image, ThePart().Page)) {
      EraseSpan(addr, ThePart().Page);
    }
  }
  for (const auto& [addr, data] : image.Ranges()) {
    for (std::size_t i = 0; i < data.size(); ++i) {
      u8& cell = state.Cells[addr + i];
      const bool isKnown = state.Unknown.empty() || state.Unknown[addr + i] == 0;
      state.AsksForOnes =
          state.AsksForOnes || (data[i] != 0xFF && (data[i] & ~cell) != 0 && isKnown);
      cell &= data[i];
    }
  }
  HoldStuckBits();
}

Verdict Expectation::Verify(const Image& image) {
  if (image.IsEmpty() || !Fits(image) || Connect() == Verdict::Bad) {
    return Verdict::Bad;
  }
  const ChipState& state = State();
  const bool hasFlips = IsFaulty() && !Bench().Flipped.empty();
  for (const auto& [addr, data] : image.Ranges()) {
    for (std::size_t i = 0; i < data.size(); ++i) {
      const u8 value = hasFlips ? Seen(addr + i) : state.Cells[addr + i];
      if (value != data[i] && (state.Unknown.empty() || state.Unknown[addr + i] == 0)) {
        return Verdict::Bad;
      }
    }
  }
  return Verdict::Good;
}

// What stands in the way of writing, apart from the data.
Verdict Expectation::Erase() {
  if (m_pProject->FlashType != 1) {
    return Verdict::Good;  // told as skipped
  }
  if (Connect() == Verdict::Bad) {
    return Verdict::Bad;
  }
  if (!IsSkippingErase()) {
    EraseSpan(0, ThePart().Size);
  }
  return Verdict::Good;
}

Verdict Expectation::Program(bool verifies) {
  if (m_Windows.empty() || m_Windows.back().Data.IsEmpty() || Connect() == Verdict::Bad ||
      !Fits(m_Windows.back().Data)) {
    return Verdict::Bad;
  }
  const Image& image = m_Windows.back().Data;
  const u64 sector = ThePart().Sector;
  if (m_Plan.Set.AutoBlankCheck && !IsSkippingErase()) {
    for (u64 addr : Units(image, sector)) {
      if (!IsBlank(addr, addr + sector - 1)) {
        return Verdict::Bad;  // nobody is there to answer the question with Yes
      }
    }
  }
  Write(image);
  const bool isGuarded = Bench().StatusRegister != 0 && !ThePart().HasErase();
  const Verdict verdict = verifies ? Verify(image) : Verdict::Good;
  if (verdict == Verdict::Good && verifies) {
    for (const auto& [addr, data] : image.Ranges()) {
      for (std::size_t i = 0; !State().Unknown.empty() && i < data.size(); ++i) {
        State().Cells[addr + i] = data[i];
        State().Unknown[addr + i] = 0;
      }
    }
  }
  return isGuarded ? Worse(verdict, Verdict::Open) : verdict;
}

Verdict Expectation::Read(u64 first, u64 last) {
  first &= ~u64{3};
  last |= 3;
  if (Connect() == Verdict::Bad || last >= ThePart().Size) {
    return Verdict::Bad;
  }
  m_IsBlurred = m_IsBlurred || (m_HasFaults && Bench().ReadsVary);
  Bytes data(State().Cells.begin() + static_cast<i64>(first),
             State().Cells.begin() + static_cast<i64>(last) + 1);
  for (const Cell& cell : Bench().Flipped) {
    if (m_HasFaults && cell.Addr >= first && cell.Addr <= last) {
      data[cell.Addr - first] ^= static_cast<u8>(1U << cell.Bit);
    }
  }
  Window window;
  if (!m_Plan.Set.SkipBlankAreas) {
    window.Data.Put(first, data);
  }
  // Blank bytes at the start of a block are left out, and long runs in it.
  for (u64 block = 0; m_Plan.Set.SkipBlankAreas && block < data.size(); block += kReadBlock) {
    const u64 end = std::min<u64>(data.size(), block + kReadBlock);
    const auto skip = [&](u64 at, u8 blank) {
      while (at < end && (data[at] == 0xFF) == (blank != 0)) {
        ++at;
      }
      return at;
    };
    for (u64 from = skip(block, 1); from < end;) {
      u64 to = skip(from, 0);
      u64 next = skip(to, 1);
      while (to < end && next - to < kBlankRun) {
        to = next == end ? end : skip(next, 0);
        next = skip(to, 1);
      }
      window.Data.Put(first + from, std::span(data).subspan(from, to - from));
      from = next;
    }
  }
  m_Windows.push_back(std::move(window));
  return Verdict::Good;
}

// ---- Production ----

void Expectation::SetSerialFile(std::vector<std::optional<u32>> values) {
  const std::string name = m_ProjectName.substr(0, m_ProjectName.rfind('.')) + "_Serial.txt";
  std::vector<Content>& contents = m_Files[name];
  contents.clear();
  for (const std::optional<u32>& value : values) {
    contents.push_back(value ? Text(std::to_string(*value)) : Content{.Is = Content::Form::Absent});
  }
}

Verdict Expectation::Stamp(const Production& production, Window* pWindow) {
  Serial& serial = m_Serials[m_ProjectName];
  const u32 length = production.SNLen;
  const u64 value = serial.Value;
  if (length == 0 || production.SNInc == 0 || u64{production.SNAddr} + length > ThePart().Size ||
      (length < 4 && value >> (8 * length) != 0)) {
    // The number's file may have come into being by then.
    SetSerialFile(serial.IsInFile ? std::vector<std::optional<u32>>{serial.Value}
                                  : std::vector<std::optional<u32>>{{}, serial.Value});
    return Verdict::Bad;
  }
  Bytes data(32);
  for (u32 i = 0; i < 4; ++i) {
    data[i] = static_cast<u8>(value >> (8 * i));
    data[i + 4] = static_cast<u8>(~value >> (8 * i));
  }
  data.resize(length);
  pWindow->Data.Put(production.SNAddr, data);
  serial.IsInFile = true;
  SetSerialFile({serial.Value});
  return Verdict::Good;
}

Verdict Expectation::AdvanceSerial(const Production& production) {
  if (!production.Serial) {
    return Verdict::Good;
  }
  Serial& serial = m_Serials[m_ProjectName];
  if (u64{serial.Value} + production.SNInc > 0xFFFFFFFF) {
    return Verdict::Bad;
  }
  serial.Value += production.SNInc;
  SetSerialFile({serial.Value});
  return Verdict::Good;
}

Verdict Expectation::Auto() {
  if (m_Windows.empty() || m_Windows.back().Data.IsEmpty() || Connect() == Verdict::Bad ||
      !Fits(m_Windows.back().Data)) {
    return Verdict::Bad;
  }
  const Production& production = m_pProject->Auto;
  Window& window = m_Windows.back();
  if (production.Serial && Stamp(production, &window) == Verdict::Bad) {
    return Verdict::Bad;
  }
  const Verdict verdict = RunAuto(production, window.Data);
  if (verdict == Verdict::Bad || AdvanceSerial(production) == Verdict::Bad) {
    return Verdict::Bad;
  }
  const bool isGuarded = Bench().StatusRegister != 0 && !ThePart().HasErase();
  return isGuarded ? Verdict::Open : verdict;
}

Verdict Expectation::RunAuto(const Production& production, const Image& image) {
  const bool hasErase = !IsSkippingErase();
  const bool compares = production.Compare && production.Erase && production.EraseType != 3;
  const u64 unit = hasErase ? std::max(ThePart().Sector, ThePart().Page) : ThePart().Page;
  Image work = image;
  // What is beside the data in a page goes to the chip as it was read.
  m_IsBlurred = m_IsBlurred || (compares && !hasErase && m_HasFaults && Bench().ReadsVary);
  if (compares) {
    work = Image();
    for (u64 addr : Units(image, unit)) {
      Bytes wanted(unit);
      for (u64 i = 0; i < unit; ++i) {
        wanted[i] = hasErase ? 0xFF : Seen(addr + i);
      }
      for (const auto& [start, data] : image.Ranges()) {
        for (u64 at = std::max(start, addr); at < std::min(start + data.size(), addr + unit);
             ++at) {
          wanted[at - addr] = data[at - start];
        }
      }
      bool differs = false;
      for (u64 i = 0; i < unit && !differs; ++i) {
        differs = wanted[i] != Seen(addr + i);
      }
      if (differs) {
        work.Put(addr, wanted);
      }
    }
  }
  if (production.Erase && hasErase) {
    if (production.EraseType == 3 || (!compares && m_Plan.Set.AutoMode != 0)) {
      EraseSpan(0, ThePart().Size);
    } else {
      for (u64 addr : Units(work, ThePart().Sector)) {
        if (production.EraseType != 2 || !IsBlank(addr, addr + ThePart().Sector - 1)) {
          EraseSpan(addr, ThePart().Sector);
        }
      }
    }
  }
  if (production.Program && !work.IsEmpty()) {
    Write(work);
  }
  return production.Verify && !work.IsEmpty() ? Verify(work) : Verdict::Good;
}

// ---- Failures ----

void Expectation::Forget(u64 first, u64 last) {
  ChipState& state = State();
  state.Unknown.resize(state.Cells.size());
  last = std::min<u64>(last, state.Cells.size() - 1);
  if (first <= last) {
    std::fill(state.Unknown.begin() + static_cast<i64>(first),
              state.Unknown.begin() + static_cast<i64>(last) + 1, u8{1});
  }
}

// Inside of what the word was to change anything may stand.
void Expectation::ApplyBroken(const Word& word) {
  const bool hasImage = !m_Windows.empty();
  switch (word.What) {
    case Op::EraseChip:
    case Op::EraseSectors:
      if (!IsSkippingErase()) {
        Forget(0, ThePart().Size - 1);
      }
      break;
    case Op::Program:
    case Op::ProgramVerify:
      for (u64 addr : Units(hasImage ? m_Windows.back().Data : Image(), ThePart().Page)) {
        Forget(addr, addr + ThePart().Page - 1);
      }
      break;
    case Op::Auto: {
      const Production& production = m_pProject->Auto;
      Image image = hasImage ? m_Windows.back().Data : Image();
      if (production.Serial) {
        image.Put(production.SNAddr, Bytes(std::max(1U, production.SNLen)));
        const Serial& serial = m_Serials[m_ProjectName];
        SetSerialFile(serial.IsInFile ? std::vector<std::optional<u32>>{serial.Value}
                                      : std::vector<std::optional<u32>>{{}, serial.Value});
      }
      if (!IsSkippingErase() && production.Erase &&
          (production.EraseType == 3 || m_Plan.Set.AutoMode != 0)) {
        Forget(0, ThePart().Size - 1);
      }
      const u64 unit = std::max(ThePart().Sector, ThePart().Page);
      for (u64 addr : Units(image, unit)) {
        Forget(addr, addr + unit - 1);
      }
      break;
    }
    case Op::SaveAs:
    case Op::Save:
    case Op::SaveDat:
    case Op::SavePrjAs: {
      const auto before = m_Files;
      Apply(word);
      for (auto& [name, contents] : m_Files) {
        const auto it = before.find(name);
        contents.push_back(it == before.end() ? Content{.Is = Content::Form::Absent}
                                              : it->second.front());
      }
      break;
    }
    default:
      break;
  }
}

}  // namespace model
