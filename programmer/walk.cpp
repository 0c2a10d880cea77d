#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <vector>

#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "image/crc.h"
#include "programmer/transfer_internal.h"
#include "sys/path.h"
#include "sys/util_string.h"
#include "text/file_error.h"

// Local files and folders on their way to a programmer. Two walks, one that only counts and judges
// and one that loads, so that nothing is sent of a tree that can't be sent whole. The folders may
// change in between: the second walk takes no more than the first has counted.

namespace {

// A programmer has a few MiB; this is what its interface can tell at all.
constexpr u64 kMaxTotal = std::numeric_limits<i32>::max();

// Calls back for what lies in folders, depth first. All failures are logged.
class Walker {
 public:
  Walker(u32 maxDepth, void* pContext, ZELMONT_ON_FILE* pfOnFile)
      : m_MaxDepth(maxDepth), m_pContext(pContext), m_pfOnFile(pfOnFile) {}
  // Name: behind the names of the folders that lead to it. Depth: number of those.
  int Visit(const std::string& path, const std::string& name, u32 depth) {
    const u32 attributes = SYS_FILE_GetAttributes(path.c_str());
    if (attributes == SYS_ATTR_INVALID) {
      // A link in a folder that leads nowhere is neither a file nor a folder.
      return depth > 0 && SYS_FILE_IsLink(path.c_str()) != 0 ? 0 : FailOpen(path);
    }
    if ((attributes & SYS_ATTR_DIRECTORY) != 0) {
      return VisitFolder(path, name, depth + 1);
    }
    return (attributes & SYS_ATTR_DEVICE) != 0 ? 0 : VisitFile(path, name);
  }

 private:
  int VisitFile(const std::string& path, const std::string& name) {
    const SYS_HANDLE hFile = SYS_FILE_Open(path.c_str(), SYS_FILE_READ | SYS_FILE_SHARE_READ);
    if (hFile == SYS_INVALID_FILE) {
      return FailOpen(path);
    }
    const int result = m_pfOnFile(m_pContext, hFile, name.c_str());
    SYS_FILE_Close(hFile);
    return result < 0 ? -1 : 0;
  }
  // Links may lead in a circle: the depth ends that.
  int VisitFolder(const std::string& path, const std::string& name, u32 depth) {
    if (depth > m_MaxDepth) {
      APP_LogErrorf(APP_CAUSE::Programmer,
                    "Failed to parse files in '%s', exceeded max. folder depth (%d).",
                    ZELMONT_PrintPath(path).c_str(), m_MaxDepth);
      return -1;
    }
    std::vector<std::string> entries;
    if (SYS_DIR_Enum(path.c_str(), &entries, [](const SYS_DIR_ENTRY* pEntry, void* pContext) {
          static_cast<std::vector<std::string>*>(pContext)->emplace_back(pEntry->sName);
        }) < 0) {
      return FailFolder(path);
    }
    std::sort(entries.begin(), entries.end());  // the same order, and so the same log, each time
    for (const std::string& entry : entries) {
      if (Visit(ZELMONT_Join(path, entry), ZELMONT_Join(name, entry), depth) != 0) {
        return FailFolder(path);
      }
    }
    return 0;
  }
  // Once: the folders around it say nothing new.
  int FailFolder(const std::string& path) {
    if (!m_IsFolderTold) {
      APP_LogErrorf(APP_CAUSE::Programmer, "Failed to parse files in '%s'",
                    ZELMONT_PrintPath(path).c_str());
      m_IsFolderTold = true;
    }
    return -1;
  }
  static int FailOpen(const std::string& path) {
    char acText[1024];
    APP_FormatOpenError(ZELMONT_PrintPath(path).c_str(), acText, sizeof(acText));
    APP_LogError(APP_CAUSE::FileNotRead, acText);
    return -1;
  }

