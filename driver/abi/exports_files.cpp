#include "driver/abi/exports_files.h"

#include "driver/abi/call_guard.h"

// Calls that concern the files of a stand-alone programmer.

using vortic::Backend;
using vortic::FailArgument;
using vortic::GuardOpen;
using vortic::Reporter;

namespace {

// Beyond this a count is garbage.
constexpr uint32_t kMaxEntries = 1U << 20;

const char* OrEmpty(const char* sText) {
  return sText != nullptr ? sText : "";
}

int ListDirCall(const char* sPath, VORTIC_DIR_ENTRY* paEntries, uint32_t MaxEntries) {
  return GuardOpen("ListDir", VORTIC_ERR_GENERAL, [=](Backend& probe, Reporter& reporter) {
    if ((paEntries == nullptr && MaxEntries != 0) || MaxEntries > kMaxEntries) {
      return FailArgument(reporter, "ListDir", "no room for the entries, or too many of them");
    }
    return probe.ListDir(OrEmpty(sPath), {paEntries, MaxEntries});
  });
}

int RenameCall(const char* sNewPath, const char* sOldPath) {
  return GuardOpen("Rename", VORTIC_ERR_GENERAL, [=](Backend& probe, Reporter&) {
    return probe.Rename(OrEmpty(sNewPath), OrEmpty(sOldPath));
  });
}

// As in the other table of lookups: the assignments check the signatures.
VORTIC_LIST_DIR* const kListDir = ListDirCall;
VORTIC_RENAME* const kRename = RenameCall;

}  // namespace

namespace vortic {

VORTIC_FUNC FileFunctionAt(i32 index) {
  switch (index) {
    case VORTIC_FUNC_LIST_DIR:
      return reinterpret_cast<VORTIC_FUNC>(kListDir);
    case VORTIC_FUNC_RENAME:
      return reinterpret_cast<VORTIC_FUNC>(kRename);
    default:
      return nullptr;
  }
}

}  // namespace vortic

VORTIC_EXPORT int32_t VORTICARM_EMU_FILE_Write(const char* sFile, const uint8_t* pData,
                                               uint32_t Offset, uint32_t NumBytes) {
  return GuardOpen(__func__, -1, [=](Backend& probe, Reporter& reporter) {
    return sFile == nullptr || (pData == nullptr && NumBytes != 0)
               ? FailArgument(reporter, "VORTICARM_EMU_FILE_Write", "no name or no data")
               : probe.FileWrite(sFile, pData, Offset, NumBytes);
  });
}

VORTIC_EXPORT int32_t VORTICARM_EMU_FILE_Read(const char* sFile, uint8_t* pData, uint32_t Offset,
                                              uint32_t NumBytes) {
  return GuardOpen(__func__, -1, [=](Backend& probe, Reporter& reporter) {
    return sFile == nullptr || pData == nullptr
               ? FailArgument(reporter, "VORTICARM_EMU_FILE_Read", "no name or no buffer")
               : probe.FileRead(sFile, pData, Offset, NumBytes);
  });
}

VORTIC_EXPORT int32_t VORTICARM_EMU_FILE_GetSize(const char* sFile) {
  return GuardOpen(__func__, -1, [=](Backend& probe, Reporter& reporter) {
    return sFile == nullptr ? FailArgument(reporter, "VORTICARM_EMU_FILE_GetSize", "no name")
                            : probe.FileGetSize(sFile);
  });
}

VORTIC_EXPORT int32_t VORTICARM_EMU_FILE_Delete(const char* sFile) {
  return GuardOpen(__func__, -1, [=](Backend& probe, Reporter& reporter) {
    return sFile == nullptr ? FailArgument(reporter, "VORTICARM_EMU_FILE_Delete", "no name")
                            : probe.FileDelete(sFile);
  });
}
