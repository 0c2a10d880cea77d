#include <cstring>

#include "image/elf_impl.h"

// The tables of a file: sections with their names, program headers, and the symbol table, which
// isn't used but refuses the file when it is malformed.

namespace {

constexpr u32 TYPE_SYMTAB = 2;
constexpr u32 TYPE_DYNSYM = 11;

using ull = unsigned long long;

bool ReadTable(ELF_FILE& elf, const char* sName, u64 Offset, u64 NumBytes, std::vector<u8>* pData) {
  if (!ELF_IsInFile(elf, Offset, NumBytes)) {
    return ELF_Fail(elf, "Invalid ELF file. The %s lies outside of the file.", sName);
  }
  pData->resize(NumBytes);
  return elf.Input.ReadAt(Offset, pData->data(), NumBytes) ||
         ELF_Fail(elf, "Failed to read ELF file");
}

ELF_SECTION DecodeSection(const ELF_FILE& elf, const u8* pData) {
  ELF_SECTION section;
  ElfFields fields(pData, elf);
  section.sh_name = fields.Word();
  section.sh_type = fields.Word();
  section.sh_flags = fields.Native();
  section.sh_addr = fields.Native();
  section.sh_offset = fields.Native();
  section.sh_size = fields.Native();
  fields.Word();    // sh_link
  fields.Word();    // sh_info
  fields.Native();  // sh_addralign
  section.sh_entsize = fields.Native();
  return section;
}

ELF_SEGMENT DecodeSegment(const ELF_FILE& elf, const u8* pData) {
  ELF_SEGMENT segment;
  ElfFields fields(pData, elf);
  fields.Word();  // p_type
  if (elf.IsElf64) {
    fields.Word();  // p_flags, further behind in the other class
  }
  fields.Native();  // p_offset
  segment.p_vaddr = fields.Native();
  segment.p_paddr = fields.Native();
  segment.p_filesz = fields.Native();
  segment.p_memsz = fields.Native();
  return segment;
}

bool ReadSections(ELF_FILE& elf) {
  const u32 size = elf.Header.e_shentsize;
  std::vector<u8> data;
  if (!ReadTable(elf, "section table", elf.Header.e_shoff, u64{size} * elf.NumSections, &data)) {
    return false;
  }
  elf.aSections.reserve(elf.NumSections);
  for (u32 i = 0; i < elf.NumSections; ++i) {
    elf.aSections.push_back(DecodeSection(elf, data.data() + u64{i} * size));
  }
  return true;
}

bool ReadSegments(ELF_FILE& elf) {
  const u32 size = elf.Header.e_phentsize;
  const u32 numSegments = elf.Header.e_phnum;
  std::vector<u8> data;
  if (!ReadTable(elf, "program header table", elf.Header.e_phoff, u64{size} * numSegments, &data)) {
    return false;
  }
  elf.aSegments.reserve(numSegments);
  for (u32 i = 0; i < numSegments; ++i) {
    elf.aSegments.push_back(DecodeSegment(elf, data.data() + u64{i} * size));
  }
  return true;
}

// Section 0 stands for no name table.
bool ReadSectionNames(ELF_FILE& elf) {
  const u32 index = elf.Header.e_shstrndx;
  if (index == 0) {
    return true;
  }
  if (index >= elf.NumSections) {
    return ELF_Fail(elf, "Invalid ELF file. There is no section %u for the section names.", index);
  }
  const ELF_SECTION& section = elf.aSections[index];
  std::vector<u8> data;
  if (!ReadTable(elf, "section name table", section.sh_offset, section.sh_size, &data)) {
    return false;
  }
  elf.SectionNames.assign(data.begin(), data.end());
  elf.SectionNames.push_back('\0');
  return true;
}

bool CheckSymbolTable(ELF_FILE& elf, u32 Index) {
  const ELF_SECTION& section = elf.aSections[Index];
  const u64 size = elf.IsElf64 ? 24 : 16;
  ELF_Info(elf, "Symbol table found: iSection = %u, Off = 0x%llX", Index,
           static_cast<ull>(section.sh_offset));
  if (section.sh_entsize != size) {
    return ELF_Fail(elf, "SymTblEntrySize (%llu) does not match size of internal struct (%llu)",
                    static_cast<ull>(section.sh_entsize), static_cast<ull>(size));
  }
  if (!ELF_IsInFile(elf, section.sh_offset, section.sh_size)) {
    return ELF_Fail(elf, "Invalid ELF file. The %s lies outside of the file.", "symbol table");
  }
  elf.NumSymbols = section.sh_size / size;
  return true;
}

bool FindSymbolTable(ELF_FILE& elf) {
  if (elf.NumSections == 0) {
    ELF_Info(elf, "No section table found => No symbol table present");
    return true;
  }
  for (u32 i = 0; i < elf.NumSections; ++i) {
    const u32 type = elf.aSections[i].sh_type;
    if (type == TYPE_SYMTAB || type == TYPE_DYNSYM) {
      return CheckSymbolTable(elf, i);
    }
  }
  return true;
}

void FindStringTable(const ELF_FILE& elf) {
  if (elf.NumSections == 0) {
    ELF_Info(elf, "No section table found => No symbol string table present");
    return;
  }
  for (u32 i = 0; i < elf.NumSections; ++i) {
    if (std::strcmp(ELF_GetSectionName(elf, elf.aSections[i]), ".strtab") == 0) {
      ELF_Info(elf, "Symbol string table (.strtab) found: iSection = %u, Off = 0x%llX", i,
               static_cast<ull>(elf.aSections[i].sh_offset));
      return;
    }
  }
}

}  // namespace

const char* ELF_GetSectionName(const ELF_FILE& elf, const ELF_SECTION& section) {
  return section.sh_name < elf.SectionNames.size() ? elf.SectionNames.data() + section.sh_name : "";
}

bool ELF_ReadTables(ELF_FILE& elf) {
  const bool hasSections = elf.NumSections != 0;
  if (hasSections && (!ReadSections(elf) || !ReadSectionNames(elf))) {
    return false;
  }
  if (!FindSymbolTable(elf)) {
    return false;
  }
  FindStringTable(elf);
  return elf.Header.e_phnum == 0 || ReadSegments(elf);
}
