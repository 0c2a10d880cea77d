#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <vector>

#include "fuzz/entries.h"
#include "fuzz/promise.h"
#include "sys/util_format.h"
#include "sys/util_number.h"
#include "sys/util_string.h"
#include "text/parse.h"

// The helpers of numbers and text against doubles that are slow and simple.

namespace {

// A number and the characters that it takes; 0 characters for none.
struct Reading {
  u64 Value = 0;
  std::size_t NumChars = 0;
};

// The digits from behind, so that the arithmetic is another one.
Reading ReadDigits(const std::string& Text, std::size_t Pos, u32 Base) {
  const char* const sDigits = Base == 16 ? "0123456789abcdefABCDEF" : "0123456789";
  const std::size_t end = std::min(Text.find_first_not_of(sDigits, Pos), Text.size());
  Reading result{0, end - Pos};
  u64 weight = 1;
  for (std::size_t i = end; i > Pos; --i, weight *= Base) {
    const int c = std::tolower(static_cast<u8>(Text[i - 1]));
    result.Value += weight * static_cast<u64>(c >= 'a' ? c - 'a' + 10 : c - '0');
  }
  return result;
}

bool HasPrefix(const std::string& Text, std::size_t Pos, const char* sLetters) {
  return Text.size() > Pos + 1 && Text[Pos] == '0' &&
         std::strchr(sLetters, Text[Pos + 1]) != nullptr && Text[Pos + 1] != '\0';
}

// Blanks, minus, prefix, digits.
Reading ReadSigned(const std::string& Text, bool IsHex) {
  std::size_t pos = std::min(Text.find_first_not_of(" \t\r\n"), Text.size());
  const bool isNegative = pos < Text.size() && Text[pos] == '-';
  pos += isNegative ? 1 : 0;
  const bool hasPrefix = HasPrefix(Text, pos, "xX");
  pos += hasPrefix ? 2 : 0;
  Reading result = ReadDigits(Text, pos, IsHex || hasPrefix ? 16 : 10);
  if (result.NumChars != 0) {
    result.Value = isNegative ? 0 - result.Value : result.Value;
    result.NumChars += pos;
  }
  return result;
}

void CheckReading(int Result, u64 Value, std::size_t NumChars, const Reading& Expected, u64 Mask) {
  Check((Result == 0) == (Expected.NumChars != 0), "a number needs a digit");
  Check(NumChars == Expected.NumChars, "the cursor stands behind the number");
  Check(Result != 0 || Value == (Expected.Value & Mask), "a number has its value");
}

void CheckNumbers(const std::string& Text) {
  const char* p = Text.c_str();
  u32 value = 0;
  int result = UTIL_ParseHex32(&p, &value);
  const auto taken = [&] { return static_cast<std::size_t>(p - Text.c_str()); };
  CheckReading(result, value, taken(), ReadSigned(Text, true), 0xFFFFFFFF);
  p = Text.c_str();
  result = UTIL_ParseNumber32(&p, &value);
  CheckReading(result, value, taken(), ReadSigned(Text, false), 0xFFFFFFFF);
  p = Text.c_str();
  u64 value64 = 0;
  result = UTIL_ParseHex64(&p, &value64);
  CheckReading(result, value64, taken(), ReadSigned(Text, true), ~u64{0});
  const std::size_t start = HasPrefix(Text, 0, "xX") ? 2 : 0;
  const Reading plain = ReadDigits(Text, start, start != 0 ? 16 : 10);
  result = UTIL_ParseU32(Text.c_str(), &value);
  CheckReading(result, value, plain.NumChars, plain, 0xFFFFFFFF);
}

void CheckToken64(const std::string& Text, i64 Min, i64 Max) {
  std::array<char, 64> acError{};
  PARSE_CURSOR p = Text.c_str();
  i64 value = 0x5A;
  PARSE_Number64(acError.data(), acError.size(), &p, &value, Min, Max);
  std::size_t pos = std::min(Text.find_first_not_of(" \t"), Text.size());
  Reading expected;
  if (HasPrefix(Text, pos, "x")) {
    expected = ReadDigits(Text, pos + 2, 16);
    pos += 2;
  } else {
    const bool isNegative = pos < Text.size() && Text[pos] == '-';
    pos += isNegative || (pos < Text.size() && Text[pos] == '+') ? 1 : 0;
    expected = ReadDigits(Text, pos, 10);
    expected.Value = isNegative ? 0 - expected.Value : expected.Value;
  }
  const i64 wanted = static_cast<i64>(expected.Value);
  const bool isGood = wanted >= Min && wanted <= Max;
  Check(isGood == (acError[0] == '\0'), "limits are kept");
  Check(isGood ? value == wanted && p == Text.c_str() + pos + expected.NumChars
               : value == 0x5A && p == Text.c_str(),
        "a token is taken as a whole or not at all");
  const PARSE_CURSOR before = p;
  PARSE_ExpectChar(acError.data(), acError.size(), &p, p[0]);
  Check(isGood || p == before, "behind an error nothing is taken");
}

void CheckToken32(const std::string& Text, i32 Min, i32 Max) {
  std::array<char, 64> acError{};
  PARSE_CURSOR p = Text.c_str();
  i32 value = 0;
  PARSE_DecNumber(acError.data(), acError.size(), &p, &value, Min, Max);
  const i64 magnitude = value < 0 ? -i64{value} : i64{value};
  Check(acError[0] != '\0' ? p == Text.c_str() : magnitude >= Min && magnitude <= Max,
        "limits are kept");
}

void CheckQuoted(const std::string& Text, u32 Size) {
  std::vector<char> dest(Size, 'x');
  std::array<char, 64> acError{};
  PARSE_CURSOR p = Text.c_str();
  PARSE_QuotedString(acError.data(), acError.size(), &p, dest.data(), Size);
  const std::size_t start = std::min(Text.find_first_not_of(" \t"), Text.size());
  const std::size_t end = Text.find('"', start + 1);
  const bool isGood = start < Text.size() && Text[start] == '"' && end != std::string::npos &&
                      end - start - 1 < Size;
  Check(isGood == (acError[0] == '\0'), "a text stands between quotes and fits");
  Check(std::memchr(dest.data(), 0, Size) != nullptr, "a text is terminated");
  Check(!isGood ||
            (Text.substr(start + 1, end - start - 1) == dest.data() && p == Text.c_str() + end + 1),
        "a text is what stands between the quotes");
}

bool IsUtf8(std::string_view Text) {
  for (std::size_t i = 0; i < Text.size();) {
    const u8 c = static_cast<u8>(Text[i]);
    const std::size_t len = c < 0x80 ? 1 : c < 0xC0 ? 0 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4;
    if (len == 0 || c >= 0xF8 || i + len > Text.size() ||
        !std::all_of(Text.begin() + i + 1, Text.begin() + i + len,
                     [](char b) { return (static_cast<u8>(b) & 0xC0) == 0x80; })) {
      return false;
    }
    i += len;
  }
  return true;
}

// A cut text is a terminated beginning, at most a character shorter than the room.
void CheckCut(const std::string& Full, const char* sCut, u32 Size) {
  const std::string cut = sCut;
  Check(cut.size() < Size && Full.starts_with(cut), "a cut text is a beginning");
  Check(Full.size() < Size ? cut == Full : cut.size() + 4 >= Size, "the room is used");
  Check(!IsUtf8(Full) || IsUtf8(cut), "no character is split");
}

void CheckStrings(const std::string& a, const std::string& b, u32 Size) {
  std::vector<char> dest(Size, 'x');
  Check(UTIL_strcpy(dest.data(), a.c_str(), Size) == static_cast<i32>(a.size()) + 1,
        "the length is that of the source");
  CheckCut(a, dest.data(), Size);
  const std::string first = dest.data();
  UTIL_strcat(dest.data(), b.c_str(), Size);
  Check(std::strlen(dest.data()) < Size && std::string(dest.data()).starts_with(first),
        "appending keeps what is there");
  UTIL_strcpyN(dest.data(), a.c_str(), 5, Size);
  CheckCut(a.substr(0, 5), dest.data(), Size);
  std::string lowerA = a;
  std::string lowerB = b;
  UTIL_ToLower(lowerA.data());
  UTIL_ToLower(lowerB.data());
  Check((UTIL_stricmp(a.c_str(), b.c_str()) == 0) == (lowerA == lowerB) &&
            UTIL_stricmp(a.c_str(), b.c_str()) == -UTIL_stricmp(b.c_str(), a.c_str()),
        "names compare without regard to case");
}

// One conversion, put together from four bytes, by the C library and by ours; in full and cut.
void CheckFormat(const u8* p, const std::string& Text) {
  constexpr const char* flags[] = {"", "-", "0", "+", " ", "-+", "0+", "- "};
  constexpr char letters[] = "duXosc";
  const char letter = letters[p[0] % 6];
  std::string format = "a%";
  format += letter == 's' || letter == 'c' ? (p[1] % 2 != 0 ? "-" : "") : flags[p[1] % 8];
  format += p[2] % 3 != 0 ? std::to_string(p[2]) : "";
  // The C library prints nothing for 0 with a precision of 0, and so nothing is compared there.
  format += p[3] % 3 != 0 && letter != 'c' ? "." + std::to_string(p[3]) : "";
  format += std::string(1, letter) + "%%b";
  u32 number = 1;
  std::memcpy(&number, Text.data(), std::min<std::size_t>(4, Text.size()));
  const bool isText = letter == 's';
  number = letter == 'c' ? 'q' : number;
  std::array<char, 2048> acWanted{};
  std::array<char, 2048> acFull{};
  std::vector<char> cut(p[2] % 64 + 1, 'x');
  const u32 size = static_cast<u32>(cut.size());
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  const auto print = [&](auto pfPrint, char* pBuf, u32 Size) {
    return isText ? pfPrint(pBuf, Size, format.c_str(), Text.c_str())
                  : pfPrint(pBuf, Size, format.c_str(), number);
  };
  const int wanted = print(std::snprintf, acWanted.data(), acWanted.size());
#pragma GCC diagnostic pop
  Check(print(UTIL_snprintf, acFull.data(), acFull.size()) == wanted, "the length is known");
  print(UTIL_snprintf, cut.data(), size);
  if (wanted < static_cast<int>(acFull.size())) {
    Check(std::strcmp(acFull.data(), acWanted.data()) == 0, "formats are those of C");
    CheckCut(acFull.data(), cut.data(), size);
  }
}

void CheckBytes(const u8* pData, std::size_t NumBytes) {
  const std::size_t half = NumBytes / 2;
  const u8* const pOther = pData + half;
  const auto diff = std::mismatch(pData, pData + half, pOther).first - pData;
  Check(UTIL_FindDiff(pData, pOther, half) ==
            (static_cast<std::size_t>(diff) == half ? -1 : static_cast<i64>(diff)),
        "the first difference is found");
  const u8 byte = NumBytes != 0 ? pData[0] : u8{0};
  Check(UTIL_IsFilled(pData, byte, NumBytes) ==
            std::all_of(pData, pData + NumBytes, [byte](u8 b) { return b == byte; }),
        "filled is filled");
  for (u32 bit = 0; bit + 32 <= NumBytes * 8 && bit < 64; ++bit) {
    u32 value = 0;
    for (u32 i = 0; i < 32; ++i) {
      value |= (u32{pData[(bit + i) / 8]} >> (bit + i) % 8 & 1) << i;
    }
    Check(UTIL_ReadBits32(pData, bit) == value, "bits are read from any position");
  }
}

}  // namespace

int FUZZ_Text(const u8* pData, std::size_t NumBytes) {
  if (NumBytes < 5) {
    return 0;
  }
  // C text: what stands behind a NUL is the second one.
  std::string_view rest = AsText(pData + 5, NumBytes - 5);
  const std::string text(TakePart(&rest, '\0'));
  const std::string other = std::string(rest).c_str();
  switch (pData[0] % 5) {
    case 0:
      CheckNumbers(text);
      break;
    case 1:
      CheckToken64(text, -i64{pData[1]}, i64{pData[2]} << pData[3] % 48);
      CheckToken32(text, pData[1], 0x7FFFFFFF >> pData[2] % 16);
      CheckQuoted(text, pData[4] + 1U);
      break;
    case 2:
      CheckStrings(text, other, pData[1] % 64 + 1);
      break;
    case 3:
      CheckFormat(pData + 1, text);
      break;
    default:
      CheckBytes(pData + 1, NumBytes - 1);
      break;
  }
  return 0;
}
