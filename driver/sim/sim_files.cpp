#include <algorithm>
#include <cstring>
#include <ctime>
#include <limits>

#include "driver/core/text.h"
#include "driver/sim/sim_backend.h"

// The file calls of a simulated probe.

namespace vortic {

namespace {

// Of an entry that is made up: a client that reads it finds nothing.
constexpr u32 kExtraBytes = 16;

static_assert(sizeof(VORTIC_DIR_ENTRY) == 276, "layout of the interface");

// The host's local time, as a programmer that is set by a person has it.
void SetTime(std::time_t when, VORTIC_DIR_ENTRY* pEntry) {
  std::tm parts = {};
  if (localtime_r(&when, &parts) == nullptr) {
    return;  // a year that no calendar has; the fields stay 0
  }
  const auto field = [](int value) {
    return static_cast<u16>(std::clamp<int>(value, 0, std::numeric_limits<u16>::max()));
  };
  pEntry->Year = field(parts.tm_year + 1900);
  pEntry->Month = field(parts.tm_mon + 1);
  pEntry->Day = field(parts.tm_mday);
  pEntry->Hour = field(parts.tm_hour);
  pEntry->Minute = field(parts.tm_min);
  pEntry->Second = field(parts.tm_sec);
}

// A name that fills the field has no terminator.
void SetEntry(std::string_view name, u64 size, bool isFolder, VORTIC_DIR_ENTRY* pEntry) {
  *pEntry = {};
  std::memcpy(pEntry->acName, name.data(), std::min(name.size(), sizeof(pEntry->acName)));
  pEntry->Size = isFolder ? 0 : static_cast<u32>(std::min<u64>(size, 0xFFFFFFFF));
  pEntry->Attributes = isFolder ? VORTIC_DIR_ENTRY_FOLDER : 0;
}

}  // namespace

template <class F>
i32 SimBackend::CallFile(F&& f) {
  if (!BeginCall()) {
    return VORTIC_ERR_GENERAL;
  }
  std::string error;
  i32 result = VORTIC_ERR_GENERAL;
  if (!m_Config.FileSystem.empty() && !HasCapability(VORTIC_CAP_FILE_IO)) {
    error = "The probe has no file functions (capability 26).";
  } else {
    result = f(&error);
  }
  if (!error.empty()) {
    m_Reporter.Error(error);
  }
  return result;
}

i32 SimBackend::FileWrite(const char* sFile, const u8* pData, u32 offset, u32 numBytes) {
  return CallFile(
      [&](std::string* pError) { return m_Files.Write(sFile, pData, offset, numBytes, pError); });
}

i32 SimBackend::FileRead(const char* sFile, u8* pData, u32 offset, u32 numBytes) {
  return CallFile(
      [&](std::string* pError) { return m_Files.Read(sFile, pData, offset, numBytes, pError); });
}

i32 SimBackend::FileGetSize(const char* sFile) {
  return CallFile([&](std::string* pError) { return m_Files.GetSize(sFile, pError); });
}

i32 SimBackend::FileDelete(const char* sFile) {
  return CallFile([&](std::string* pError) { return m_Files.Delete(sFile, pError); });
}

// The files first, then what was made up.
int SimBackend::FillListing(const std::vector<HostEntry>& files,
                            std::span<VORTIC_DIR_ENTRY> entries) const {
  std::size_t count = 0;
  const auto next = [&] {
    VORTIC_DIR_ENTRY* pEntry = count < entries.size() ? &entries[count] : nullptr;
    ++count;
    return pEntry;
  };
  for (const HostEntry& file : files) {
    if (VORTIC_DIR_ENTRY* pEntry = next()) {
      SetEntry(file.Name, file.Size, file.Kind == EntryKind::Folder, pEntry);
      SetTime(file.Modified, pEntry);
    }
  }
  for (const auto* pNames : {&m_Config.ListingExtra, &m_Config.ListingExtraFolders}) {
    for (const std::string& name : *pNames) {
      if (VORTIC_DIR_ENTRY* pEntry = next()) {
        SetEntry(name, kExtraBytes, pNames == &m_Config.ListingExtraFolders, pEntry);
      }
    }
  }
  return static_cast<int>(std::min<std::size_t>(count, std::numeric_limits<int>::max()));
}

// Not supported is an answer, which a client may ask for with empty arguments. Neither that nor the
// question itself is an error.
int SimBackend::ListDir(const char* sPath, std::span<VORTIC_DIR_ENTRY> entries) {
  if (m_Config.FileSystem.empty() || !HasCapability(VORTIC_CAP_RENAME)) {
    return BeginCall() ? VORTIC_ERR_UNSUPPORTED : VORTIC_ERR_GENERAL;
  }
  ++m_NumListings;
  return CallFile([&](std::string* pError) {
    std::vector<HostEntry> files;
    if (!m_Files.List(sPath, &files, pError)) {
      return VORTIC_ERR_GENERAL;
    }
    const int count = FillListing(files, entries);
    for (const FaultPlan::ListResult& asked : m_Config.Faults.ListingResults) {
      if (asked.Run == m_NumListings) {
        return static_cast<int>(asked.Value);
      }
    }
    return count;
  });
}

int SimBackend::Rename(const char* sNewPath, const char* sOldPath) {
  if (m_Config.FileSystem.empty() || !HasCapability(VORTIC_CAP_RENAME)) {
    return BeginCall() ? VORTIC_ERR_UNSUPPORTED : VORTIC_ERR_GENERAL;
  }
  return CallFile([&](std::string* pError) {
    if (*sNewPath == '\0' && *sOldPath == '\0') {
      return VORTIC_ERR_GENERAL;
    }
    return m_Files.Rename(sNewPath, sOldPath, pError) ? VORTIC_OK : VORTIC_ERR_GENERAL;
  });
}

}  // namespace vortic
