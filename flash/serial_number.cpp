#include "flash/serial_number.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "app/engine/files.h"
#include "flash/erase.h"
#include "flash/operation.h"
#include "project/text/file_error.h"
#include "sys/file.h"
#include "sys/util_format.h"
#include "sys/util_number.h"

namespace {

constexpr u32 kMaxSNBytes = 32;
constexpr u32 kValueText = 64;   // bytes of the number's file that are looked at
constexpr u32 kLineText = 256;   // the same for a line of the list
constexpr u64 kPiece = 0x10000;  // in which the list is searched
constexpr u64 kMaxValue = 0xFFFFFFFF;

// What one run stamps.
struct SerialData {
  std::array<u8, kMaxSNBytes> abSNData{};
  i64 SNListPos = -1;  // offset of the number's line; -1: there is no list
  std::array<char, SYS_MAX_PATH> acListFile{};
};

enum class LoadResult { Loaded, NoFile, Failed };

u32 GetNumSNBytes(const PROJ_PRODUCTION& production) {
  return std::min(production.SNLen, kMaxSNBytes);
}

// The number that the text starts with; 0 for any other text. False: it has more than 32 bits.
bool ParseValue(const char* sText, u32* pValue) {
  const bool isHex = sText[0] == '0' && (sText[1] == 'x' || sText[1] == 'X');
  const u32 base = isHex ? 16 : 10;
  u64 value = 0;
  for (const char* s = isHex ? sText + 2 : sText; value <= kMaxValue; ++s) {
    const int digit = UTIL_HexDigit(*s);
    if (digit < 0 || static_cast<u32>(digit) >= base) {
      break;
    }
    value = value * base + static_cast<u32>(digit);
  }
  if (value > kMaxValue) {
    return false;
  }
  *pValue = static_cast<u32>(value);
  return true;
}

// All but a missing file is told, except for a number that is too large: whoever only opens the
// project doesn't need it.
LoadResult LoadValue(PROJ_PRODUCTION* pProduction, bool* pIsTooLarge) {
  std::array<char, SYS_MAX_PATH> acName{};
  *pIsTooLarge = false;
  if (PROJECT_GetSideFileName("_Serial", acName.data(), acName.size()) != 0) {
    APP_ShowError("Failed to get S/N file name");
    return LoadResult::Failed;
  }
  std::array<char, kValueText> acText{};
  u64 numRead = 0;
  if (APP_LoadFileEx(acName.data(), 0, acText.data(), acText.size(), acText.size(), &numRead,
                     false) == nullptr) {
    return SYS_GetLastError() == SYS_ERROR_FILE_NOT_FOUND ? LoadResult::NoFile : LoadResult::Failed;
  }
  acText.back() = '\0';
  *pIsTooLarge = !ParseValue(acText.data(), &pProduction->SNValue);
  return *pIsTooLarge ? LoadResult::Failed : LoadResult::Loaded;
}

// Offset of the line with this index, the file's size when it has too few, or -1 reported.
i64 FindLine(SYS_HANDLE hFile, const char* sName, u32 Index) {
  const std::unique_ptr<u8[]> pPiece = AllocBuffer(kPiece);
  if (pPiece == nullptr) {
    APP_LogErrorf("Failed to allocate %llu bytes of memory", kPiece);
    return -1;
  }
  i64 offset = 0;
  while (Index != 0) {
    const i64 numRead = APP_ReadFile(hFile, sName, pPiece.get(), kPiece);
    if (numRead <= 0) {
      return numRead < 0 ? -1 : offset;
    }
    const u8* const pEnd = pPiece.get() + numRead;
    const u8* p = pPiece.get();
    while (Index != 0 && (p = std::find(p, pEnd, u8{'\n'})) != pEnd) {
      ++p;
      --Index;
    }
    offset += Index != 0 ? numRead : p - pPiece.get();
  }
  return offset;
}

// 0, or -1 reported. A list that is there but can't be read must not pass for none.
int LocateInList(const PROJ_PRODUCTION& production, SerialData* pSerial) {
  char* sName = pSerial->acListFile.data();
  if (PROJECT_GetSideFileName("_SNList", sName, SYS_MAX_PATH) != 0) {
    APP_LogError("Failed to get S/N list file name.");
    return -1;
  }
  const SYS_HANDLE hFile = SYS_FILE_Open(sName, SYS_FILE_READ | SYS_FILE_SHARE_READ);
  if (hFile == SYS_INVALID_FILE) {
    if (SYS_GetLastError() == SYS_ERROR_FILE_NOT_FOUND) {
      APP_LogInfo("No SN list file detected.");
      return 0;
    }
    char acError[1024];
    APP_FormatOpenError(sName, acError, sizeof(acError));
    APP_LogError(acError);
    return -1;
  }
  pSerial->SNListPos = FindLine(hFile, sName, production.SNValue);
  SYS_FILE_Close(hFile);
  return pSerial->SNListPos < 0 ? -1 : 0;
}

// 0, or -1 when the line has no data or something else than digits where digits are wanted. The
// line may end early; an empty one isn't the data of any number.
int ParseLine(const char* pText, u64 NumChars, u32 NumBytes, u8* pDest) {
  const char* const pEnd = pText + NumChars;
  const char* const pLineEnd =
      std::find_if(pText, pEnd, [](char c) { return c == '\r' || c == '\n'; });
  if (pLineEnd == pText) {
    return -1;
  }
  for (u32 i = 0; i < NumBytes && pText != pLineEnd; ++i, pText += 2) {
    if (pEnd - pText < 2) {
      break;
    }
    const int high = UTIL_HexDigit(pText[0]);
    const int low = UTIL_HexDigit(pText[1]);
    if (high < 0 || low < 0) {
      return -1;
    }
    pDest[i] = static_cast<u8>(high << 4 | low);
  }
  return 0;
}

int FetchFromList(const PROJ_PRODUCTION& production, SerialData* pSerial) {
  const char* sName = pSerial->acListFile.data();
  std::array<char, kLineText> acText{};
  u64 numRead = 0;
  if (APP_LoadFileEx(sName, static_cast<u64>(pSerial->SNListPos), acText.data(), acText.size(),
                     acText.size(), &numRead, true) == nullptr) {
    return -1;
  }
  if (ParseLine(acText.data(), numRead, GetNumSNBytes(production), pSerial->abSNData.data()) != 0) {
    APP_LogErrorf("Could not read data for SN=%u from file [%s]", production.SNValue, sName);
    return -1;
  }
  return 0;
}

int Fetch(const PROJ_PRODUCTION& production, SerialData* pSerial) {
  if (pSerial->SNListPos >= 0) {
    return FetchFromList(production, pSerial);
  }
  UTIL_StoreU32LE(&pSerial->abSNData[0], production.SNValue);
  UTIL_StoreU32LE(&pSerial->abSNData[4], ~production.SNValue);
  return 0;
}

// The data would be stamped nowhere on the chip, and the unit would pass without a number.
bool CanStamp(const PROJ_PRODUCTION& production) {
  const u64 first = production.SNAddr;
  const u64 numBytes = GetNumSNBytes(production);
  if (numBytes == 0) {
    APP_LogError("The serial number has a length of 0 bytes.");
    return false;
  }
  if (first + numBytes > FLASH_GetTotalSize()) {
    APP_LogErrorf("Serial number (0x%llX - 0x%llX) does not fit into flash chip.", first,
                  first + numBytes - 1);
    return false;
  }
  return true;
}

// Edits that were not saved lie above the bytes of the image and would hide the number. 0 or -1.
int Stamp(MEMAREA* pArea, const PROJ_PRODUCTION& production, const SerialData& serial) {
  const u32 numBytes = GetNumSNBytes(production);
  {
    const MEMAREA_LOCK_GUARD lock(pArea);
    if (MEMAREA_CommitPatches(pArea) != 0 ||
        MEMAREA_Write(pArea, production.SNAddr, numBytes, serial.abSNData.data()) != 0) {
      APP_LogError("The serial number could not be written into the image.");
      return -1;
    }
  }
  APP_LogInfof("Serial number %u stamped (%d bytes @ address 0x%.8X)", production.SNValue, numBytes,
               production.SNAddr);
  if (production.SNInc == 0) {
    APP_LogInfo("The increment is 0: the next unit gets the same number.");
  }
  FLASH_Hooks.pfOnImageChanged(pArea);
  return 0;
}

}  // namespace

