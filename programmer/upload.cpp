#include <algorithm>
#include <cstring>
#include <vector>

#include "app/engine/log.h"
#include "flash/driver.h"
#include "programmer/listing.h"
#include "programmer/transfer_internal.h"
#include "sys/path.h"
#include "text/file_error.h"

// Files and folders of a programmer on their way to this computer. What the device tells of itself
// (names, sizes, counts) is not to be trusted.

namespace {

// Writes a local file that appears, whole, with Keep; until then what was there stays.
class LocalFile {
 public:
  explicit LocalFile(const std::string& path)
      : m_hFile(SYS_FILE_BeginReplace(path.c_str(), false)) {}
  ~LocalFile() {
    if (IsOpen()) {
      SYS_FILE_EndReplace(m_hFile, false);
    }
  }
  LocalFile(const LocalFile&) = delete;
  LocalFile& operator=(const LocalFile&) = delete;

  bool IsOpen() const { return m_hFile != SYS_INVALID_FILE; }
  bool Write(const u8* pData, u32 numBytes) {
    return SYS_FILE_Write(m_hFile, pData, numBytes) == static_cast<i64>(numBytes);
  }
  bool Keep() {
    const SYS_HANDLE hFile = m_hFile;
    m_hFile = SYS_INVALID_FILE;
    return SYS_FILE_EndReplace(hFile, true) == 0;
  }

 private:
  SYS_HANDLE m_hFile;
};

// One transfer, with all folders in it.
class Uploader {
 public:
  Uploader(const char* sLabel, PROGRESS_INFO* pProgress)
      : m_Label(sLabel), m_pProgress(pProgress) {}
  // 0, or -1 logged, which ends the transfer. A refused name doesn't.
  int Fetch(const std::string& destDir, const std::string& srcDir,
            const std::vector<std::string>& names, u32 depth);
  // 0, or -1 with the refused names logged.
  int TellRefused() const;

 private:
  int FetchFile(const std::string& destDir, const std::string& target, const std::string& source,
                u32 numBytes);
  int FetchFolder(const std::string& target, const std::string& source, u32 depth);
  int CopyContent(const std::string& source, const std::string& target, u32 numBytes,
                  LocalFile* pFile);
  int FailWrite(const std::string& target, u32 offset, u32 numLeft) const {
    APP_LogErrorf(APP_CAUSE::FileNotWritten,
                  "Error while writing to file. Offset: %d. NumBytes Remaining: %d FileName: %s.",
                  offset, numLeft, target.c_str());
    return -1;
  }
  bool List(const std::string& source, const std::string& target, std::vector<std::string>* pNames);
  void Refuse(const std::string& name, const char* sReason);
  void RefuseListed(const ZELMONT_LISTING& listing);

