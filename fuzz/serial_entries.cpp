#include <array>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

#include "flash/serial_number.h"
#include "fuzz/entries.h"
#include "fuzz/promise.h"
#include "image/memarea.h"
#include "project/project.h"
#include "tests/support/engine_scope.h"
#include "text/projfile.h"

// Serial number files of production.

namespace {

constexpr u32 kAddr = 0x100;
constexpr u32 kMaxBytes = 32;
constexpr std::size_t kMaxNumberText = 62;

int GetDigit(char c) {
  constexpr std::string_view digits = "0123456789abcdefABCDEF";
  const std::size_t pos = digits.find(c);
  return pos == std::string_view::npos ? -1 : static_cast<int>(pos < 16 ? pos : pos - 6);
}

// The number that the file begins with, up to a blank or the line's end; nothing for any other
// text.
std::optional<u64> ReadNumber(std::string_view Text) {
  const bool isHex = Text.starts_with("0x") || Text.starts_with("0X");
  const std::size_t end = std::min(Text.find_first_of(" \t\r\n"), Text.size());
  if (end > kMaxNumberText) {
    return std::nullopt;
  }
  Text = Text.substr(0, end).substr(isHex ? 2 : 0);
  u64 value = 0;
  for (const char c : Text) {
    const int digit = GetDigit(c);
    if (digit < 0 || digit >= (isHex ? 16 : 10) || value > 0xFFFFFFFF) {
      return std::nullopt;
    }
    value = value * (isHex ? 16 : 10) + static_cast<u64>(digit);
  }
  return !Text.empty() && value <= 0xFFFFFFFF ? std::optional(value) : std::nullopt;
}

// The data of that line, or nothing when it isn't for sure.
std::optional<std::vector<u8>> ReadLine(std::string_view List, u64 Index, u32 NumBytes) {
  for (; Index != 0 && !List.empty(); --Index) {
    TakePart(&List, '\n');
  }
  const std::string_view line = List.substr(0, List.find_first_of("\r\n"));
  std::vector<u8> data;
  for (std::size_t i = 0; i + 1 < line.size() && data.size() < NumBytes; i += 2) {
    const int high = GetDigit(line[i]);
    const int low = GetDigit(line[i + 1]);
    if (high < 0 || low < 0) {
      return std::nullopt;
    }
    data.push_back(static_cast<u8>(high * 16 + low));
  }
  // Half a byte is left out only where the file ends with it.
  const bool isHalf = line.size() % 2 != 0 && data.size() < NumBytes && line.size() != List.size();
  return line.empty() || isHalf ? std::nullopt : std::optional(data);
}

// A project of that name without a file, with a chip that holds the number.
void SetUpProject(const std::string& Name, u32 NumBytes) {
  PROJECT_Reset();
  Check(PROJFILE_Create(Name.c_str()) == 0, "there is a project");
  const auto pFlash = std::make_unique<SPI_FLASH_INFO>();
  pFlash->FlashType = FLASH_TYPE_NOR;
  pFlash->NumPages = 0x1000;
  pFlash->PageSizeShift = 8;
  pFlash->SectorSizeShift = 12;
  PROJECT_SetFlash(pFlash.get());
  PROJ_PRODUCTION production;
  std::memset(&production, 0, sizeof(production));
  production.ProgramSN = 1;
  production.SNAddr = kAddr;
  production.SNLen = NumBytes;
  production.SNInc = 3;
  PROJECT_SetProduction(&production);
}

void CheckStamp(MEMAREA* pArea, const std::vector<u8>& Expected) {
  std::array<u8, kMaxBytes> data{};
  Check(MEMAREA_Read(pArea, kAddr, kMaxBytes, data.data(), 0xFF) >= 0, "the image can be read");
  for (std::size_t i = 0; i < kMaxBytes; ++i) {
    Check(data[i] == (i < Expected.size() ? Expected[i] : 0xFF), "the number's bytes are stamped");
  }
}

}  // namespace

int FUZZ_Serial(const u8* pData, std::size_t NumBytes) {
  static const ScratchFolder scratch;
  if (NumBytes == 0) {
    return 0;
  }
  const EngineScope engine;
  const u32 numBytes = pData[0] % kMaxBytes + 1;
  std::string_view rest = AsText(pData + 1, NumBytes - 1);
  const std::string_view number = TakePart(&rest, '\0');
  SetUpProject(scratch.GetName("p.korvane"), numBytes);
  scratch.Write("p_Serial.txt", number);
  const std::optional<u64> value = ReadNumber(number);
  std::vector<u8> expected;
  for (u32 i = 0; value && i < 8; ++i) {
    expected.push_back(static_cast<u8>((i < 4 ? *value : ~*value) >> (i % 4 * 8)));
  }
  bool isSound = value.has_value();
  if (rest.empty()) {
    isSound = isSound && (numBytes >= 4 || *value >> (8 * numBytes) == 0);
    scratch.Remove("p_SNList.txt");
  } else {
    scratch.Write("p_SNList.txt", rest);
    const auto line = isSound ? ReadLine(rest, *value, numBytes) : std::nullopt;
    isSound = line.has_value();
    expected = line.value_or(std::vector<u8>());
  }
  expected.resize(numBytes);
  const MEMAREA_PTR area(MEMAREA_Create());
  const bool isStamped = SN_Prepare(area.get()) == 0;
  Check(isStamped == (APP_GetErrorCount() == 0), "a failure has a cause");
  Check(isStamped == isSound, "only what is sure is stamped");
  CheckStamp(area.get(), isStamped ? expected : std::vector<u8>());
  if (isStamped) {
    const bool isLast = *value + 3 > 0xFFFFFFFF;
    Check((SN_Advance() != 0) == isLast, "the number counts on up to the last one");
    Check(scratch.Read("p_Serial.txt") == (isLast ? number : std::to_string(*value + 3)),
          "the next number is on disk");
  }
  SN_Release();
  return 0;
}
