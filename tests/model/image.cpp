#include "tests/model/image.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace model {

namespace {

constexpr u64 kBlankRun = 64;
constexpr std::size_t kRecordBytes = 32;

u32 Load32(const std::string& text, std::size_t at) {
  u32 value = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    value |= u32{static_cast<u8>(text[at + i])} << (8 * i);
  }
  return value;
}

u8 Sum(std::span<const u8> bytes) {
  u8 sum = 0;
  for (u8 byte : bytes) {
    sum = static_cast<u8>(sum + byte);
  }
  return sum;
}

std::string HexText(std::span<const u8> bytes) {
  constexpr char digits[] = "0123456789ABCDEF";
  std::string text;
  for (u8 byte : bytes) {
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

std::optional<Bytes> ParseHex(std::string_view text) {
  Bytes bytes;
  if (text.size() % 2 != 0) {
    return {};
  }
  for (std::size_t i = 0; i < text.size(); i += 2) {
    u32 value = 0;
    for (char c : text.substr(i, 2)) {
      const char* pDigit = c == '\0' ? nullptr : std::strchr("0123456789ABCDEFabcdef", c);
      if (pDigit == nullptr) {
        return {};
      }
      value = value << 4 | static_cast<u32>(c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
    }
    bytes.push_back(static_cast<u8>(value));
  }
  return bytes;
}

// Lines without their ends; blank ones are left out.
std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines(1);
  for (char c : text) {
    if (c == '\n' || c == '\r') {
      lines.emplace_back();
    } else {
      lines.back() += c;
    }
  }
  std::erase(lines, "");
  return lines;
}

// Calls f(addr, data) for pieces that cross no border of 64 KiB.
template <class F>
void ForRecords(const Image& image, F f) {
  for (const auto& [start, data] : image.Ranges()) {
    for (std::size_t at = 0; at < data.size();) {
      const u64 addr = start + at;
      const std::size_t count =
          std::min<u64>({kRecordBytes, data.size() - at, 0x10000 - (addr & 0xFFFF)});
      f(addr, std::span(data).subspan(at, count));
      at += count;
    }
  }
}

std::string HexRecord(u8 type, u32 addr, std::span<const u8> data) {
  Bytes record = {static_cast<u8>(data.size()), static_cast<u8>(addr >> 8), static_cast<u8>(addr),
                  type};
  record.insert(record.end(), data.begin(), data.end());
  record.push_back(static_cast<u8>(-Sum(record)));
  return ":" + HexText(record) + "\r\n";
}

std::string EncodeHex(const Image& image) {
  std::string text;
  u64 base = 0;
  ForRecords(image, [&](u64 addr, std::span<const u8> data) {
    if (addr >> 16 != base) {
      base = addr >> 16;
      const u8 abBase[] = {static_cast<u8>(base >> 8), static_cast<u8>(base)};
      text += HexRecord(4, 0, abBase);
    }
    text += HexRecord(0, static_cast<u32>(addr & 0xFFFF), data);
  });
  return text + HexRecord(1, 0, {});
}

std::optional<Image> DecodeHex(const std::string& text) {
  Image image;
  u64 base = 0;
  bool isEnded = false;
  for (const std::string& line : Lines(text)) {
    const std::optional<Bytes> record = line[0] == ':' ? ParseHex(line.substr(1)) : std::nullopt;
    if (!record || record->size() < 5 || record->size() != (*record)[0] + 5U || Sum(*record) != 0 ||
        isEnded) {
      return {};
    }
    const std::span<const u8> data = std::span(*record).subspan(4, (*record)[0]);
    const u64 addr = u64{(*record)[1]} << 8 | (*record)[2];
    switch ((*record)[3]) {
      case 0:
        image.Put(base + addr, data);
        break;
      case 1:
        isEnded = true;
        break;
      case 4:
        base = u64{data[0]} << 24 | u64{data[1]} << 16;
        break;
      default:
        return {};
    }
  }
  return isEnded ? std::optional(image) : std::nullopt;
}

std::string MotRecord(char type, u32 numAddrBytes, u64 addr, std::span<const u8> data) {
  Bytes record = {static_cast<u8>(numAddrBytes + data.size() + 1)};
  for (u32 i = numAddrBytes; i-- > 0;) {
    record.push_back(static_cast<u8>(addr >> (8 * i)));
  }
  record.insert(record.end(), data.begin(), data.end());
  record.push_back(static_cast<u8>(~Sum(record)));
  return std::string("S") + type + HexText(record) + "\r\n";
}

std::string EncodeMot(const Image& image) {
  const u32 numAddrBytes = image.Max() > 0xFFFFFF ? 4 : image.Max() > 0xFFFF ? 3 : 2;
  std::string text = MotRecord('0', 2, 0, Bytes{'m', 'o', 'd', 'e', 'l'});
  ForRecords(image, [&](u64 addr, std::span<const u8> data) {
    text += MotRecord(static_cast<char>('0' + numAddrBytes - 1), numAddrBytes, addr, data);
  });
  return text + MotRecord(static_cast<char>('0' + 11 - numAddrBytes), numAddrBytes, 0, {});
}

std::optional<Image> DecodeMot(const std::string& text) {
  Image image;
  bool isEnded = false;
  for (const std::string& line : Lines(text)) {
    const std::optional<Bytes> record =
        line.size() > 4 && line[0] == 'S' ? ParseHex(line.substr(2)) : std::nullopt;
    if (!record || record->size() < 4 || record->size() != (*record)[0] + 1U ||
        Sum(*record) != 0xFF || isEnded) {
      return {};
    }
    const u32 type = static_cast<u32>(line[1] - '0');
    isEnded = type >= 7;
    if (type == 0 || type > 3) {
      continue;
    }
    u64 addr = 0;
    for (u32 i = 0; i <= type; ++i) {
      addr = addr << 8 | (*record)[1 + i];
    }
    image.Put(addr, std::span(*record).subspan(2 + type, record->size() - type - 3));
  }
  return isEnded ? std::optional(image) : std::nullopt;
}

std::string EncodeTxt(const Image& image) {
  std::string text;
  for (const auto& [start, data] : image.Ranges()) {
    text += Printf("@%llx\n", static_cast<unsigned long long>(start));
    for (std::size_t i = 0; i < data.size(); ++i) {
      text += Printf("%02X%c", data[i], i % 16 == 15 ? '\n' : ' ');
    }
    text += '\n';
  }
  return text + "q\n";
}

std::optional<Image> DecodeTxt(const std::string& text) {
  Image image;
  u64 addr = 0;
  for (std::string line : Lines(text)) {
    if (line[0] == 'q') {
      return image;
    }
    if (line[0] == '@') {
      addr = std::strtoull(line.c_str() + 1, nullptr, 16);
      continue;
    }
    std::erase(line, ' ');
    const std::optional<Bytes> data = ParseHex(line);
    if (!data) {
      return {};
    }
    image.Put(addr, *data);
    addr += data->size();
  }
  return {};
}

}  // namespace

std::string Printf(const char* sFormat, ...) {
  char acText[1024];
  va_list args;
  va_start(args, sFormat);
  std::vsnprintf(acText, sizeof acText, sFormat, args);
  va_end(args);
  return acText;
}

void Image::Put(u64 addr, std::span<const u8> data) {
  if (data.empty()) {
    return;
  }
  Cut(addr, addr + data.size() - 1);
  auto it = m_Ranges.lower_bound(addr);
  if (it != m_Ranges.begin() && std::prev(it)->first + std::prev(it)->second.size() == addr) {
    --it;
    it->second.insert(it->second.end(), data.begin(), data.end());
  } else {
    it = m_Ranges.emplace_hint(it, addr, Bytes(data.begin(), data.end()));
  }
  const auto next = std::next(it);
  if (next != m_Ranges.end() && it->first + it->second.size() == next->first) {
    it->second.insert(it->second.end(), next->second.begin(), next->second.end());
    m_Ranges.erase(next);
  }
}

void Image::Cut(u64 first, u64 last) {
  auto it = m_Ranges.upper_bound(first);
  it = it == m_Ranges.begin() ? it : std::prev(it);
  while (it != m_Ranges.end() && it->first <= last) {
    const u64 start = it->first;
    const u64 end = start + it->second.size() - 1;
    if (end < first) {
      ++it;
      continue;
    }
    const Bytes data = std::move(it->second);
    it = m_Ranges.erase(it);
    if (start < first) {
      m_Ranges[start] = Bytes(data.begin(), data.begin() + static_cast<i64>(first - start));
    }
    if (end > last) {
      m_Ranges[last + 1] = Bytes(data.begin() + static_cast<i64>(last + 1 - start), data.end());
    }
  }
}

void Image::Eliminate() {
  std::vector<std::pair<u64, u64>> runs;
  u64 start = 0;
  u64 length = 0;
  const auto end = [&] {
    if (length >= kBlankRun) {
      runs.emplace_back(start, length);
    }
    length = 0;
  };
  const auto take = [&](u64 addr, u8 value) {
    if (value != 0xFF) {
      end();
      return;
    }
    start = length == 0 ? addr : start;
    ++length;
  };
  u64 next = 0;  // all below has been seen
  for (auto it = m_Ranges.begin(); it != m_Ranges.end(); ++it) {
    const auto& [addr, data] = *it;
    for (next = std::max(next, addr & ~u64{3}); next < addr; ++next) {
      take(next, 0xFF);
    }
    for (u8 value : data) {
      take(next++, value);
    }
    const u64 stop = std::next(it) == m_Ranges.end() ? ~u64{0} : std::next(it)->first;
    for (; next % 4 != 0 && next < stop; ++next) {
      take(next, 0xFF);
    }
  }
  end();
  for (const auto& [addr, count] : runs) {
    Cut(addr, addr + count - 1);
  }
}

Image Image::Moved(u64 offset) const {
  Image moved;
  for (const auto& [addr, data] : m_Ranges) {
    moved.Put(addr + offset, data);
  }
  return moved;
}

Image Image::WithEvenStarts() const {
  Image even;
  for (const auto& [addr, data] : m_Ranges) {
    even.Put(addr & ~u64{1}, Bytes{0xFF});
  }
  for (const auto& [addr, data] : m_Ranges) {
    even.Put(addr, data);
  }
  return even;
}

u64 Image::Max() const {
  return IsEmpty() ? 0 : m_Ranges.rbegin()->first + m_Ranges.rbegin()->second.size() - 1;
}

u64 Image::NumBytes() const {
  u64 sum = 0;
  for (const auto& [addr, data] : m_Ranges) {
    sum += data.size();
  }
  return sum;
}

Bytes Image::Read(u64 first, u64 last) const {
  Bytes out(last - first + 1, 0xFF);
  for (const auto& [addr, data] : m_Ranges) {
    const u64 from = std::max(first, addr);
    const u64 to = std::min(last, addr + data.size() - 1);
    if (from <= to) {
      std::copy_n(&data[from - addr], to - from + 1, &out[from - first]);
    }
  }
  return out;
}

std::string Encode(const Image& image, const std::string& extension) {
  if (extension == ".hex") {
    return EncodeHex(image);
  }
  if (extension == ".mot") {
    return EncodeMot(image);
  }
  if (extension == ".txt") {
    return EncodeTxt(image);
  }
  const Bytes bytes = image.IsEmpty() ? Bytes() : image.Read(image.Min(), image.Max());
  return {bytes.begin(), bytes.end()};
}

std::optional<Image> Decode(const std::string& text, const std::string& extension) {
  return extension == ".hex"   ? DecodeHex(text)
         : extension == ".mot" ? DecodeMot(text)
                               : DecodeTxt(text);
}

std::optional<Bytes> DecodeC(const std::string& text) {
  const std::size_t open = text.find('{');
  const std::size_t close = text.find('}', open);
  if (open == std::string::npos || close == std::string::npos) {
    return {};
  }
  Bytes bytes;
  for (std::size_t at = open; (at = text.find("0x", at)) < close; at += 4) {
    const std::optional<Bytes> value = ParseHex(text.substr(at + 2, 2));
    if (!value) {
      return {};
    }
    bytes.push_back(value->front());
  }
  return bytes;
}

std::optional<Image> DecodeProgrammerFile(const std::string& text) {
  Image image;
  if (text.size() < 2048) {
    return {};
  }
  for (std::size_t at = 256; at + 16 <= Load32(text, 248); at += 16) {
    const u32 numBytes = Load32(text, at + 4);
    const u32 offset = Load32(text, at + 8);
    if (numBytes == 0) {
      return image;
    }
    if (u64{offset} + numBytes > text.size()) {
      return {};
    }
    const auto* pData = reinterpret_cast<const u8*>(text.data()) + offset;
    image.Put(Load32(text, at), {pData, numBytes});
  }
  return {};
}

std::string Difference(const Image& expected, const Image& found) {
  if (expected == found) {
    return {};
  }
  const auto summary = [](const Image& image) {
    std::string text;
    for (const auto& [addr, data] : image.Ranges()) {
      text += Printf(" %llX-%llX", static_cast<unsigned long long>(addr),
                     static_cast<unsigned long long>(addr + data.size() - 1));
      if (text.size() > 120) {
        return text + " ...";
      }
    }
    return text;
  };
  for (const auto& [addr, data] : expected.Ranges()) {
    const Bytes other = found.Read(addr, addr + data.size() - 1);
    const auto [a, b] = std::mismatch(data.begin(), data.end(), other.begin());
    if (a != data.end()) {
      return Printf("at %llX expected %02X, found %02X",
                    static_cast<unsigned long long>(addr + static_cast<u64>(a - data.begin())), *a,
                    *b);
    }
  }
  return "ranges expected" + summary(expected) + ", found" + summary(found);
}

}  // namespace model
