#include <algorithm>
#include <cstring>
#include <vector>

#include "fuzz/entries.h"
#include "fuzz/promise.h"
#include "programmer/listing.h"

// What a programmer answers when a folder is listed.

namespace {

constexpr std::size_t kRecord = sizeof(ZELMONT_DIR_ENTRY);

// A record for each line, its name as it stands there and cut or not ended where it is too long.
std::vector<u8> MakeRecords(std::string_view Lines) {
  std::vector<u8> raw;
  while (!Lines.empty()) {
    const std::string_view name = TakePart(&Lines, '\n');
    raw.resize(raw.size() + kRecord, static_cast<u8>(name.size()));
    u8* const pRecord = raw.data() + raw.size() - kRecord;
    const std::size_t size = std::min<std::size_t>(name.size(), 256);
    std::copy_n(name.begin(), size, pRecord);
    std::fill(pRecord + size, pRecord + 256, u8{0});
  }
  return raw;
}

// One plain name, which no path can be made of.
bool IsPlain(std::string_view Name) {
  return !Name.empty() && Name.size() <= 63 && Name != "." && Name != ".." &&
         std::none_of(Name.begin(), Name.end(), [](char c) {
           return static_cast<u8>(c) < ' ' || c == 0x7F || std::strchr("<>:\"/\\|?*", c) != nullptr;
         });
}

}  // namespace

int FUZZ_Listing(const u8* pData, std::size_t NumBytes) {
  if (NumBytes < 2) {
    return 0;
  }
  const std::vector<u8> raw = pData[0] % 2 != 0 ? std::vector<u8>(pData + 2, pData + NumBytes)
                                                : MakeRecords(AsText(pData + 2, NumBytes - 2));
  const i32 count = static_cast<i8>(pData[1]);
  ZELMONT_LISTING listing;
  ZELMONT_ParseListing(raw, count, &listing);
  const std::size_t numRecords =
      std::min<std::size_t>(raw.size() / kRecord, static_cast<std::size_t>(std::max(count, 0)));
  std::size_t numTaken = 0;
  std::size_t numLinks = 0;
  for (std::size_t i = 0; i < numRecords; ++i) {
    ZELMONT_DIR_ENTRY record;
    std::memcpy(&record, raw.data() + i * kRecord, kRecord);
    const std::string_view name(record.acName, strnlen(record.acName, sizeof(record.acName)));
    numLinks += (record.Attributes & 1) != 0 && (name == "." || name == "..") ? 1 : 0;
    if (!IsPlain(name)) {
      continue;
    }
    Check(numTaken < listing.Entries.size(), "a good name is taken");
    const ZELMONT_DIR_ENTRY& entry = listing.Entries[numTaken++];
    Check(entry.acName == name && std::all_of(entry.acName + name.size(), std::end(entry.acName),
                                              [](char c) { return c == '\0'; }),
          "a name is taken as it is, with zeros behind it");
    Check(std::memcmp(&entry.Size, &record.Size, kRecord - sizeof(record.acName)) == 0,
          "size and date belong to the name");
  }
  Check(numTaken == listing.Entries.size(), "no other name is taken");
  Check(numTaken + numLinks + listing.NumRefused == numRecords, "every record is accounted for");
  Check(
      listing.Refused.size() < 1000 && std::none_of(listing.Refused.begin(), listing.Refused.end(),
                                                    [](char c) { return c >= 0 && c < ' '; }),
      "what is refused can be told");
  return 0;
}
