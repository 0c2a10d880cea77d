#include <algorithm>
#include <cstring>

#include "image/elf_impl.h"

namespace {

constexpr u32 SIZE_32 = 52;
constexpr u32 SIZE_64 = 64;
constexpr u32 IDENT_SIZE = 16;
constexpr u8 ID[] = {0x7F, 'E', 'L', 'F'};

constexpr u32 IDENT_CLASS = 4;
constexpr u32 IDENT_DATA = 5;
constexpr u32 IDENT_VERSION = 6;
constexpr u8 CLASS_32 = 1;
constexpr u8 CLASS_64 = 2;
constexpr u8 DATA_LITTLE = 1;
constexpr u8 DATA_BIG = 2;
constexpr u16 MAX_TYPE = 4;

using ull = unsigned long long;

void DecodeHeader(ELF_FILE& elf, const u8* pData) {
  ELF_HEADER& header = elf.Header;
  ElfFields fields(pData + IDENT_SIZE, elf);
  header.e_type = fields.Half();
  header.e_machine = fields.Half();
  header.e_version = fields.Word();
  header.e_entry = fields.Native();
  header.e_phoff = fields.Native();
  header.e_shoff = fields.Native();
  header.e_flags = fields.Word();
  header.e_ehsize = fields.Half();
  header.e_phentsize = fields.Half();
  header.e_phnum = fields.Half();
  header.e_shentsize = fields.Half();
  header.e_shnum = fields.Half();
  header.e_shstrndx = fields.Half();
}

bool CheckIdent(ELF_FILE& elf) {
  const u8* ident = elf.Header.e_ident;
  if (std::memcmp(ident, ID, sizeof(ID)) != 0) {
    return ELF_Fail(elf, "Invalid ELFId at start of file");
  }
  if (ident[IDENT_CLASS] != CLASS_32 && ident[IDENT_CLASS] != CLASS_64) {
    return ELF_Fail(elf, "Invalid ELF file. Unsupported ELF class field value: %u",
                    ident[IDENT_CLASS]);
  }
  elf.IsElf64 = ident[IDENT_CLASS] == CLASS_64;
  ELF_Info(elf, "pHeader->e_ident[4] = ELF%u ELF file", elf.IsElf64 ? 64 : 32);
  elf.IsBigEndian = ident[IDENT_DATA] == DATA_BIG;
  if (!elf.IsBigEndian && ident[IDENT_DATA] != DATA_LITTLE) {
    return ELF_Fail(elf, "Invalid endianess of ELF file");
  }
  ELF_Info(elf, "pHeader->e_ident[5] = %s endian ELF file", elf.IsBigEndian ? "Big" : "Little");
  if (ident[IDENT_VERSION] != 1) {
    return ELF_Fail(elf, "Invalid ELF file. Invalid ELF header version number (%u)",
                    ident[IDENT_VERSION]);
  }
  return true;
}

bool CheckTypeAndVersion(const ELF_FILE& elf) {
  if (elf.Header.e_type > MAX_TYPE) {
    return ELF_Fail(elf, "Invalid ELF file. Invalid ELF file type.");
  }
  ELF_Info(elf, "pHeader->e_type = %u", elf.Header.e_type);
  if (elf.Header.e_version == 0) {
    return ELF_Fail(elf, "Invalid ELF file. Invalid object file version.");
  }
  ELF_Info(elf, "pHeader->e_version = %u", elf.Header.e_version);
  return true;
}

void TellTables(const ELF_FILE& elf) {
  const ELF_HEADER& header = elf.Header;
  ELF_Info(elf, "pHeader->e_shnum (NumSections) = %u", header.e_shnum);
  ELF_Info(elf, "pHeader->e_shentsize (SectionHeaderEntrySize) = %u", header.e_shentsize);
  ELF_Info(elf, "pHeader->e_shoff (SectionTableOff) = 0x%llX", static_cast<ull>(header.e_shoff));
  ELF_Info(elf, "pHeader->e_phnum (NumProgramHeaders) = %u", header.e_phnum);
  ELF_Info(elf, "pHeader->e_phentsize (SectionHeaderEntrySize) = %u", header.e_phentsize);
  ELF_Info(elf, "pHeader->e_phoff (ProgramHeaderTableOff) = 0x%llX",
           static_cast<ull>(header.e_phoff));
}

// A table whose count, record size or offset is 0 counts as missing.
bool CheckTables(ELF_FILE& elf) {
  const ELF_HEADER& header = elf.Header;
  const u32 sectionSize = elf.IsElf64 ? 64 : 40;
  const u32 segmentSize = elf.IsElf64 ? 56 : 32;
  if (header.e_shnum != 0 && header.e_shentsize != 0 && header.e_shoff != 0) {
    if (header.e_shentsize != sectionSize) {
      return ELF_Fail(elf, "SectionEntrySize (%u) does not match size of internal struct (%u)",
                      header.e_shentsize, sectionSize);
    }
    elf.NumSections = header.e_shnum;
  }
  TellTables(elf);
  const bool hasSegments = header.e_phnum != 0 && header.e_phentsize != 0 && header.e_phoff != 0;
  if (hasSegments && header.e_phentsize != segmentSize) {
    return ELF_Fail(elf, "ProgramEntrySize (%u) does not match size of internal struct (%u)",
                    header.e_phentsize, segmentSize);
  }
  // Program headers that are counted but can't be found would leave every section where it runs
  // instead of where it is loaded.
  if (header.e_phnum != 0 && !hasSegments) {
    return ELF_Fail(elf, "Invalid ELF file. The program header table is missing.");
  }
  return true;
}

}  // namespace

bool ELF_ReadHeader(ELF_FILE& elf) {
  const i64 fileSize = elf.Input.GetSize();
  if (fileSize < 0) {
    return ELF_Fail(elf, "Invalid file size detected. Could not parse file");
  }
  u8 data[SIZE_64] = {};
  const u64 numBytes = std::min<u64>(sizeof(data), static_cast<u64>(fileSize));
  if (!elf.Input.ReadAt(0, data, numBytes)) {
    return ELF_Fail(elf, "Failed to read ELF file");
  }
  std::memcpy(elf.Header.e_ident, data, IDENT_SIZE);
  if (!CheckIdent(elf)) {
    return false;
  }
  if (numBytes < (elf.IsElf64 ? SIZE_64 : SIZE_32)) {
    return ELF_Fail(elf, "Failed to read ELF file");
  }
  DecodeHeader(elf, data);
  return CheckTypeAndVersion(elf) && CheckTables(elf);
}
