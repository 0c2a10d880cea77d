#include <algorithm>
#include <cstring>
#include <string>

#include "image/elf_impl.h"
#include "image/elf_segments.h"

// The image of a file: sections that are loaded, at the physical addresses that the program
// headers give, joined where they follow one another.

namespace {

constexpr u64 FLAG_ALLOC = 2;
// Masks NULL (0) and NOBITS (8) alike: both have no bytes in the file.
constexpr u32 TYPE_MASK = ~u32{8};
constexpr std::size_t MAX_SHOWN_NAME = 128;

using ull = unsigned long long;

// A name may be as long as the file, and every section may have it.
std::string CutName(const char* sName) {
  return {sName, strnlen(sName, MAX_SHOWN_NAME)};
}

bool IsLoaded(const ELF_SECTION& section) {
  return (section.sh_flags & FLAG_ALLOC) != 0 && section.sh_size != 0 &&
         (section.sh_type & TYPE_MASK) != 0;
}

// False when a section isn't wholly in the file, or when they have more bytes in all than the file:
// such sections share bytes, and a small file could claim any amount of memory.
bool CollectSections(ELF_FILE& elf) {
  u64 numFree = static_cast<u64>(elf.Input.GetSize());
  for (const ELF_SECTION& section : elf.aSections) {
    if (!IsLoaded(section)) {
      continue;
    }
    const char* name = ELF_GetSectionName(elf, section);
    if (!ELF_IsInFile(elf, section.sh_offset, section.sh_size) || section.sh_size > numFree) {
      return ELF_Fail(elf, "Invalid ELF file. Section '%s' lies outside of the file.",
                      CutName(name).c_str());
    }
    numFree -= section.sh_size;
    elf.aRanges.push_back({section.sh_addr, 0, section.sh_size, section.sh_offset, 0, name});
  }
  return true;
}

void PlaceRanges(ELF_FILE& elf) {
  // Linkers that know no load addresses leave them all 0.
  const bool hasPhysical = std::any_of(elf.aSegments.begin(), elf.aSegments.end(),
                                       [](const ELF_SEGMENT& s) { return s.p_paddr != 0; });
  const ElfSegmentIndex index(elf.aSegments);
  for (APP_IMG_RANGE_INFO& range : elf.aRanges) {
    const int i = index.Find(range.VAddr, range.NumBytes);
    if (i < 0) {
      ELF_Warn(elf,
               "No segment found for section '%s' (VAddr = 0x%llX, Size = 0x%llX). "
               "Assuming PAddr == VAddr.",
               CutName(range.pName).c_str(), static_cast<ull>(range.VAddr),
               static_cast<ull>(range.NumBytes));
      range.PAddr = range.VAddr;
      range.SegmentVAddr = range.VAddr;
      continue;
    }
    const ELF_SEGMENT& segment = elf.aSegments[static_cast<std::size_t>(i)];
    range.SegmentVAddr = segment.p_vaddr;
    range.PAddr = static_cast<u32>(range.VAddr - segment.p_vaddr) +
                  (hasPhysical ? segment.p_paddr : segment.p_vaddr);
  }
}

bool FollowsOn(const APP_IMG_RANGE_INFO& range, const APP_IMG_RANGE_INFO& open) {
  return range.SegmentVAddr == open.SegmentVAddr &&
         range.FileOffset == open.FileOffset + open.NumBytes &&
         range.VAddr == open.VAddr + open.NumBytes;
}

void TellMerge(const ELF_FILE& elf, const char* sAction, const APP_IMG_RANGE_INFO& range) {
  ELF_Info(elf, "%s AppImg range collection: VAddr = 0x%.8X, NumBytes = 0x%.8X", sAction,
           static_cast<u32>(range.VAddr), static_cast<u32>(range.NumBytes));
}

// Joins within the array: a collection is written where its first record stood or in front of it.
void MergeRanges(ELF_FILE& elf) {
  std::vector<APP_IMG_RANGE_INFO>& ranges = elf.aRanges;
  std::size_t numOut = 0;
  for (const APP_IMG_RANGE_INFO range : ranges) {
    if (numOut != 0 && FollowsOn(range, ranges[numOut - 1])) {
      TellMerge(elf, "Merged to", range);
      ranges[numOut - 1].NumBytes += range.NumBytes;
      continue;
    }
    if (numOut != 0) {
      TellMerge(elf, "Flushed", ranges[numOut - 1]);
    }
    TellMerge(elf, "Started", range);
    ranges[numOut++] = range;
  }
  if (numOut != 0) {
    TellMerge(elf, "Flushed", ranges[numOut - 1]);
  }
  ranges.resize(numOut);
}

}  // namespace

bool ELF_CollectRanges(ELF_FILE& elf) {
  if (elf.Header.e_phnum == 0 || elf.NumSections == 0) {
    return true;
  }
  if (!CollectSections(elf)) {
    return false;
  }
  PlaceRanges(elf);
  MergeRanges(elf);
  return true;
}
