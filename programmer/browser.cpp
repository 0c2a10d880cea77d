#include "programmer/browser.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "flash/connect.h"
#include "flash/driver.h"
#include "programmer/modules.h"
#include "programmer/transfer_internal.h"
#include "sys/util_format.h"
#include "sys/util_string.h"

namespace {

constexpr char kNotSupported[] = "The connected probe/ programmer does not support file I/O.";
constexpr i32 kCapRename = VORTIC_CAP_RENAME;
constexpr u32 kNicknameOffset = 80;
constexpr u32 kNicknameSize = 32;
constexpr u8 kMaxNicknameStart = 254;  // 255: memory that was never written
constexpr i32 kNoSerial = -1;

// Of the programmer that Check has seen: a request must never work on another one, to which the
// cable was moved meanwhile. Application thread.
i32 SessionSerial = kNoSerial;

template <std::size_t N>
std::string_view TextOf(const char (&acText)[N]) {
  return {acText, strnlen(acText, N)};
}

// The folder as the device takes it, "\A\B\" for "/A/B" or "A\B\". Parts that are no plain names
// are refused: what a device makes of ".." is anybody's guess.
bool ToFolder(std::string_view path, std::string* pFolder) {
  *pFolder = "\\";
  for (std::string_view rest = path; !rest.empty();) {
    const std::size_t end = std::min(rest.find_first_of("/\\"), rest.size());
    const std::string_view part = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (part.empty()) {
      continue;
    }
    if (!ZELMONT_IsFileName(part)) {
      APP_LogErrorf(APP_CAUSE::Usage, "'%s' is no folder of a programmer.",
                    ZELMONT_PrintName(path).c_str());
      return false;
    }
    pFolder->append(part).push_back('\\');
  }
  return true;
}

bool CheckName(std::string_view name) {
  if (ZELMONT_IsFileName(name)) {
    return true;
  }
  APP_LogErrorf(APP_CAUSE::Usage, "'%s' is no plain file name.", ZELMONT_PrintName(name).c_str());
  return false;
}

// Whether a call did what it should: some failures are told through the library's error handler
// alone.
class CallWatch {
 public:
  bool IsGood(i32 result) const { return result >= 0 && APP_GetErrorCount() == m_NumErrors; }

