#include "image/datafile.h"

#include <cstring>

#include "image/file_input.h"
#include "image/file_report.h"
#include "image/file_types.h"
#include "image/hex_digits.h"
#include "image/memarea_impl.h"
#include "sys/path.h"
#include "sys/util_format.h"
#include "sys/util_string.h"

// Which reader or writer serves a file.

namespace {

using LOAD_FUNC = int(MEMAREA* pArea, const char* pFileName, FILE_REPORT* pfReport, void* pContext);

// One format that is read by name or recognised by content, in the order of the tries.
struct FORMAT_ROW {
  FILE_FORMAT Format;
  const char* sDetected;
  LOAD_FUNC* pfLoad;
};

constexpr FORMAT_ROW FORMATS[] = {
    {FILE_FORMAT::MotorolaS, "Mot file detected.", MEMAREA_LoadMot},
    {FILE_FORMAT::IntelHex, "Hex file detected.", MEMAREA_LoadHex},
    {FILE_FORMAT::Elf, "Elf file detected.", MEMAREA_LoadElf},
    {FILE_FORMAT::TiTxt, "TI-TXT file detected.", MEMAREA_LoadTiTxt},
};

const FORMAT_ROW* FindFormatRow(FILE_FORMAT Format) {
  for (const FORMAT_ROW& row : FORMATS) {
    if (row.Format == Format) {
      return &row;
    }
  }
  return nullptr;
}

int RefuseType(const FileReport& report, const char* sFileName) {
  char ext[SYS_MAX_PATH];
  SYS_PATH_GetExt(sFileName, ext, sizeof(ext));
  char text[FILE_TEXT_SIZE];
  UTIL_snprintf(text, sizeof(text), "Unsupported file type (*%s)", ext);
  report.Error(text);
  return -1;
}

// Keeps the first error of a try, which is told when nothing else serves the file.
struct FIRST_ERROR {
  char acText[FILE_TEXT_SIZE] = "";

  static void Keep(void* pContext, int Level, const char* sText) {
    auto* first = static_cast<FIRST_ERROR*>(pContext);
    if (Level == FILE_REPORT_ERROR && first->acText[0] == '\0') {
      UTIL_strcpy(first->acText, sText, sizeof(first->acText));
    }
  }
};

// Tries the readers one after the other, silently. A try that failed may have stored a part of what
// it took for data; the area is emptied again, so that the user never gets that for the file's
// content. A text that begins with a "q" is a whole TI-TXT file, and hardly ever meant as one.
const FORMAT_ROW* DetectAndLoad(MEMAREA* pArea, const char* sFileName) {
  for (const FORMAT_ROW& row : FORMATS) {
    const int result = row.pfLoad(pArea, sFileName, nullptr, nullptr);
    const MEMAREA_LOCK_GUARD lock(pArea);
    if (result == 0 && (row.Format != FILE_FORMAT::TiTxt || !pArea->Ranges.IsEmpty())) {
      return &row;
    }
    if (lock.Locked()) {
      pArea->Ranges.Clear();
    }
  }
  return nullptr;
}

// The format whose files begin like this one, or null. An S-record file that was cut or changed
// still begins with a record's type, and nearly no other text does.
const FORMAT_ROW* FindByFirstBytes(const char* sFileName) {
  const FileHandle file(SYS_FILE_Open(sFileName, SYS_FILE_READ | SYS_FILE_SHARE_READ));
  FileInput input(file.Get());
  u8 start[4] = {};
  if (!file.IsOpen() || input.Read(start, sizeof(start)) < 2) {
    return nullptr;
  }
  const bool isDigit = HEX_VALUES[start[1]] <= 9;
  const bool isHex = HEX_VALUES[start[1]] <= 15;
  if (start[0] == 'S' && isDigit) {
    return FindFormatRow(FILE_FORMAT::MotorolaS);
  }
  if (std::memcmp(start,
                  "\x7F"
                  "ELF",
                  sizeof(start)) == 0) {
    return FindFormatRow(FILE_FORMAT::Elf);
  }
  if (start[0] == ':') {
    return FindFormatRow(FILE_FORMAT::IntelHex);
  }
  return start[0] == '@' && isHex ? FindFormatRow(FILE_FORMAT::TiTxt) : nullptr;
}

// True when the file was meant for a reader that refuses it: its reason is told as the error.
bool RefuseDamaged(MEMAREA* pArea, const FileReport& report, const char* sFileName) {
  const FORMAT_ROW* row = FindByFirstBytes(sFileName);
  if (row == nullptr) {
    return false;
  }
  FIRST_ERROR error;
  static_cast<void>(row->pfLoad(pArea, sFileName, FIRST_ERROR::Keep, &error));
  const MEMAREA_LOCK_GUARD lock(pArea);
  if (lock.Locked()) {
    pArea->Ranges.Clear();
  }
  report.Error(error.acText[0] != '\0' ? error.acText : "The file is damaged.");
  return true;
}

}  // namespace

