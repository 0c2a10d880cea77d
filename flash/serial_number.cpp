#include "flash/serial_number.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "flash/erase.h"
#include "flash/operation.h"
#include "flash/side_file.h"
#include "sys/file_replace.h"
#include "sys/util_format.h"
#include "sys/util_number.h"
#include "text/file_error.h"

namespace {

constexpr u32 kMaxSNBytes = 32;
constexpr u64 kValueText = 64;  // bytes of the number's file that are looked at, less one
constexpr u64 kMaxValue = 0xFFFFFFFF;

using SerialData = std::array<u8, kMaxSNBytes>;

// The number's file while a run needs it: whoever else runs with the same numbers is refused.
SYS_HANDLE hHeldFile = SYS_INVALID_FILE;

// What the run has stamped; no bytes: nothing.
struct StampedData {
  u64 Addr = 0;
  u32 NumBytes = 0;
  SerialData Data{};
};
StampedData Stamped;

// Invalid: what the file holds isn't a number for sure, and only a run is told so. Failed has been
// reported.
enum class LoadResult { Loaded, NoFile, Invalid, Failed };

u32 GetNumSNBytes(const PROJ_PRODUCTION& production) {
  return std::min(production.SNLen, kMaxSNBytes);
}

// The number that the text starts with, 0 for any other text. False unless the text is that number
// and nothing else: taken for another number, it could be given away twice.
bool ParseValue(std::string_view Text, u32* pValue) {
  const bool isHex = Text.starts_with("0x") || Text.starts_with("0X");
  const u32 base = isHex ? 16 : 10;
  const std::size_t start = isHex ? 2 : 0;
  std::size_t pos = start;
  u64 value = 0;
  for (; pos < Text.size() && value <= kMaxValue; ++pos) {
    const int digit = UTIL_HexDigit(Text[pos]);
    if (digit < 0 || static_cast<u32>(digit) >= base) {
      break;
    }
    value = value * base + static_cast<u32>(digit);
  }
  if (value > kMaxValue) {
    return false;
  }
  *pValue = static_cast<u32>(value);
  const bool isEnded = pos == Text.size() || std::strchr(" \t\r\n", Text[pos]) != nullptr;
  return pos != start && isEnded && pos < kValueText - 1;
}

LoadResult LoadValue(u32* pValue) {
  SideFile file("_Serial");
  if (file.GetState() == SideFile::State::NoName) {
    APP_ShowError(APP_CAUSE::SerialNumber, "Failed to get S/N file name");
  }
  if (file.GetState() != SideFile::State::Open) {
    return file.GetState() == SideFile::State::Missing ? LoadResult::NoFile : LoadResult::Failed;
  }
  std::array<char, kValueText> acText{};
  if (file.Read(acText.data(), acText.size() - 1) < 0) {
    return LoadResult::Failed;
  }
  return ParseValue(acText.data(), pValue) ? LoadResult::Loaded : LoadResult::Invalid;
}

void ReportInvalid() {
  std::array<char, SYS_MAX_PATH> acName{};
  PROJECT_GetSideFileName("_Serial", acName.data(), acName.size());
  APP_LogErrorf(
      APP_CAUSE::SerialNumber,
      "File [%s], line 1: not a serial number. It is decimal, or hexadecimal behind 0x, and has at "
      "most 32 bits.",
      acName.data());
}

int ReportWrite(const char* sName) {
  char acError[1024];
  APP_FormatFileError(sName, "write", acError, sizeof(acError));
  APP_LogError(APP_ERROR(APP_CAUSE::FileNotWritten).In(sName), acError);
  return -1;
}

int ReportHold(const char* sName) {
  if (SYS_GetLastError() == SYS_ERROR_SHARING_VIOLATION) {
    APP_LogErrorf(APP_CAUSE::SerialNumber,
                  "File [%s] is in use: another run gives away the serial numbers of this project.",
                  sName);
    return -1;
  }
  return ReportWrite(sName);
}

// Flags: as for SYS_FILE_EndReplaceEx. 0, or -1 not reported.
int WriteValue(const char* sName, u32 Value, u32 Flags) {
  const SYS_HANDLE h = SYS_FILE_BeginReplace(sName, true);
  if (h == SYS_INVALID_FILE) {
    return -1;
  }
  std::array<char, 16> acText{};
  const int length = UTIL_snprintf(acText.data(), acText.size(), "%u", Value);
  if (SYS_FILE_Write(h, acText.data(), static_cast<u64>(length)) != length) {
    const u32 error = SYS_GetLastError();
    SYS_FILE_EndReplace(h, false);
    SYS_SetLastError(error);
    return -1;
  }
  return SYS_FILE_EndReplaceEx(h, Flags);
}

// Without a file there is nothing to hold. One that another run has created meanwhile is as good.
// 0, or -1 reported.
int CreateFile(u32 Value) {
  std::array<char, SYS_MAX_PATH> acName{};
  if (PROJECT_GetSideFileName("_Serial", acName.data(), acName.size()) != 0) {
    return -1;
  }
  const int result = WriteValue(acName.data(), Value, SYS_REPLACE_NEW | SYS_REPLACE_LASTING);
  return result == 0 || SYS_FILE_Exists(acName.data()) != 0 ? 0 : ReportWrite(acName.data());
}

// Takes the file from other runs and sees to it that the next number can be written behind this
// one, before the chip is touched: it may be write-protected, or stand in a folder that is. What
// only shows then, such as a full disk, still ends the run. 0, or -1 reported.
int HoldFile() {
  std::array<char, SYS_MAX_PATH> acName{};
  if (PROJECT_GetSideFileName("_Serial", acName.data(), acName.size()) != 0) {
    return -1;
  }
  hHeldFile = SYS_FILE_Open(acName.data(), SYS_FILE_READ | SYS_FILE_WRITE | SYS_FILE_SHARE_READ);
  if (hHeldFile == SYS_INVALID_FILE) {
    return ReportHold(acName.data());
  }
  const SYS_HANDLE hTrial = SYS_FILE_BeginReplace(acName.data(), false);
  return hTrial == SYS_INVALID_FILE ? ReportHold(acName.data())
                                    : SYS_FILE_EndReplace(hTrial, false);
}

// The number of this run, from the file and into the project. 0, or -1 reported.
int TakeValue(PROJ_PRODUCTION* pProduction) {
  LoadResult result = LoadValue(&pProduction->SNValue);
  if (result == LoadResult::NoFile) {
    if (CreateFile(pProduction->SNValue) != 0) {
      return -1;
    }
    result = LoadResult::Loaded;
  }
  if (result == LoadResult::Loaded) {
    if (HoldFile() != 0) {
      return -1;
    }
    // Another run may have counted on before the file was held.
    result = LoadValue(&pProduction->SNValue);
  }
  if (result == LoadResult::Invalid || result == LoadResult::NoFile) {
    ReportInvalid();
  }
  if (result != LoadResult::Loaded) {
    return -1;
  }
  PROJECT_SetProduction(pProduction);
  return 0;
}

// 0, or -1 reported.
int Fetch(const PROJ_PRODUCTION& production, SerialData* pData) {
  const u32 numBytes = GetNumSNBytes(production);
  const ListResult result = SERIAL_FetchFromList(production.SNValue, pData->data(), numBytes);
  if (result == ListResult::NoList) {
    if (u64{production.SNValue} >> (8 * std::min(numBytes, 4u)) != 0) {
      APP_LogErrorf(APP_CAUSE::SerialNumber, "Serial number %u does not fit into %u bytes.",
                    production.SNValue, numBytes);
      return -1;
    }
    UTIL_StoreU32LE(pData->data(), production.SNValue);
    UTIL_StoreU32LE(pData->data() + 4, ~production.SNValue);
  }
  return result == ListResult::Failed ? -1 : 0;
}

// Else the data would be stamped nowhere on the chip, and the unit would pass without a number, or
// it would be stamped on every unit.
bool CanStamp(const PROJ_PRODUCTION& production) {
  const u64 first = production.SNAddr;
  const u64 numBytes = GetNumSNBytes(production);
  if (numBytes == 0) {
    APP_LogError(APP_CAUSE::SerialNumber, "The serial number has a length of 0 bytes.");
    return false;
  }
  if (production.SNInc == 0) {
    APP_LogError(APP_CAUSE::SerialNumber,
                 "The increment of the serial number is 0: all units would get the same number.");
    return false;
  }
  if (first + numBytes > FLASH_GetTotalSize()) {
    APP_LogErrorf(APP_CAUSE::SerialNumber,
                  "Serial number (0x%lX - 0x%lX) does not fit into flash chip.", first,
                  first + numBytes - 1);
    return false;
  }
  return true;
}

// Edits that were not saved lie above the bytes of the image and would hide the number. 0, or -1
// reported.
int WriteStamp(MEMAREA* pArea) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  if (MEMAREA_CommitPatches(pArea) != 0 ||
      MEMAREA_Write(pArea, Stamped.Addr, Stamped.NumBytes, Stamped.Data.data()) != 0) {
    APP_LogError(APP_CAUSE::SerialNumber, "The serial number could not be written into the image.");
    return -1;
  }
  return 0;
}

