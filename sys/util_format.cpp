#include "sys/util_format.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "sys/util_number.h"
#include "sys/util_string.h"

// Both dialects read one conversion into a FormatSpec and share what prints it; they differ in the
// reader of the conversion and in the table of letters.

namespace {

// An argument list as a member, so that it can be handed on by reference.
struct ArgList {
  va_list Args;
};

struct FormatSpec {
  u32 Width = 0;
  u32 Precision = 0;
  bool HasPrecision = false;
  bool IsLeft = false;
  bool IsZeroFilled = false;
  char PositiveSign = '\0';
  bool IsLong = false;
  char Letter = '\0';
};

// Counts everything and keeps what fits.
class TextSink {
 public:
  TextSink(char* pBuf, u32 BufSize) : m_pBuf(pBuf), m_BufSize(BufSize) {}

  void Put(const char* pText, std::size_t NumBytes) {
    const std::size_t room = m_BufSize > m_Length ? m_BufSize - m_Length : 0;
    if (const std::size_t n = std::min(NumBytes, room); n != 0) {
      std::memcpy(m_pBuf + m_Length, pText, n);
    }
    m_Length += NumBytes;
  }

  void Fill(char c, std::size_t NumBytes) {
    const std::size_t room = m_BufSize > m_Length ? m_BufSize - m_Length : 0;
    if (const std::size_t n = std::min(NumBytes, room); n != 0) {
      std::memset(m_pBuf + m_Length, c, n);
    }
    m_Length += NumBytes;
  }

  // Terminates; the length of the text that is kept.
  u32 Finish() {
    if (m_BufSize == 0) {
      return 0;
    }
    const u32 kept =
        m_Length < m_BufSize ? static_cast<u32>(m_Length) : UTIL_CutUtf8(m_pBuf, m_BufSize - 1);
    m_pBuf[kept] = '\0';
    return kept;
  }

  std::size_t Length() const { return m_Length; }

