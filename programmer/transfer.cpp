#include "programmer/transfer.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "flash/driver.h"
#include "image/crc.h"
#include "programmer/transfer_internal.h"
#include "sys/util_format.h"
#include "sys/util_string.h"

namespace {

// What some file system takes for something else than a part of a name: separators of either side,
// drives, patterns.
constexpr std::string_view kReserved = "<>:\"/\\|?*";
constexpr u32 kMaxPrinted = 80;  // bytes of a name in a log line
constexpr u32 kFirstMajorWithApps = 5;

// What is known of a file on the device. Unknown: the link failed in the call that would have
// removed the old one. NotCreated: the device doesn't show it, but nobody knows whether that is
// because the link is gone.
enum class RemoteState { Unchanged, Unknown, Removed, NotCreated, Incomplete, Complete };

constexpr const char* GetText(RemoteState state) {
  switch (state) {
    case RemoteState::Unchanged:
      return "unchanged";
    case RemoteState::Unknown:
      return "in an unknown state";
    case RemoteState::Removed:
      return "removed";
    case RemoteState::NotCreated:
      return "missing, or incomplete and must not be used";
    case RemoteState::Incomplete:
      return "incomplete and must not be used";
    case RemoteState::Complete:
      return "complete";
  }
  return "";
}

bool IsControl(char c) {
  return static_cast<u8>(c) < 0x20 || c == 0x7F;
}

std::string GetName(const ZELMONT_FILE_INFO& file) {
  return {file.acName, strnlen(file.acName, sizeof(file.acName))};
}

// Sends files one after the other and knows how far that has come.
class Sender {
 public:
  Sender(const char* sLabel, const char* sPrefix, PROGRESS_INFO* pProgress)
      : m_Label(sLabel), m_Prefix(sPrefix), m_pProgress(pProgress) {}
  // 0 or -1, the cause logged. GetState then tells what became of the file.
  int Send(const ZELMONT_FILE_INFO& file);
  RemoteState GetState() const { return m_State; }

 private:
  // All: 0, or -1 with the cause logged and m_State telling what is left.
  int Remove();
  int Download(const ZELMONT_FILE_INFO& file);
  int Replace(const ZELMONT_FILE_INFO& file);
  int WritePieces(const ZELMONT_FILE_INFO& file);
  void Discard();
  void ShowProgressText(const std::string& text) { PROGRESS_SetText(m_pProgress, text.c_str()); }

