#pragma once

#include <vector>

#include "image/elf_file.h"
#include "image/file_input.h"

// The parser's instance and its steps, for the elf files of this folder.

constexpr u32 ELF_MAGIC = 0x11557799;

// File header, in one form for both classes.
struct ELF_HEADER {
  u8 e_ident[16] = {};
  u16 e_type = 0;
  u16 e_machine = 0;
  u32 e_version = 0;
  u64 e_entry = 0;
  u64 e_phoff = 0;
  u64 e_shoff = 0;
  u32 e_flags = 0;
  u16 e_ehsize = 0;
  u16 e_phentsize = 0;
  u16 e_phnum = 0;
  u16 e_shentsize = 0;
  u16 e_shnum = 0;
  u16 e_shstrndx = 0;
};

// The fields that count of a section header.
struct ELF_SECTION {
  u32 sh_name;
  u32 sh_type;
  u64 sh_flags;
  u64 sh_addr;
  u64 sh_offset;
  u64 sh_size;
  u64 sh_entsize;
};

// The fields that count of a program header.
struct ELF_SEGMENT {
  u64 p_vaddr;
  u64 p_paddr;
  u64 p_filesz;
  u64 p_memsz;
};

// A stretch of the image that is contiguous in the file.
struct APP_IMG_RANGE_INFO {
  u64 VAddr;
  u64 PAddr;
  u64 NumBytes;
  u64 FileOffset;
  u64 SegmentVAddr;  // p_vaddr of the segment that it belongs to
  const char* pName;
};

struct ELF_FILE {
  ELF_FILE(SYS_HANDLE hFile, const FileInput& FileBytes, const ELF_REPORT_FUNCS* pFuncs)
      : File(hFile), Input(FileBytes), Report(pFuncs != nullptr ? *pFuncs : ELF_REPORT_FUNCS{}) {}

  u32 Magic = ELF_MAGIC;
  FileHandle File;
  FileInput Input;
  ELF_REPORT_FUNCS Report;
  ELF_HEADER Header;
  bool IsElf64 = false;
  bool IsBigEndian = false;
  u32 NumSections = 0;
  u64 NumSymbols = 0;
  std::vector<ELF_SECTION> aSections;
  std::vector<ELF_SEGMENT> aSegments;
  std::vector<char> SectionNames;  // ends in a NUL of our own
  std::vector<APP_IMG_RANGE_INFO> aRanges;
};

// Steps of opening, in this order. False on failure, reported; memory running out throws.
bool ELF_ReadHeader(ELF_FILE& elf);
bool ELF_ReadTables(ELF_FILE& elf);
bool ELF_CollectRanges(ELF_FILE& elf);

// Name of a section, empty when it has none.
const char* ELF_GetSectionName(const ELF_FILE& elf, const ELF_SECTION& section);
bool ELF_IsInFile(const ELF_FILE& elf, u64 Offset, u64 NumBytes);

// Formatted as by UTIL_snprintf64. ELF_Fail returns false.
[[gnu::format(printf, 2, 3)]] bool ELF_Fail(const ELF_FILE& elf, const char* sFormat, ...);
[[gnu::format(printf, 2, 3)]] void ELF_Warn(const ELF_FILE& elf, const char* sFormat, ...);
[[gnu::format(printf, 2, 3)]] void ELF_Info(const ELF_FILE& elf, const char* sFormat, ...);

// Takes the fields of a record one after the other.
class ElfFields {
 public:
  ElfFields(const u8* p, const ELF_FILE& elf)
      : m_p(p), m_IsElf64(elf.IsElf64), m_IsBigEndian(elf.IsBigEndian) {}
  u16 Half() { return static_cast<u16>(Take(2)); }
  u32 Word() { return static_cast<u32>(Take(4)); }
  // An address, offset or size: 4 or 8 bytes by the class.
  u64 Native() { return Take(m_IsElf64 ? 8 : 4); }

 private:
  u64 Take(u32 NumBytes) {
    u64 value = 0;
    for (u32 i = 0; i < NumBytes; ++i) {
      value |= u64{m_p[i]} << 8 * (m_IsBigEndian ? NumBytes - 1 - i : i);
    }
    m_p += NumBytes;
    return value;
  }

  const u8* m_p;
  bool m_IsElf64;
  bool m_IsBigEndian;
};