// 0, or -1 reported.
int Stamp(MEMAREA* pArea, const PROJ_PRODUCTION& production, const SerialData& data) {
  Stamped = {production.SNAddr, GetNumSNBytes(production), data};
  if (WriteStamp(pArea) != 0) {
    return -1;
  }
  APP_LogInfof("Serial number %u stamped (%d bytes @ address 0x%.8X)", production.SNValue,
               Stamped.NumBytes, production.SNAddr);
  FLASH_Hooks.pfOnImageChanged(pArea);
  return 0;
}

// Where files can't be held, as on some network drives, another run may have given the number away.
bool IsStillNext(const PROJ_PRODUCTION& production, const char* sName) {
  u32 value = production.SNValue;
  const LoadResult result = LoadValue(&value);
  if (result == LoadResult::Failed) {
    return false;
  }
  if (result != LoadResult::Loaded || value != production.SNValue) {
    APP_LogErrorf(APP_CAUSE::SerialNumber,
                  "File [%s] has changed during the run: serial number %u may be given away twice.",
                  sName, production.SNValue);
    return false;
  }
  return true;
}

}  // namespace

// A file that isn't a number is a matter of the run that needs it, not of opening a project.
void SN_LoadValue(PROJ_PRODUCTION* pProduction) {
  PROJ_PRODUCTION own{};
  if (pProduction == nullptr) {
    PROJECT_GetProduction(&own);
  }
  const LoadResult result = LoadValue(&(pProduction != nullptr ? pProduction : &own)->SNValue);
  if (pProduction == nullptr && (result == LoadResult::Loaded || result == LoadResult::Invalid)) {
    PROJECT_SetProduction(&own);
  }
}

