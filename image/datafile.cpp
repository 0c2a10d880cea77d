#include "image/datafile.h"

#include "image/file_input.h"
#include "image/file_report.h"
#include "image/file_types.h"
#include "image/memarea_impl.h"
#include "sys/path.h"
#include "sys/util_format.h"

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

// Tries the readers one after the other, silently. A try that failed may have stored a part of what
// it took for data; the area is emptied again, so that the user never gets that for the file's
// content.
const FORMAT_ROW* DetectAndLoad(MEMAREA* pArea, const char* sFileName) {
  for (const FORMAT_ROW& row : FORMATS) {
    if (row.pfLoad(pArea, sFileName, nullptr, nullptr) == 0) {
      return &row;
    }
    const MEMAREA_LOCK_GUARD lock(pArea);
    if (lock.Locked()) {
      pArea->Ranges.Clear();
    }
  }
  return nullptr;
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
