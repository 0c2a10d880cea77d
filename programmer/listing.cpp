#include "programmer/listing.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "flash/driver.h"
#include "programmer/transfer.h"

namespace {

static_assert(std::endian::native == std::endian::little, "records are taken as they come");

constexpr std::size_t kMaxRefusedText = 600;  // of a line's 1024 bytes

// The field need not be terminated; a name that fills it is too long and will be refused.
std::string_view GetName(const ZELMONT_DIR_ENTRY& entry) {
  return {entry.acName, strnlen(entry.acName, sizeof(entry.acName))};
}

bool IsFolderLink(const ZELMONT_DIR_ENTRY& entry) {
  const std::string_view name = GetName(entry);
  return (entry.Attributes & VORTIC_DIR_ENTRY_FOLDER) != 0 && (name == "." || name == "..");
}

// Leaves the text as it is when there is no more room.
void AddText(const std::string& added, std::string* pText) {
  if (pText->size() + added.size() < kMaxRefusedText) {
    *pText += (pText->empty() ? "" : ", ") + added;
  }
}

}  // namespace

void ZELMONT_RefuseName(std::string_view Name, ZELMONT_LISTING* pListing) {
  ++pListing->NumRefused;
  AddText("\"" + ZELMONT_PrintName(Name) + "\"", &pListing->Refused);
}

void ZELMONT_MergeRefused(const ZELMONT_LISTING& From, ZELMONT_LISTING* pTo) {
  pTo->NumRefused += From.NumRefused;
  AddText(From.Refused, &pTo->Refused);
}

void ZELMONT_ParseListing(std::span<const u8> Raw, i32 Count, ZELMONT_LISTING* pListing) {
  *pListing = {};
  const std::size_t numRecords =
      std::min<std::size_t>(Raw.size() / sizeof(ZELMONT_DIR_ENTRY), std::max(Count, 0));
  for (std::size_t i = 0; i < numRecords; ++i) {
    ZELMONT_DIR_ENTRY entry;
    std::memcpy(&entry, Raw.data() + i * sizeof(entry), sizeof(entry));
    const std::string_view name = GetName(entry);
    if (ZELMONT_IsFileName(name)) {
      std::fill(std::begin(entry.acName) + name.size(), std::end(entry.acName), '\0');
      pListing->Entries.push_back(entry);
    } else if (!IsFolderLink(entry)) {
      ZELMONT_RefuseName(name, pListing);
    }
  }
}

i32 ZELMONT_ReadListing(const std::string& DevicePath, u32 Capacity, ZELMONT_LISTING* pListing) {
  *pListing = {};
  auto* const pfList = VORTIC_GetFunctionAs<VORTIC_LIST_DIR>(VORTIC_FUNC_LIST_DIR);
  if (pfList == nullptr) {
    return VORTIC_ERR_UNSUPPORTED;
  }
  std::vector<ZELMONT_DIR_ENTRY> raw(Capacity);  // zeros: what isn't filled in has no name
  const i32 count = pfList(DevicePath.c_str(), raw.data(), Capacity);
  ZELMONT_ParseListing({reinterpret_cast<const u8*>(raw.data()), raw.size() * sizeof(raw[0])},
                       count, pListing);
  return count;
}