int SN_Prepare(MEMAREA* pArea) {
  SN_Release();
  PROJ_PRODUCTION production{};
  PROJECT_GetProduction(&production);
  if (production.ProgramSN == 0) {
    return 0;
  }
  SerialData data{};
  const bool isReady =
      TakeValue(&production) == 0 && CanStamp(production) && Fetch(production, &data) == 0;
  return isReady ? Stamp(pArea, production, data) : -1;
}

int SN_StampCopy(MEMAREA* pWork) {
  return Stamped.NumBytes != 0 ? WriteStamp(pWork) : 0;
}

// The file first: what the project knows counts only while there is no file.
int SN_Advance() {
  PROJ_PRODUCTION production{};
  PROJECT_GetProduction(&production);
  if (production.ProgramSN == 0) {
    return 0;
  }
  std::array<char, SYS_MAX_PATH> acName{};
  if (PROJECT_GetSideFileName("_Serial", acName.data(), acName.size()) != 0) {
    return -1;
  }
  if (!IsStillNext(production, acName.data())) {
    return -1;
  }
  const u64 next = static_cast<u64>(production.SNValue) + production.SNInc;
  if (next > kMaxValue) {
    APP_LogError(APP_CAUSE::SerialNumber,
                 "There is no further serial number.");  // the first ones are given away
    return -1;
  }
  production.SNValue = static_cast<u32>(next);
  if (WriteValue(acName.data(), production.SNValue, SYS_REPLACE_LASTING) != 0) {
    return ReportWrite(acName.data());
  }
  PROJECT_SetProduction(&production);
  return 0;
}

void SN_Release() {
  Stamped = {};
  if (hHeldFile != SYS_INVALID_FILE) {
    SYS_FILE_Close(hHeldFile);
    hHeldFile = SYS_INVALID_FILE;
  }
}