  const std::string m_Label;
  const std::string m_Prefix;
  PROGRESS_INFO* const m_pProgress;
  std::string m_Path;  // of the current file
  RemoteState m_State = RemoteState::Unchanged;
};

int Sender::Send(const ZELMONT_FILE_INFO& file) {
  m_Path = m_Prefix + ZELMONT_ToDevicePath(GetName(file));
  m_State = RemoteState::Unchanged;
  return file.NumBytes < 0 ? Remove() : Download(file);
}

// A file that isn't there is as good as removed.
int Sender::Remove() {
  const std::string text = "Removing \"" + m_Path + "\" from " + m_Label + "...";
  APP_LogInfo(text.c_str());
  ShowProgressText(text);
  const u32 numErrors = APP_GetErrorCount();
  const bool isRefused = VORTIC_FileDelete(m_Path.c_str()) < 0;
  if (APP_GetErrorCount() == numErrors && (!isRefused || VORTIC_FileGetSize(m_Path.c_str()) < 0)) {
    m_State = RemoteState::Removed;
    return 0;
  }
  APP_LogErrorf(APP_CAUSE::Programmer, "Could not remove \"%s\" from %s.", m_Path.c_str(),
                m_Label.c_str());
  return -1;
}

// A cancel counts even when it comes behind the last piece: the user was told that it would end the
// download. The file is whole then and stays.
int Sender::Download(const ZELMONT_FILE_INFO& file) {
  APP_LogBeginf("Downloading file to %s [%s] ...", m_Label.c_str(), m_Path.c_str());
  APP_LogInfof("0x%X (%d) bytes", file.NumBytes, file.NumBytes);
  APP_LogInfof("File CRC-32  = 0x%.8X", file.CRC32);
  APP_LogInfof("File CRC-32C = 0x%.8X", file.CRC32C);
  ShowProgressText("Downloading \"" + GetName(file) + "\" to \"" + m_Label + "\"...");
  PROGRESS_SetRange(m_pProgress, 0, static_cast<u32>(file.NumBytes));
  PROGRESS_SetValue(m_pProgress, 0);
  PROGRESS_CountBytes(m_pProgress);
  int result = Replace(file);
  if (ZELMONT_IsCanceled(m_pProgress)) {
    result = -1;
  }
  APP_LogEndEx(result == 0 ? "File downloaded successfully" : nullptr);
  return result;
}

// The old file goes first, so that there is room. A stop that comes before that leaves it.
int Sender::Replace(const ZELMONT_FILE_INFO& file) {
  if (APP_IsOperationAlive() == 0) {
    return -1;
  }
  const u32 numErrors = APP_GetErrorCount();
  // Only a file has a size: deleting a folder of that name would take all of its files along.
  if (VORTIC_FileGetSize(m_Path.c_str()) >= 0 && VORTIC_FileDelete(m_Path.c_str()) >= 0) {
    m_State = RemoteState::Removed;
  }
  if (APP_GetErrorCount() != numErrors) {
    m_State = RemoteState::Unknown;
    return -1;
  }
  // Reserves the whole size: a full programmer says so before anything is on its way.
  if (VORTIC_FileWrite(m_Path.c_str(), nullptr, static_cast<u32>(file.NumBytes), 0) < 0) {
    APP_LogErrorf(APP_CAUSE::Programmer, "Could not create \"%s\" (%d bytes) on %s.",
                  m_Path.c_str(), file.NumBytes, m_Label.c_str());
    m_State = RemoteState::NotCreated;
    Discard();
    return -1;
  }
  m_State = RemoteState::Incomplete;
  // An error that the library told without a result makes the content doubtful as well.
  if (WritePieces(file) != 0 || APP_GetErrorCount() != numErrors) {
    Discard();
    return -1;
  }
  m_State = RemoteState::Complete;
  return 0;
}

// 0 when all is written; -1 after a failure, which is logged, or a stop. A piece that was taken in
// part goes on where that ended.
int Sender::WritePieces(const ZELMONT_FILE_INFO& file) {
  const u32 numBytes = static_cast<u32>(file.NumBytes);
  u32 numDone = 0;
  while (numDone < numBytes) {
    if (APP_IsOperationAlive() == 0) {
      return -1;
    }
    const u32 numPiece = std::min(numBytes - numDone, ZELMONT_MAX_TRANSFER);
    const i32 result = VORTIC_FileWrite(m_Path.c_str(), file.pData + numDone, numDone, numPiece);
    if (result < 1 || static_cast<u32>(result) > numPiece) {
      APP_LogErrorf(
          APP_CAUSE::Programmer,
          "Error while writing file content to %s. Offset: %d. NumBytes Remaining: %d FileName: "
          "%s.",
          m_Label.c_str(), numDone, numBytes - numDone, m_Path.c_str());
      return -1;
    }
    numDone += static_cast<u32>(result);
    PROGRESS_SetValue(m_pProgress, numDone);
  }
  return 0;
}

// A reserved file has its full size from the start and would pass for a whole one. With the link
// gone neither call succeeds, and the state stays what it was when it was last known.
void Sender::Discard() {
  if (m_State == RemoteState::NotCreated && VORTIC_FileGetSize(m_Path.c_str()) < 0) {
    return;  // nothing is there, or a folder, which stays
  }
  if (VORTIC_FileDelete(m_Path.c_str()) >= 0) {
    m_State = RemoteState::Removed;
  } else if (VORTIC_FileGetSize(m_Path.c_str()) >= 0) {
    m_State = RemoteState::Incomplete;
  }
}

// Which programmers take app files; the user may know that there is none in the config.
void WarnOldHardware() {
  constexpr u32 kMajorUnit = 10000;  // minor and revision have two digits each, the product above
  if (VORTIC_GetHWVersion() / kMajorUnit % 100 < kFirstMajorWithApps) {
    APP_MsgBox(
        "Zelmont V4 or earlier detected. Storing *.pex files in the config file requires a "
        "Zelmont V5 or newer.",
        "OK", nullptr, 0, APP_ICON_INFORMATION, 0);
  }
}

}  // namespace

bool ZELMONT_IsFileName(std::string_view Name) {
  return !Name.empty() && Name.size() < ZELMONT_NAME_SIZE && Name != "." && Name != ".." &&
         std::none_of(Name.begin(), Name.end(), [](char c) {
           return IsControl(c) || kReserved.find(c) != std::string_view::npos;
         });
}

