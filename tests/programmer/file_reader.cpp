#include "tests/programmer/file_reader.h"

#include <algorithm>
#include <map>

#include "sys/util_format.h"

namespace {

u32 U32At(const Bytes& file, u32 pos) {
  return file.at(pos) | file.at(pos + 1) << 8 | file.at(pos + 2) << 16 |
         static_cast<u32>(file.at(pos + 3)) << 24;
}

Bytes Slice(const Bytes& file, u64 first, u64 end) {
  EXPECT_TRUE(first <= end && end <= file.size()) << first << " to " << end;
  return end > file.size() ? Bytes() : Bytes(file.begin() + i64(first), file.begin() + i64(end));
}

bool IsZero(const Bytes& data) {
  return std::count(data.begin(), data.end(), 0) == std::ssize(data);
}

std::string ReadHeader(const Bytes& file, u32 end) {
  const Bytes head = Slice(file, 0, 248);
  EXPECT_EQ(SlowCrc(Slice(file, 256, end), SlowCrc(head)), U32At(file, 252));
  const auto endOfText = std::find(head.begin(), head.end(), 0);
  EXPECT_TRUE(IsZero(Bytes(endOfText, head.end())));
  return std::string(head.begin(), endOfText);
}

}  // namespace

ConfigFile ReadConfig(const Bytes& file) {
  const u32 size = U32At(file, 248);
  EXPECT_EQ(size + 1, file.size());
  EXPECT_EQ(size % 2048, 0u);
  ConfigFile config{ReadHeader(file, size), {}, 256};
  std::map<u32, u32> counts;  // of items by tag
  do {
    const u32 end = config.End + 8 + U32At(file, config.End);
    config.Items.emplace_back(U32At(file, config.End + 4), Slice(file, config.End + 8, end));
    ++counts[config.Items.back().first];
    config.End = end;
  } while (config.Items.back().first != 0);
  for (const auto& [tag, data] : config.Items) {
    if (tag == 101 || tag == 103 || tag == 210) {
      EXPECT_EQ(U32At(data, 0), counts[tag + 1]) << tag;
    }
  }
  EXPECT_TRUE(file.size() - config.End < 2048 && IsZero(Slice(file, config.End, file.size())));
  return config;
}

std::string ConfigFile::Print(u32 first, u32 last) const {
  std::string text;
  for (const auto& [tag, data] : Items) {
    if (tag >= first && tag <= last) {
      text += (text.empty() ? "" : " ") + std::to_string(tag) + ":";
      for (u8 byte : data) {
        char acByte[3];
        UTIL_snprintf(acByte, sizeof acByte, "%02X", byte);
        text += acByte;
      }
    }
  }
  return text;
}

DataFile ReadData(const Bytes& file) {
  const u32 dataOffset = U32At(file, 248);
  EXPECT_EQ(dataOffset % 2048, 0u);
  DataFile data{ReadHeader(file, dataOffset), dataOffset, {}};
  u32 next = dataOffset;
  u32 pos = 256;
  for (u32 crc = 0; U32At(file, pos + 4) != 0; pos += 16) {
    const u32 numBytes = U32At(file, pos + 4);
    EXPECT_LE(numBytes, 2048u);
    EXPECT_EQ(U32At(file, pos + 8), next);
    data.Blocks.emplace_back(U32At(file, pos), Slice(file, next, next + numBytes));
    next += numBytes;
    crc = SlowCrc(data.Blocks.back().second, crc);
    EXPECT_EQ(U32At(file, pos + 12), crc);
  }
  EXPECT_EQ(next, file.size());
  // The table has room for the entry that ends it.
  EXPECT_TRUE(pos + 16 <= dataOffset && IsZero(Slice(file, pos, dataOffset)));
  return data;
}

u32 SlowCrc(const Bytes& data, u32 crc, u32 poly) {
  for (u8 byte : data) {
    crc ^= byte;
    for (int i = 0; i < 8; ++i) {
      crc = (crc & 1) != 0 ? crc >> 1 ^ poly : crc >> 1;
    }
  }
  return crc;
}

Bytes Content(const DYNBUFFER& buf) {
  return buf.HasData == 0 ? Bytes() : Bytes(buf.pBuffer, buf.pBuffer + buf.LastIndex + 1);
}

ProgrammerScope::ProgrammerScope() {
  ZELMONT_Hooks.pfGetLocalTime = [](SYS_TIME* pTime) { *pTime = {2024, 1, 2, 3, 4, 59, 999}; };
  PROJECT_New(nullptr);
  Blocks blocks;
  blocks.Flash->AutoDetect = 0;
  blocks.Flash->NumPages = 64;
  blocks.Flash->PageSizeShift = 8;
  blocks.Flash->SectorSizeShift = 12;
  blocks.Store();
  FrontEnd.ClearLog();
}

void Blocks::Store() const {
  PROJECT_SetCpu(Cpu.get());
  PROJECT_SetFlash(Flash.get());
  PROJECT_SetProduction(Production.get());
  PROJECT_SetPerformance(Performance.get());
}