 private:
  char* m_pBuf;
  std::size_t m_BufSize;
  std::size_t m_Length = 0;
};

// A width or precision as large as this is nonsense; it bounds the sums below.
constexpr u32 kMaxWidth = 0x100000;

u32 ReadDecimal(const char** ppFormat) {
  u32 value = 0;
  for (; **ppFormat >= '0' && **ppFormat <= '9'; ++*ppFormat) {
    value = std::min(value * 10 + static_cast<u32>(**ppFormat - '0'), kMaxWidth);
  }
  return value;
}

void PutPadded(TextSink& Sink, const FormatSpec& Spec, const char* pText, std::size_t NumBytes) {
  const std::size_t padding = Spec.Width > NumBytes ? Spec.Width - NumBytes : 0;
  Sink.Fill(' ', Spec.IsLeft ? 0 : padding);
  Sink.Put(pText, NumBytes);
  Sink.Fill(' ', Spec.IsLeft ? padding : 0);
}

// Order of the field: blanks, sign, zeros, digits, blanks.
void PutNumber(TextSink& Sink, const FormatSpec& Spec, u64 Magnitude, char Sign, u32 Base,
               bool IsLower) {
  std::array<char, 24> acDigits{};
  char* const pEnd = acDigits.data() + acDigits.size();
  char* p = pEnd;
  do {
    *--p = UTIL_HexChar(static_cast<u32>(Magnitude % Base), IsLower ? 1 : 0);
    Magnitude /= Base;
  } while (Magnitude != 0);
  const u32 numDigits = static_cast<u32>(pEnd - p);
  const u32 numSigns = Sign != '\0' ? 1 : 0;
  u32 numZeros = Spec.HasPrecision && Spec.Precision > numDigits ? Spec.Precision - numDigits : 0;
  if (Spec.IsZeroFilled && !Spec.IsLeft && !Spec.HasPrecision) {
    numZeros = Spec.Width > numDigits + numSigns ? Spec.Width - numDigits - numSigns : 0;
  }
  const u32 size = numSigns + numZeros + numDigits;
  const u32 padding = Spec.Width > size ? Spec.Width - size : 0;
  Sink.Fill(' ', Spec.IsLeft ? 0 : padding);
  Sink.Put(&Sign, numSigns);
  Sink.Fill('0', numZeros);
  Sink.Put(p, numDigits);
  Sink.Fill(' ', Spec.IsLeft ? padding : 0);
}

void PutSigned(TextSink& Sink, const FormatSpec& Spec, i64 Value) {
  const u64 bits = static_cast<u64>(Value);
  PutNumber(Sink, Spec, Value < 0 ? u64{0} - bits : bits, Value < 0 ? '-' : Spec.PositiveSign, 10,
            false);
}

static_assert(sizeof(long) == sizeof(long long));

i64 TakeSigned(const FormatSpec& Spec, ArgList& List) {
  return Spec.IsLong ? va_arg(List.Args, long) : va_arg(List.Args, int);
}

u64 TakeUnsigned(const FormatSpec& Spec, ArgList& List) {
  return Spec.IsLong ? va_arg(List.Args, unsigned long) : va_arg(List.Args, unsigned);
}

void ReadLetter(const char** ppFormat, FormatSpec* pSpec) {
  for (; **ppFormat == 'l' || **ppFormat == 'h'; ++*ppFormat) {
    pSpec->IsLong = pSpec->IsLong || **ppFormat == 'l';
  }
  pSpec->Letter = **ppFormat;
}

// Width or precision of the full dialect. A negative width from the arguments means left; a
// negative precision counts as none.
void ReadWidth(const char** ppFormat, ArgList& List, FormatSpec* pSpec) {
  if (**ppFormat != '*') {
    pSpec->Width = ReadDecimal(ppFormat);
    return;
  }
  ++*ppFormat;
  const i64 width = va_arg(List.Args, int);
  pSpec->IsLeft = pSpec->IsLeft || width < 0;
  pSpec->Width = static_cast<u32>(std::min<i64>(width < 0 ? -width : width, kMaxWidth));
}

void ReadPrecision(const char** ppFormat, ArgList& List, FormatSpec* pSpec) {
  pSpec->HasPrecision = true;
  if (**ppFormat != '*') {
    pSpec->Precision = ReadDecimal(ppFormat);
    return;
  }
  ++*ppFormat;
  const i64 precision = va_arg(List.Args, int);
  pSpec->HasPrecision = precision >= 0;
  pSpec->Precision = static_cast<u32>(std::clamp<i64>(precision, 0, kMaxWidth));
}

FormatSpec ReadFullSpec(const char** ppFormat, ArgList& List) {
  FormatSpec spec;
  for (bool isFlag = true; isFlag; *ppFormat += isFlag ? 1 : 0) {
    switch (**ppFormat) {
      case '-':
        spec.IsLeft = true;
        break;
      case '+':
        spec.PositiveSign = '+';
        break;
      case ' ':
        spec.PositiveSign = spec.PositiveSign != '\0' ? spec.PositiveSign : ' ';
        break;
      case '0':
        spec.IsZeroFilled = true;
        break;
      case '#':
        break;
      default:
        isFlag = false;
    }
  }
  ReadWidth(ppFormat, List, &spec);
  if (**ppFormat == '.') {
    ++*ppFormat;
    ReadPrecision(ppFormat, List, &spec);
  }
  ReadLetter(ppFormat, &spec);
  return spec;
}

void PutFull(TextSink& Sink, FormatSpec Spec, ArgList& List) {
  switch (Spec.Letter) {
    case 'd':
      PutSigned(Sink, Spec, TakeSigned(Spec, List));
      break;
    case 'u':
      PutNumber(Sink, Spec, TakeUnsigned(Spec, List), '\0', 10, false);
      break;
    case 'x':
    case 'X':
      PutNumber(Sink, Spec, TakeUnsigned(Spec, List), '\0', 16, false);
      break;
    case 'o':
      PutNumber(Sink, Spec, TakeUnsigned(Spec, List), '\0', 8, false);
      break;
    case 'p':
      Spec.Precision = 8;
      Spec.HasPrecision = true;
      PutNumber(Sink, Spec,
                static_cast<u32>(reinterpret_cast<std::uintptr_t>(va_arg(List.Args, void*))), '\0',
                16, false);
      break;
    case 'c': {
      const char c = static_cast<char>(va_arg(List.Args, int));
      PutPadded(Sink, Spec, &c, 1);
      break;
    }
    case 's': {
      const char* const sArgument = va_arg(List.Args, const char*);
      const char* const s = sArgument != nullptr ? sArgument : "(null)";
      PutPadded(Sink, Spec, s, Spec.HasPrecision ? strnlen(s, Spec.Precision) : std::strlen(s));
      break;
    }
    case '%':
      Sink.Fill('%', 1);
      break;
    default:
      break;
  }
}

FormatSpec ReadPlainSpec(const char** ppFormat) {
  FormatSpec spec;
  spec.Width = ReadDecimal(ppFormat);
  if (**ppFormat == '.') {
    ++*ppFormat;
    spec.HasPrecision = true;
    spec.Precision = ReadDecimal(ppFormat);
  }
  ReadLetter(ppFormat, &spec);
  return spec;
}

void PutPlain(TextSink& Sink, FormatSpec Spec, ArgList& List) {
  switch (Spec.Letter) {
    case 'd':
    case 'i':
      PutSigned(Sink, Spec, TakeSigned(Spec, List));
      break;
    case 'u':
      PutNumber(Sink, Spec, TakeUnsigned(Spec, List), '\0', 10, false);
      break;
    case 'x':
    case 'X':
      PutNumber(Sink, Spec, TakeUnsigned(Spec, List), '\0', 16, Spec.Letter == 'x');
      break;
    case 'p':
      Spec.Width = 8;
      PutNumber(Sink, Spec, reinterpret_cast<std::uintptr_t>(va_arg(List.Args, void*)), '\0', 16,
                false);
      break;
    case 'c':
      Sink.Fill(static_cast<char>(va_arg(List.Args, int)), 1);
      break;
    case 's': {
      const char* const s = va_arg(List.Args, const char*);
      if (s != nullptr) {
        Sink.Put(s, std::strlen(s));
      }
      break;
    }
    case '%':
      Sink.Fill('%', 1);
      break;
    default:
      break;
  }
}

// Calls Convert with the text behind each percent sign; it leaves the pointer on the letter.
template <class CONVERT>
void WalkFormat(TextSink& Sink, const char* sFormat, const CONVERT& Convert) {
  while (*sFormat != '\0') {
    const std::size_t n = std::strcspn(sFormat, "%");
    Sink.Put(sFormat, n);
    sFormat += n;
    if (*sFormat == '\0') {
      break;
    }
    ++sFormat;
    Convert(&sFormat);
    sFormat += *sFormat != '\0' ? 1 : 0;
  }
}

}  // namespace