 private:
  const u32 m_NumErrors = APP_GetErrorCount();
};

bool Delete(const std::string& path) {
  const CallWatch watch;
  if (watch.IsGood(VORTIC_FileDelete(path.c_str()))) {
    return true;
  }
  APP_LogErrorf(APP_CAUSE::Programmer, "Failed to delete '%s'.", path.c_str());
  return false;
}

bool Rename(const std::string& oldPath, const std::string& newPath) {
  const CallWatch watch;
  auto* const pfRename = VORTIC_GetFunctionAs<VORTIC_RENAME>(VORTIC_FUNC_RENAME);
  const int result =
      pfRename != nullptr ? pfRename(newPath.c_str(), oldPath.c_str()) : VORTIC_ERR_UNSUPPORTED;
  if (watch.IsGood(result)) {
    return true;
  }
  if (result == VORTIC_ERR_UNSUPPORTED) {
    APP_LogError(APP_CAUSE::Programmer, kNotSupported);
  }
  APP_LogErrorf(APP_CAUSE::Programmer, "Failed to rename '%s' to '%s'.", oldPath.c_str(),
                newPath.c_str());
  return false;
}

// Empty paths only ask whether there is such a function.
bool HasFileFunctions() {
  if (!VORTIC_HasCapability(ZELMONT_CAP_FILES) || !VORTIC_HasCapability(kCapRename)) {
    return false;
  }
  auto* const pfList = VORTIC_GetFunctionAs<VORTIC_LIST_DIR>(VORTIC_FUNC_LIST_DIR);
  auto* const pfRename = VORTIC_GetFunctionAs<VORTIC_RENAME>(VORTIC_FUNC_RENAME);
  return pfList != nullptr && pfList("", nullptr, 0) != VORTIC_ERR_UNSUPPORTED &&
         pfRename != nullptr && pfRename("", "") != VORTIC_ERR_UNSUPPORTED;
}

// The nickname is what somebody has written into the programmer: not terminated, perhaps garbage.
std::string GetDeviceName(i32 serial) {
  std::array<u8, kNicknameSize> abName{};
  const bool isRead = VORTIC_ReadConfigMem(abName.data(), kNicknameOffset, kNicknameSize) >= 0;
  if (isRead && abName[0] != 0 && abName[0] <= kMaxNicknameStart) {
    const std::string name(abName.begin(), std::find(abName.begin(), abName.end(), 0));
    return "'" + ZELMONT_PrintName(name) + "'";
  }
  return serial >= 0 ? "S/N " + std::to_string(serial) : "";
}

// All of the following: 0, or -1 reported.

int Check(ZELMONT_FILE_REQUEST* pRequest) {
  SessionSerial = kNoSerial;
  pRequest->acPath[0] = '\0';
  if (ZELMONT_Connect() != 0) {
    return -1;
  }
  const CallWatch watch;
  if (!HasFileFunctions()) {
    APP_LogError(APP_CAUSE::Programmer, kNotSupported);
    return -1;
  }
  const i32 serial = VORTIC_GetSN();
  UTIL_strcpy(pRequest->acPath, GetDeviceName(serial).c_str(), sizeof(pRequest->acPath));
  if (!watch.IsGood(0)) {
    return -1;
  }
  SessionSerial = std::max(serial, kNoSerial);
  return 0;
}

// A connection to a flash is given up: fast mode and files don't go together.
int EnsureOpen() {
  if (PROBE_IsOpen() && !FLASH_IsConnected()) {
    return 0;
  }
  if (ZELMONT_Connect() != 0) {
    return -1;
  }
  const i32 serial = SessionSerial != kNoSerial ? VORTIC_GetSN() : kNoSerial;
  if (serial == SessionSerial) {
    return 0;
  }
  APP_LogErrorf(APP_CAUSE::NoProbe, "Another programmer is connected now (S/N %d instead of %d).",
                serial, SessionSerial);
  return -1;
}

// Reads into a buffer of its own: a browser's window must not wait for a cable.
int List(const std::string& folder, ZELMONT_FILE_LIST* pList) {
  u32 capacity = 0;
  {
    const SYS_LOCK_GUARD lock(pList->Lock);
    capacity = std::clamp(pList->EntryCapacity, ZELMONT_FIRST_ENTRIES, ZELMONT_MAX_LIST_ENTRIES);
  }
  const CallWatch watch;
  ZELMONT_LISTING listing;
  i32 count = ZELMONT_ReadListing(folder, capacity, &listing);
  while (count > static_cast<i32>(capacity) && capacity < ZELMONT_MAX_LIST_ENTRIES) {
    capacity =
        static_cast<u32>(std::min<u64>(u64{2} * static_cast<u32>(count), ZELMONT_MAX_LIST_ENTRIES));
    count = ZELMONT_ReadListing(folder, capacity, &listing);
  }
  if (!watch.IsGood(count)) {
    APP_LogErrorf(APP_CAUSE::Programmer, "Failed to list '%s'.", folder.c_str());
    return -1;
  }
  const u32 numReported = static_cast<u32>(count);
  if (numReported > capacity) {
    AddLogLine("The folder has more entries than can be shown.");
  }
  if (listing.NumRefused != 0) {
    AddLogLine(("Not shown, no plain file names: " + listing.Refused).c_str());
  }
  const SYS_LOCK_GUARD lock(pList->Lock);
  pList->aEntries.swap(listing.Entries);
  pList->EntryCapacity = capacity;
  pList->NumReported = numReported;
  pList->NumRefused = listing.NumRefused;
  return 0;
}

// Whether the folder's parent has an entry of that name already. Letter case doesn't count, as it
// doesn't for the file systems that programmers have.
int CheckIsNew(const std::string& parent, const std::string& name) {
  ZELMONT_FILE_LIST list;
  list.EntryCapacity = ZELMONT_MAX_DIR_ENTRIES;
  if (List(parent, &list) != 0) {
    return -1;
  }
  for (const ZELMONT_DIR_ENTRY& entry : list.aEntries) {
    if (UTIL_stricmp(entry.acName, name.c_str()) == 0) {
      APP_LogErrorf(APP_CAUSE::Programmer, "'%s%s' exists already.", parent.c_str(), name.c_str());
      return -1;
    }
  }
  return 0;
}

// A programmer makes the folders of a file that is written, so a file that comes and goes leaves
// one. In a folder that is there already that file might be somebody's.
int NewFolder(std::string folder) {
  folder.pop_back();  // the separator
  const std::size_t nameAt = folder.rfind('\\') + 1;
  if (folder.empty()) {
    APP_LogError(APP_CAUSE::Usage, "'' is no plain file name.");
    return -1;
  }
  if (CheckIsNew(folder.substr(0, nameAt), folder.substr(nameAt)) != 0) {
    return -1;
  }
  static constexpr u8 kByte = 0;
  const std::string file = folder + "\\tmp.txt";
  const CallWatch watch;
  const i32 numWritten = VORTIC_FileWrite(file.c_str(), &kByte, 0, 1);
  if (numWritten != 1 || !watch.IsGood(numWritten)) {
    APP_LogErrorf(APP_CAUSE::Programmer, "Failed to create folder '%s'.", folder.c_str());
    return -1;
  }
  return Delete(file) ? 0 : -1;
}

// Names that a browser shows have been judged, but a wrong one here would delete or move something
// else. The first failure ends it; what was done before is told then.
template <class F>
int ForEachName(const ZELMONT_NAME_BLOCK& names, const char* sProgress, const char* sDone, F&& f) {
  const std::vector<std::string> all = ZELMONT_SplitNames(names.Block.c_str(), names.NumNames);
  if (!std::all_of(all.begin(), all.end(), CheckName)) {
    return -1;
  }
  const APP_PROGRESS progress(sProgress);
  PROGRESS_SetRange(progress.Get(), 0, names.NumNames);
  u32 numDone = 0;
  for (const std::string& name : all) {
    if (progress.IsCanceled()) {
      APP_LogError(APP_CAUSE::Canceled, "Canceled by user");
      break;
    }
    if (!f(name)) {
      break;
    }
    PROGRESS_SetValue(progress.Get(), ++numDone);
  }
  if (numDone == names.NumNames) {
    return 0;
  }
  if (names.NumNames > 1) {
    APP_LogErrorf(APP_CAUSE::Programmer, "%u of %u entries %s.", numDone, names.NumNames, sDone);
  }
  return -1;
}

int Move(const std::string& folder, const ZELMONT_FILE_REQUEST& request) {
  std::string target;
  if (!ToFolder(TextOf(request.Params.acTargetDir), &target)) {
    return -1;
  }
  target.erase(0, 1);  // it is relative
  return ForEachName(request.Names, "Moving...", "moved", [&](const std::string& name) {
    return Rename(folder + name, folder + target + name);
  });
}

int RenameOne(const std::string& folder, const ZELMONT_FILE_REQUEST& request) {
  const std::string oldName(TextOf(request.Params.Rename.acOldName));
  const std::string newName(TextOf(request.Params.Rename.acNewName));
  return CheckName(oldName) && CheckName(newName) && Rename(folder + oldName, folder + newName)
             ? 0
             : -1;
}

int Upload(const std::string& folder, const ZELMONT_FILE_REQUEST& request) {
  const std::string localDir(TextOf(request.Params.acLocalDir));
  if (localDir.empty()) {
    APP_LogError(APP_CAUSE::Usage, "No destination directory.");
    return -1;
  }
  const APP_PROGRESS progress("Uploading...");
  return APP_UploadFiles(ZELMONT_LABEL, progress.Get(), localDir.c_str(), folder.c_str(),
                         request.Names.Block.c_str(), request.Names.NumNames,
                         ZELMONT_MAX_FOLDER_DEPTH);
}

// The requests of an open session that work in a folder.
int RunInFolder(const ZELMONT_FILE_REQUEST& request) {
  std::string folder;
  if (!ToFolder(TextOf(request.acPath), &folder) || EnsureOpen() != 0) {
    return -1;
  }
  switch (request.Type) {
    case ZELMONT_REQ_LIST:
      return List(folder, request.Params.pList);
    case ZELMONT_REQ_NEW_FOLDER:
      return NewFolder(folder);
    case ZELMONT_REQ_DOWNLOAD:
      return APP_SendLocalFiles(request.Names.Block.c_str(), request.Names.NumNames,
                                folder.c_str());
    case ZELMONT_REQ_UPLOAD:
      return Upload(folder, request);
    case ZELMONT_REQ_MOVE:
      return Move(folder, request);
    case ZELMONT_REQ_DELETE:
      return ForEachName(request.Names, "Deleting...", "deleted",
                         [&](const std::string& name) { return Delete(folder + name); });
    case ZELMONT_REQ_RENAME:
      return RenameOne(folder, request);
    default:
      APP_LogErrorf(APP_CAUSE::Internal, "Unknown file request %u.", request.Type);
      return -1;
  }
}

constexpr const char* kHeadlines[] = {
    "Checking file I/O of probe/ programmer...",
    "Listing folder...",
    "Creating folder...",
    "Downloading files to programmer...",
    "Uploading files from programmer...",
    "Moving files on programmer...",
    "Deleting files on programmer...",
    "Renaming file on programmer...",
    "Closing file access...",
};

}  // namespace

void ZELMONT_ExecRequest(ZELMONT_FILE_REQUEST* pRequest) {
  const u32 type = pRequest->Type;
  const APP_LOG_SECTION section(type < std::size(kHeadlines) ? kHeadlines[type] : "");
  if (type == ZELMONT_REQ_CLOSE) {
    ZELMONT_Disconnect();
    SessionSerial = kNoSerial;
    pRequest->Result = 0;
    return;
  }
  pRequest->Result = type == ZELMONT_REQ_CHECK ? Check(pRequest) : RunInFolder(*pRequest);
  // What a link is worth after a failure nobody knows; the next request makes it anew.
  if (pRequest->Result != 0) {
    ZELMONT_Disconnect();
  }
}