int DATAFILE_Load(MEMAREA* pArea, FILE_REPORT* pfReport, void* pContext, const char* pFileName,
                  u64 StartAddr, DATAFILE_ASK_ADDR* pfAskAddr, void* pAskContext) {
  const FileReport report(pfReport, pContext);
  FILE_FORMAT format{};
  if (!FILE_FindFormat(pFileName, &format)) {
    return RefuseType(report, pFileName);
  }
  // A device or a pipe might never answer, or never end.
  const u32 attributes = SYS_FILE_GetAttributes(pFileName);
  if (attributes != SYS_ATTR_INVALID && (attributes & SYS_ATTR_DEVICE) != 0) {
    char text[FILE_TEXT_SIZE];
    UTIL_snprintf(text, sizeof(text), "Could not open file [%s]\nIt is a device or a pipe.",
                  pFileName);
    report.Error(text);
    return -1;
  }
  if (format == FILE_FORMAT::Binary) {
    return MEMAREA_LoadBin(pArea, pFileName, StartAddr, pfReport, pContext);
  }
  if (const FORMAT_ROW* row = FindFormatRow(format)) {
    return row->pfLoad(pArea, pFileName, pfReport, pContext);
  }
  if (format != FILE_FORMAT::ByContent) {
    return RefuseType(report, pFileName);
  }
  // A file that can't be opened has no content to recognise, and no address to ask for.
  if (!FileHandle(SYS_FILE_Open(pFileName, SYS_FILE_READ | SYS_FILE_SHARE_READ)).IsOpen()) {
    report.OpenError(pFileName);
    return -1;
  }
  if (const FORMAT_ROW* row = DetectAndLoad(pArea, pFileName)) {
    report.Info(row->sDetected);
    return 0;
  }
  // Programming the text of a damaged file would be the worst way to read it. A user who is asked
  // can still place it by an extension.
  if (RefuseDamaged(pArea, report, pFileName)) {
    return -1;
  }
  static constexpr char UNKNOWN_TEXT[] = "Unknown file type, assuming .bin file.";
  u64 addr = StartAddr;
  if (pfAskAddr != nullptr && pfAskAddr(pAskContext, UNKNOWN_TEXT, &addr) != 0) {
    char text[FILE_TEXT_SIZE];
    UTIL_snprintf(text, sizeof(text), "No start address given for %s", pFileName);
    report.Error(text);
    return -1;
  }
  report.Info(UNKNOWN_TEXT);
  return MEMAREA_LoadBin(pArea, pFileName, addr, pfReport, pContext);
}

int DATAFILE_Save(MEMAREA* pArea, FILE_REPORT* pfReport, void* pContext, const char* pFileName,
                  u64 FirstAddr, u64 LastAddr) {
  const FileReport report(pfReport, pContext);
  FILE_FORMAT format{};
  if (!FILE_FindFormat(pFileName, &format)) {
    return RefuseType(report, pFileName);
  }
  switch (format) {
    case FILE_FORMAT::Binary:
      return MEMAREA_SaveBin(pArea, pFileName, FirstAddr, LastAddr, pfReport, pContext);
    case FILE_FORMAT::IntelHex:
      return MEMAREA_SaveHex(pArea, pFileName, pfReport, pContext);
    case FILE_FORMAT::CSource:
      return MEMAREA_SaveC(pArea, pFileName, FirstAddr, LastAddr, pfReport, pContext);
    case FILE_FORMAT::MotorolaS:
      return MEMAREA_SaveMot(pArea, pFileName, pfReport, pContext);
    case FILE_FORMAT::TiTxt:
      return MEMAREA_SaveTiTxt(pArea, pFileName, pfReport, pContext);
    case FILE_FORMAT::Project:
    case FILE_FORMAT::Mcs:
    case FILE_FORMAT::Elf:
    case FILE_FORMAT::ByContent:
      break;
  }
  return RefuseType(report, pFileName);
}
