#include <cstdlib>
#include <optional>
#include <set>

#include "fuzz/entries.h"
#include "fuzz/promise.h"
#include "project/recent.h"
#include "sys/file.h"
#include "sys/registry.h"
#include "sys/registry_text.h"
#include "tests/support/engine_scope.h"

// The registry's text, and the recent lists that are kept in it.

namespace {

constexpr const char* kKeys[] = {"Software\\TARVEX", "A", "recent"};
constexpr const char* kNames[] = {"File1", "File2", "f", "x y"};

RegistryText Parse(std::string_view Content) {
  u32 lastLine = 0;
  return RegistryText(Content, [&](u32 Line, std::string_view Text) {
    Check(Line > lastLine && Text.find('\n') == std::string_view::npos, "reports go line by line");
    lastLine = Line;
  });
}

bool IsSame(const std::optional<RegistryValue>& a, const std::optional<RegistryValue>& b) {
  return a.has_value() == b.has_value() &&
         (!a || (a->Type == b->Type && a->Text == b->Text && a->Number == b->Number));
}

// All values but that one are the same in both.
void CheckOthers(const RegistryText& a, const RegistryText& b, const char* sKey,
                 const char* sName) {
  for (const char* sOtherKey : kKeys) {
    for (const char* sOther : kNames) {
      Check((sOtherKey == sKey && sOther == sName) ||
                IsSame(a.Find(sOtherKey, sOther), b.Find(sOtherKey, sOther)),
            "other values stay as they are");
    }
  }
}

bool IsSameFolded(const std::string& a, const std::string& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](u8 x, u8 y) {
    const auto fold = [](u8 c) { return c >= 'A' && c <= 'Z' ? c + 32 : c + 0; };
    return fold(x) == fold(y);
  });
}

std::vector<std::string> GetEntries() {
  std::vector<std::string> entries;
  for (u32 i = 0; const char* sEntry = RECENT_GetEntry(RECENT_PROJECTS, i); ++i) {
    entries.emplace_back(sEntry);
  }
  Check(entries.size() == RECENT_GetCount(RECENT_PROJECTS) && entries.size() <= RECENT_MAX_ENTRIES,
        "the list has its length");
  return entries;
}

}  // namespace

int FUZZ_Registry(const u8* pData, std::size_t NumBytes) {
  const std::string_view content = AsText(pData, NumBytes);
  const RegistryText read = Parse(content);
  const std::string text = read.Format();
  Check(Parse(text).Format() == text, "a text is kept as it is");
  // Any bytes are a value, escapes and line ends included.
  const RegistryValue values[] = {{SYS_REG_TYPE_STRING, std::string(content), 0},
                                  {SYS_REG_TYPE_U32, "", static_cast<u32>(NumBytes) - 5}};
  for (const char* sKey : kKeys) {
    for (const char* sName : kNames) {
      for (const RegistryValue& value : values) {
        RegistryText changed = read;
        changed.Set(sKey, sName, value);
        const RegistryText again = Parse(changed.Format());
        Check(IsSame(again.Find(sKey, sName), value), "a value reads back");
        CheckOthers(read, again, sKey, sName);
        Check(changed.Delete(sKey, sName), "a value can be deleted");
        const RegistryText without = Parse(changed.Format());
        Check(!without.Find(sKey, sName), "a deleted value is gone");
        CheckOthers(read, without, sKey, sName);
      }
    }
  }
  return 0;
}

int FUZZ_Recent(const u8* pData, std::size_t NumBytes) {
  static const ScratchFolder scratch;
  setenv("XDG_CONFIG_HOME", scratch.GetName("config").c_str(), 1);
  const EngineScope engine;
  std::string_view rest = AsText(pData, NumBytes);
  const std::string added(TakePart(&rest, '\0'));
  scratch.Write("config/TARVEX/registry.txt", "[Root\\Recent File List 1\\]\n" + std::string(rest));
  RECENT_Reset();
  RECENT_Load(RECENT_PROJECTS, "Root\\", RECENT_MAX_ENTRIES);
  const std::vector<std::string> old = GetEntries();
  RECENT_Add(RECENT_PROJECTS, added.c_str());
  const std::vector<std::string> entries = GetEntries();
  const bool isAdded = !added.empty() && added.size() < SYS_MAX_PATH;
  if (isAdded) {
    Check(!entries.empty() && entries[0] == added, "the newest stands first");
    Check(std::count_if(entries.begin(), entries.end(),
                        [&](const std::string& entry) { return IsSameFolded(entry, added); }) == 1,
          "a name stands once");
  } else {
    Check(entries == old, "no name changes nothing");
  }
  RECENT_Reset();
  RECENT_Load(RECENT_PROJECTS, "Root\\", RECENT_MAX_ENTRIES);
  const std::vector<std::string> loaded = GetEntries();
  Check(
      loaded.size() >= entries.size() && std::equal(entries.begin(), entries.end(), loaded.begin()),
      "the list is stored");
  return 0;
}
