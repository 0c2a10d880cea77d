#include "project/recent.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "app/engine/log.h"
#include "sys/file.h"
#include "sys/path.h"
#include "sys/registry.h"
#include "sys/util_format.h"
#include "sys/util_string.h"

// A list is a registry key of its own, "...\Recent File List 0\", with the values "File1" (newest)
// to "File10". The first value that is missing ends the list.

namespace {

constexpr u32 kNumLists = 2;

struct RECENT_LIST {
  std::vector<std::string> Entries;  // newest first
  std::vector<std::string> Stored;   // what the registry holds, so that only changes are written
  std::string Key;                   // empty until loaded
};

std::array<RECENT_LIST, kNumLists> Lists;

// Values count from 1.
std::string ValueName(std::size_t Index) {
  return "File" + std::to_string(Index + 1);
}

// Writes the entries that differ from the registry's: each write replaces a file, and mostly the
// newest name is at the head already. 0 or an error number.
u32 StoreList(RECENT_LIST& list) {
  const SYS_HANDLE h = SYS_REG_Open(SYS_REG_CURRENT_USER, list.Key.c_str());
  u32 error = h == 0 ? SYS_GetLastError() : SYS_ERROR_NONE;
  for (std::size_t i = 0; error == SYS_ERROR_NONE && i < list.Entries.size(); ++i) {
    const std::string& entry = list.Entries[i];
    if (i < list.Stored.size() && list.Stored[i] == entry) {
      continue;
    }
    error = SYS_REG_Set(h, ValueName(i).c_str(), SYS_REG_TYPE_STRING, entry.c_str(),
                        static_cast<u32>(entry.size() + 1));
    if (error == SYS_ERROR_NONE) {
      list.Stored.resize(std::max(list.Stored.size(), i + 1));
      list.Stored[i] = entry;
    }
  }
  SYS_REG_Close(h);
  return error;
}

}  // namespace

int RECENT_Load(u32 ListIndex, const char* pRootKey, u32 MaxEntries) {
  if (ListIndex >= kNumLists || pRootKey == nullptr) {
    return -2;
  }
  RECENT_LIST& list = Lists[ListIndex];
  char acKey[SYS_MAX_PATH];
  UTIL_snprintf(acKey, sizeof(acKey), "%sRecent File List %d\\", pRootKey, ListIndex);
  list = {.Entries = {}, .Stored = {}, .Key = acKey};
  const u32 maxEntries = std::min(MaxEntries, RECENT_MAX_ENTRIES);
  const SYS_HANDLE h = SYS_REG_Open(SYS_REG_CURRENT_USER, acKey);
  while (h != 0 && list.Entries.size() < maxEntries) {
    char acValue[SYS_MAX_PATH] = {};
    u32 type = 0;
    u32 size = sizeof(acValue);
    if (SYS_REG_Query(h, ValueName(list.Entries.size()).c_str(), &type, acValue, &size) != 0 ||
        type != SYS_REG_TYPE_STRING) {
      break;
    }
    list.Entries.emplace_back(acValue);
  }
  SYS_REG_Close(h);
  list.Stored = list.Entries;
  return list.Entries.size() < MaxEntries ? -2 : 0;
}

void RECENT_Add(u32 ListIndex, const char* pFileName) {
  if (ListIndex >= kNumLists || pFileName == nullptr || pFileName[0] == '\0') {
    return;
  }
  // A copy: the name may be an entry of this list. It holds in any working directory.
  char acFull[SYS_MAX_PATH];
  SYS_PATH_MakeFull(pFileName, acFull, sizeof(acFull));
  const std::string name = acFull;
  if (name.empty()) {
    return;
  }
  RECENT_LIST& list = Lists[ListIndex];
  std::erase_if(list.Entries, [&name](const std::string& entry) {
    return UTIL_stricmp(entry.c_str(), name.c_str()) == 0;
  });
  list.Entries.insert(list.Entries.begin(), name);
  if (list.Entries.size() > RECENT_MAX_ENTRIES) {
    list.Entries.pop_back();
  }
  if (!list.Key.empty() && StoreList(list) != SYS_ERROR_NONE) {
    AddLogLine("Could not store the list of recent files.");
  }
}

const char* RECENT_GetEntry(u32 ListIndex, u32 Index) {
  if (ListIndex >= kNumLists || Index >= Lists[ListIndex].Entries.size()) {
    return nullptr;
  }
  return Lists[ListIndex].Entries[Index].c_str();
}

u32 RECENT_GetCount(u32 ListIndex) {
  return ListIndex < kNumLists ? static_cast<u32>(Lists[ListIndex].Entries.size()) : 0;
}

void RECENT_Reset() {
  Lists = {};
}