std::string ZELMONT_PrintPath(std::string_view Path) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string text;
  for (const char c : Path) {
    if (IsControl(c)) {
      text += {'\\', 'x', kHex[static_cast<u8>(c) >> 4], kHex[static_cast<u8>(c) & 0xF]};
    } else {
      text += c;
    }
  }
  return text;
}

std::string ZELMONT_PrintName(std::string_view Name) {
  return Name.size() <= kMaxPrinted
             ? ZELMONT_PrintPath(Name)
             : ZELMONT_PrintPath(Name.substr(0, UTIL_CutUtf8(Name.data(), kMaxPrinted))) + "...";
}

std::string ZELMONT_ToDevicePath(std::string_view Path) {
  std::string path(Path);
  std::replace(path.begin(), path.end(), '/', '\\');
  return path;
}

std::vector<std::string> ZELMONT_SplitNames(const char* pNames, u32 NumNames) {
  std::vector<std::string> names;
  for (u32 i = 0; i < NumNames; ++i) {
    names.emplace_back(pNames);
    pNames += names.back().size() + 1;
  }
  return names;
}

bool ZELMONT_IsCanceled(PROGRESS_INFO* pProgress) {
  if (PROGRESS_IsCanceled(pProgress) != 1) {
    return false;
  }
  APP_LogError(APP_CAUSE::Canceled, "Download canceled by user");
  return true;
}

bool ZELMONT_CheckCapability(i32 Capability) {
  if (VORTIC_HasCapability(Capability)) {
    return true;
  }
  APP_LogError(APP_CAUSE::Programmer,
               Capability == ZELMONT_CAP_FILES
                   ? "Connected programmer does not support file download."
                   : "Connected programmer does not support SPI in stand-alone mode.");
  return false;
}

bool ZELMONT_SetFileInfo(ZELMONT_FILE_INFO* pInfo, const char* sName, const void* pData,
                         u64 NumBytes) {
  *pInfo = {};
  if (std::strlen(sName) >= sizeof(pInfo->acName)) {
    APP_LogErrorf(APP_CAUSE::Usage, "The name \"%s\" is too long for a programmer.",
                  ZELMONT_PrintName(sName).c_str());
    return false;
  }
  if (NumBytes > static_cast<u64>(std::numeric_limits<i32>::max())) {
    APP_LogErrorf(APP_CAUSE::DoesNotFit, "\"%s\" is too large for a programmer (%lu bytes).", sName,
                  NumBytes);
    return false;
  }
  UTIL_strcpy(pInfo->acName, sName, sizeof(pInfo->acName));
  pInfo->pData = static_cast<const u8*>(pData);
  pInfo->NumBytes = static_cast<i32>(NumBytes);
  pInfo->CRC32 = CRC_Calc32(pData, NumBytes, 0);
  pInfo->CRC32C = CRC_Calc32C(pData, NumBytes, 0);
  return true;
}

int APP_DownloadFileList(const char* sLabel, const char* sPrefix, const ZELMONT_FILE_INFO* paFiles,
                         u32 NumFiles, PROGRESS_INFO* pProgress) {
  WarnOldHardware();
  if (!ZELMONT_CheckCapability(ZELMONT_CAP_FILES) ||
      !ZELMONT_CheckCapability(ZELMONT_CAP_STANDALONE_SPI)) {
    return -1;
  }
  Sender sender(sLabel, ZELMONT_ToDevicePath(sPrefix).c_str(), pProgress);
  u32 numComplete = 0;
  u32 index = 0;
  bool isSent = true;
  for (; index < NumFiles && isSent; ++index) {
    isSent = sender.Send(paFiles[index]) == 0;
    if (isSent || sender.GetState() == RemoteState::Complete) {
      ++numComplete;
    }
  }
  if (isSent && APP_IsOperationAlive() != 0) {
    return 0;
  }
  APP_LogErrorf(APP_CAUSE::Programmer, "Failed to download file%s", NumFiles == 1 ? "" : "s");
  // Whoever goes on with the programmer has to know what it holds now.
  if (index != 0) {
    APP_LogErrorf(APP_CAUSE::Programmer, "State of %s: %u of %u file%s done, \"%s%s\" is %s.",
                  sLabel, numComplete, NumFiles, NumFiles == 1 ? "" : "s", sPrefix,
                  GetName(paFiles[index - 1]).c_str(), GetText(sender.GetState()));
  }
  return -1;
}