  const std::string m_Label;
  PROGRESS_INFO* const m_pProgress;
  std::vector<u8> m_Buffer;
  ZELMONT_LISTING m_Refused;  // for its refused names only
};

// False: the cause is logged.
bool MakeFolder(const std::string& dir) {
  if (SYS_DIR_Exists(dir.c_str()) != 0 || SYS_DIR_CreatePath((dir + "/").c_str()) == 0) {
    return true;
  }
  char acText[1024];
  APP_FormatFileError(dir.c_str(), "create", acText, sizeof(acText));
  APP_LogError(APP_CAUSE::FileNotWritten, acText);
  return false;
}

int Uploader::Fetch(const std::string& destDir, const std::string& srcDir,
                    const std::vector<std::string>& names, u32 depth) {
  if (!MakeFolder(destDir)) {
    return -1;
  }
  for (const std::string& name : names) {
    const std::string source = srcDir + name;
    const std::string target = ZELMONT_Join(destDir, name);
    if (!ZELMONT_IsFileName(name)) {
      Refuse(name, "is no plain file name");
      continue;
    }
    if (target.size() >= SYS_MAX_PATH) {
      Refuse(name, ("gives too long a path in " + destDir).c_str());
      continue;
    }
    // The user chose this folder, not what a link in it leads to.
    if (SYS_FILE_IsLink(target.c_str()) != 0) {
      Refuse(name, ("is a symbolic link in " + destDir).c_str());
      continue;
    }
    if (ZELMONT_IsCanceled(m_pProgress)) {
      return -1;
    }
    // Only the device knows what is a folder: a name from the caller's list doesn't tell.
    const i32 size = VORTIC_FileGetSize(source.c_str());
    const int result = size >= 0 ? FetchFile(destDir, target, source, static_cast<u32>(size))
                                 : FetchFolder(target, source, depth);
    if (result != 0) {
      return -1;
    }
  }
  return 0;
}

// The others still come: one bad name must not keep the user from his files.
void Uploader::Refuse(const std::string& name, const char* sReason) {
  AddLogLine(("Refused: \"" + ZELMONT_PrintName(name) + "\" " + sReason + ".").c_str());
  ZELMONT_RefuseName(name, &m_Refused);
}

// Those of a folder, which came named as far as a line has room.
void Uploader::RefuseListed(const ZELMONT_LISTING& listing) {
  if (listing.NumRefused == 0) {
    return;
  }
  AddLogLine(("Refused: " + listing.Refused + ": no plain file names.").c_str());
  ZELMONT_MergeRefused(listing, &m_Refused);
}

int Uploader::TellRefused() const {
  const u32 count = m_Refused.NumRefused;
  if (count == 0) {
    return 0;
  }
  APP_LogErrorf(APP_CAUSE::Programmer,
                "%u name%s on %s cannot be used on this computer and were left out: %s", count,
                count == 1 ? "" : "s", m_Label.c_str(), m_Refused.Refused.c_str());
  return -1;
}

// The file appears under its name when its last byte is there and flushed.
int Uploader::FetchFile(const std::string& destDir, const std::string& target,
                        const std::string& source, u32 numBytes) {
  APP_LogBeginf("Uploading \"%s\" (%d bytes) from %s to %s ...", source.c_str(), numBytes,
                m_Label.c_str(), destDir.c_str());
  const std::string text =
      "Uploading \"" + source + "\" from " + m_Label + " to " + destDir + " ...";
  PROGRESS_SetText(m_pProgress, text.c_str());
  PROGRESS_SetRange(m_pProgress, 0, numBytes);
  PROGRESS_SetValue(m_pProgress, 0);
  PROGRESS_CountBytes(m_pProgress);
  int result = -1;
  LocalFile file(target);
  if (!file.IsOpen()) {
    char acCause[1024];
    APP_FormatFileError(target.c_str(), "save", acCause, sizeof(acCause));
    APP_LogErrorf(APP_CAUSE::Programmer, "Could not create \"%s\" on %s.", source.c_str(),
                  destDir.c_str());
    APP_LogError(APP_CAUSE::FileNotWritten, acCause);
  } else {
    result = CopyContent(source, target, numBytes, &file);
  }
  APP_LogEnd();
  return result;
}

int Uploader::CopyContent(const std::string& source, const std::string& target, u32 numBytes,
                          LocalFile* pFile) {
  const u32 numErrors = APP_GetErrorCount();
  m_Buffer.resize(std::min(numBytes, ZELMONT_MAX_TRANSFER));
  for (u32 numDone = 0; numDone < numBytes;) {
    if (ZELMONT_IsCanceled(m_pProgress)) {
      return -1;
    }
    const u32 numLeft = numBytes - numDone;
    const u32 numPiece = std::min(numLeft, ZELMONT_MAX_TRANSFER);
    const i32 numRead = VORTIC_FileRead(source.c_str(), m_Buffer.data(), numDone, numPiece);
    // What the library complains of has no certain content, whatever the count says.
    if (numRead != static_cast<i32>(numPiece) || APP_GetErrorCount() != numErrors) {
      APP_LogErrorf(
          APP_CAUSE::Programmer,
          "Error while reading file content from %s. Offset: %d. NumBytes Remaining: %d FileName: "
          "%s.",
          m_Label.c_str(), numDone, numLeft, source.c_str());
      return -1;
    }
    if (!pFile->Write(m_Buffer.data(), numPiece)) {
      return FailWrite(target, numDone, numLeft);
    }
    numDone += numPiece;
    PROGRESS_SetValue(m_pProgress, numDone);
  }
  return pFile->Keep() ? 0 : FailWrite(target, numBytes, 0);
}

// An empty folder leaves nothing behind. The depth ends a programmer whose folders hold themselves.
int Uploader::FetchFolder(const std::string& target, const std::string& source, u32 depth) {
  if (depth == 0) {
    APP_LogErrorf(APP_CAUSE::Programmer,
                  "Failed to upload \"%s\" from %s to %s. Max. folder depth reached (%d)...",
                  source.c_str(), m_Label.c_str(), target.c_str(), ZELMONT_MAX_FOLDER_DEPTH);
    return -1;
  }
  std::vector<std::string> names;
  if (!List(source, target, &names)) {
    return -1;
  }
  return names.empty() ? 0 : Fetch(target, source + "\\", names, depth - 1);
}

// The count comes from the device; the buffer never grows beyond what a folder may hold.
bool Uploader::List(const std::string& source, const std::string& target,
                    std::vector<std::string>* pNames) {
  ZELMONT_LISTING listing;
  u32 capacity = ZELMONT_FIRST_ENTRIES;
  i32 count = ZELMONT_ReadListing(source, capacity, &listing);
  while (count > static_cast<i32>(capacity) && count <= static_cast<i32>(ZELMONT_MAX_DIR_ENTRIES)) {
    capacity = std::min(2 * static_cast<u32>(count), ZELMONT_MAX_DIR_ENTRIES);
    count = ZELMONT_ReadListing(source, capacity, &listing);
  }
  if (count > static_cast<i32>(ZELMONT_MAX_DIR_ENTRIES)) {
    APP_LogErrorf(APP_CAUSE::Programmer,
                  "Failed to upload \"%s\" from %s to %s. Max. number of entries reached (%d)...",
                  source.c_str(), m_Label.c_str(), target.c_str(), ZELMONT_MAX_DIR_ENTRIES);
    return false;
  }
  if (count < 0) {
    APP_LogErrorf(APP_CAUSE::Programmer,
                  "Failed to upload \"%s\" from %s to %s. It is neither a file nor a folder.",
                  source.c_str(), m_Label.c_str(), target.c_str());
    return false;
  }
  for (const ZELMONT_DIR_ENTRY& entry : listing.Entries) {
    pNames->emplace_back(entry.acName);
  }
  RefuseListed(listing);
  return true;
}

}  // namespace

int APP_UploadFiles(const char* sLabel, PROGRESS_INFO* pProgress, const char* sDestDir,
                    const char* sSrcDir, const char* pNames, u32 NumNames, u32 Depth) {
  std::string destDir = sDestDir;
  SYS_PATH_ToNative(destDir.data());
  while (destDir.size() > 1 && destDir.back() == '/') {
    destDir.pop_back();
  }
  if (!MakeFolder(destDir) || !ZELMONT_CheckCapability(ZELMONT_CAP_FILES)) {
    return -1;
  }
  const u32 numErrors = APP_GetErrorCount();
  Uploader uploader(sLabel, pProgress);
  const int result = uploader.Fetch(destDir, ZELMONT_ToDevicePath(sSrcDir),
                                    ZELMONT_SplitNames(pNames, NumNames), Depth);
  return uploader.TellRefused() != 0 || APP_GetErrorCount() != numErrors ? -1 : result;
}