  const u32 m_MaxDepth;
  void* const m_pContext;
  ZELMONT_ON_FILE* const m_pfOnFile;
  bool m_IsFolderTold = false;
};

// The files of two walks: the first counts, so that one block can take all contents.
struct Batch {
  std::vector<ZELMONT_FILE_INFO> Files;
  std::unique_ptr<u8[]> pData;
  u64 NumFiles = 0;
  u64 NumBytes = 0;
  u64 NumUsed = 0;  // of NumBytes, by the files so far
};

// Each part has to be a name by itself: a host's name may hold what is a separator on the device.
bool IsPathOfNames(std::string_view path) {
  while (!path.empty()) {
    const std::size_t end = std::min(path.find('/'), path.size());
    if (!ZELMONT_IsFileName(path.substr(0, end))) {
      return false;
    }
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  return true;
}

int FailRead(const char* sName) {
  APP_LogErrorf(APP_CAUSE::FileNotRead, "\"%s\" cannot be read or was changed meanwhile.", sName);
  return -1;
}

// Everything that can be refused is, before the first byte is sent.
int CountFile(void* pContext, SYS_HANDLE hFile, const char* sName) {
  Batch& batch = *static_cast<Batch*>(pContext);
  if (!IsPathOfNames(sName)) {
    APP_LogErrorf(APP_CAUSE::Usage, "A programmer takes no name such as \"%s\".",
                  ZELMONT_PrintName(sName).c_str());
    return -1;
  }
  const i64 size = SYS_FILE_GetSize(hFile);
  ZELMONT_FILE_INFO info;
  if (size < 0) {
    return FailRead(sName);
  }
  if (!ZELMONT_SetFileInfo(&info, sName, nullptr, 0)) {
    return -1;
  }
  batch.NumFiles += 1;
  batch.NumBytes += static_cast<u64>(size);
  if (batch.NumBytes > kMaxTotal) {
    APP_LogErrorf(APP_CAUSE::DoesNotFit, "The files are too large for a programmer (\"%s\").",
                  sName);
    return -1;
  }
  return 0;
}

int LoadFile(void* pContext, SYS_HANDLE hFile, const char* sName) {
  Batch& batch = *static_cast<Batch*>(pContext);
  const i64 size = SYS_FILE_GetSize(hFile);
  u8* pData = batch.pData.get() + batch.NumUsed;
  const u64 numFree = batch.NumBytes - batch.NumUsed;
  if (size < 0 || static_cast<u64>(size) > numFree || batch.Files.size() == batch.NumFiles ||
      SYS_FILE_Read(hFile, pData, static_cast<u64>(size)) != size) {
    return FailRead(sName);
  }
  batch.NumUsed += static_cast<u64>(size);
  ZELMONT_FILE_INFO info;
  if (!ZELMONT_SetFileInfo(&info, ZELMONT_ToDevicePath(sName).c_str(), pData,
                           static_cast<u64>(size))) {
    return -1;
  }
  batch.Files.push_back(info);
  return 0;
}

// Two files that are one on the device, where letter case doesn't count: the second would replace
// the first. False: logged.
bool CheckNamesDiffer(const Batch& batch) {
  std::vector<const char*> names;
  for (const ZELMONT_FILE_INFO& file : batch.Files) {
    names.push_back(file.acName);
  }
  std::sort(names.begin(), names.end(),
            [](const char* a, const char* b) { return UTIL_stricmp(a, b) < 0; });
  const auto twice =
      std::adjacent_find(names.begin(), names.end(),
                         [](const char* a, const char* b) { return UTIL_stricmp(a, b) == 0; });
  if (twice == names.end()) {
    return true;
  }
  APP_LogErrorf(APP_CAUSE::Usage, "Two of the files would both be \"%s\" on the programmer.",
                *twice);
  return false;
}

// False: logged.
bool LoadBatch(const char* pNames, u32 numNames, Batch* pBatch) {
  if (APP_WalkFiles(pNames, numNames, ZELMONT_MAX_FOLDER_DEPTH, pBatch, CountFile) != 0) {
    return false;
  }
  pBatch->pData.reset(new (std::nothrow) u8[pBatch->NumBytes]);
  if (pBatch->pData == nullptr) {
    APP_LogError(APP_CAUSE::OutOfMemory, "Insufficient memory!");
    return false;
  }
  pBatch->Files.reserve(pBatch->NumFiles);
  if (APP_WalkFiles(pNames, numNames, ZELMONT_MAX_FOLDER_DEPTH, pBatch, LoadFile) != 0) {
    return false;
  }
  if (pBatch->Files.size() != pBatch->NumFiles) {
    APP_LogError(APP_CAUSE::FileNotRead, "Files were removed while they were read.");
    return false;
  }
  return CheckNamesDiffer(*pBatch);
}

}  // namespace

int APP_WalkFiles(const char* pNames, u32 NumNames, u32 MaxDepth, void* pContext,
                  ZELMONT_ON_FILE* pfOnFile) {
  Walker walker(MaxDepth, pContext, pfOnFile);
  for (std::string& path : ZELMONT_SplitNames(pNames, NumNames)) {
    SYS_PATH_ToNative(path.data());
    while (path.size() > 1 && path.back() == '/') {
      path.pop_back();
    }
    // Without a separator rfind gives npos, and the whole path is the name.
    if (walker.Visit(path, path.substr(path.rfind('/') + 1), 0) != 0) {
      return -1;
    }
  }
  return 0;
}

int APP_SendLocalFiles(const char* pNames, u32 NumNames, const char* sDeviceDir) {
  Batch batch;
  if (!LoadBatch(pNames, NumNames, &batch)) {
    return -1;
  }
  const APP_PROGRESS progress("");
  return APP_DownloadFileList(ZELMONT_LABEL, sDeviceDir, batch.Files.data(),
                              static_cast<u32>(batch.Files.size()), progress.Get());
}