int UTIL_vsnprintf(char* pBuf, u32 BufSize, const char* sFormat, va_list Args) {
  TextSink sink(pBuf, BufSize);
  ArgList list{};
  va_copy(list.Args, Args);
  WalkFormat(sink, sFormat,
             [&](const char** ppFormat) { PutFull(sink, ReadFullSpec(ppFormat, list), list); });
  va_end(list.Args);
  sink.Finish();
  return static_cast<int>(sink.Length());
}

int UTIL_snprintf(char* pBuf, u32 BufSize, const char* sFormat, ...) {
  va_list args;
  va_start(args, sFormat);
  const int length = UTIL_vsnprintf(pBuf, BufSize, sFormat, args);
  va_end(args);
  return length;
}

char* UTIL_vsnprintf64(char* pBuf, u32 BufSize, const char* sFormat, va_list Args) {
  TextSink sink(pBuf, BufSize);
  ArgList list{};
  va_copy(list.Args, Args);
  WalkFormat(sink, sFormat,
             [&](const char** ppFormat) { PutPlain(sink, ReadPlainSpec(ppFormat), list); });
  va_end(list.Args);
  return pBuf + sink.Finish();
}

char* UTIL_snprintf64(char* pBuf, u32 BufSize, const char* sFormat, ...) {
  va_list args;
  va_start(args, sFormat);
  char* const pEnd = UTIL_vsnprintf64(pBuf, BufSize, sFormat, args);
  va_end(args);
  return pEnd;
}

void UTIL_PrintSize(u64 Value, char* pBuf, u32 BufSize) {
  struct Unit {
    u32 Shift;
    const char* sName;
  };
  constexpr Unit kUnits[] = {{30, "GB"}, {20, "MB"}, {10, "KB"}};
  for (const Unit& unit : kUnits) {
    const u64 size = u64{1} << unit.Shift;
    if (Value == 0 || Value % (size / 2) != 0 || Value < size) {
      continue;
    }
    const unsigned long long whole = Value >> unit.Shift;
    if (Value % size == 0) {
      UTIL_snprintf64(pBuf, BufSize, "%llu %s", whole, unit.sName);
    } else {
      // Only halves come here.
      UTIL_snprintf64(pBuf, BufSize, "%llu.5 %s", whole, unit.sName);
    }
    return;
  }
  UTIL_snprintf64(pBuf, BufSize, "%llu Byte%s", static_cast<unsigned long long>(Value),
                  Value == 1 ? "" : "s");
}