void SN_LoadValue(PROJ_PRODUCTION* pProduction) {
  PROJ_PRODUCTION own{};
  if (pProduction == nullptr) {
    PROJECT_GetProduction(&own);
  }
  bool isTooLarge = false;
  const LoadResult result = LoadValue(pProduction != nullptr ? pProduction : &own, &isTooLarge);
  if (pProduction == nullptr && result == LoadResult::Loaded) {
    PROJECT_SetProduction(&own);
  }
}

int SN_Prepare(MEMAREA* pArea) {
  PROJ_PRODUCTION production{};
  PROJECT_GetProduction(&production);
  if (production.ProgramSN == 0) {
    return 0;
  }
  bool isTooLarge = false;
  const LoadResult result = LoadValue(&production, &isTooLarge);
  if (isTooLarge) {
    APP_LogError("The number in the S/N file has more than 32 bits.");
  }
  if (result == LoadResult::Failed || !CanStamp(production)) {
    return -1;
  }
  PROJECT_SetProduction(&production);
  SerialData serial;
  return LocateInList(production, &serial) != 0 || Fetch(production, &serial) != 0
             ? -1
             : Stamp(pArea, production, serial);
}

// The file first: what the project knows counts only while there is no file.
int SN_Advance() {
  PROJ_PRODUCTION production{};
  PROJECT_GetProduction(&production);
  if (production.ProgramSN == 0) {
    return 0;
  }
  const u64 next = static_cast<u64>(production.SNValue) + production.SNInc;
  if (next > kMaxValue) {
    APP_LogError("There is no further serial number.");  // the first ones are given away
    return -1;
  }
  std::array<char, SYS_MAX_PATH> acName{};
  if (PROJECT_GetSideFileName("_Serial", acName.data(), acName.size()) != 0) {
    return -1;
  }
  production.SNValue = static_cast<u32>(next);
  std::array<char, 16> acText{};
  const int length = UTIL_snprintf(acText.data(), acText.size(), "%u", production.SNValue);
  if (APP_SaveFile(acName.data(), acText.data(), static_cast<u64>(length)) != 0) {
    return -1;
  }
  PROJECT_SetProduction(&production);
  return 0;
}
