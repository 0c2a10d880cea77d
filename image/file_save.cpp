#include "image/file_save.h"

#include <algorithm>

#include "image/memarea_impl.h"
#include "sys/util_format.h"
#include "sys/util_string.h"

namespace {

constexpr u64 LAST_ADDR_32 = 0xFFFFFFFF;
// An image whose parts lie so far apart would fill any disk; no chip is a fraction of that.
constexpr u64 MAX_FILE_SIZE = u64{1} << 36;
// Worth a warning above this size, when the data is a hundred times smaller.
constexpr u64 LARGE_FILE_SIZE = u64{1} << 30;
constexpr u64 MIN_FILL_FACTOR = 100;

}  // namespace

FileSave::FileSave(MEMAREA* pArea, const char* sFileName, FileReport Report)
    : m_pArea(pArea), m_sFileName(sFileName), m_Report(Report), m_Lock(pArea) {}

FileSave::~FileSave() {
  FILEWR_Close(m_pWriter);
}

bool FileSave::Begin() {
  if (!m_Lock.Locked()) {
    m_Report.Error(FILE_IN_USE_TEXT);
    return false;
  }
  m_NumChanges = MEMAREA_GetNumChanges(m_pArea);
  if (MEMAREA_CommitPatches(m_pArea) != 0) {
    Fail("Could not apply the changes to the data.");
    return false;
  }
  return true;
}

bool FileSave::CheckAddresses(const char* sFormat) {
  const RangeList& ranges = m_pArea->Ranges;
  const MEMAREA_RANGE* range = ranges.Get(ranges.Find(LAST_ADDR_32 + 1));
  if (range == nullptr) {
    return true;
  }
  char text[128];
  UTIL_snprintf64(text, sizeof(text), "Address 0x%llX is beyond the 32-bit range of the %s format.",
                  static_cast<unsigned long long>(std::max(range->Addr, LAST_ADDR_32 + 1)),
                  sFormat);
  Fail(text);
  return false;
}

bool FileSave::CheckFileSize(u64 FirstAddr, u64 LastAddr, u64 CharsPerByte, const char* sFormat) {
  char text[160];
  if (LastAddr - FirstAddr >= MAX_FILE_SIZE / CharsPerByte) {
    UTIL_snprintf64(text, sizeof(text), "The range 0x%llX - 0x%llX is too large for a %s file.",
                    static_cast<unsigned long long>(FirstAddr),
                    static_cast<unsigned long long>(LastAddr), sFormat);
    Fail(text);
    return false;
  }
  const u64 fileSize = (LastAddr - FirstAddr + 1) * CharsPerByte;
  const u64 numBytes = m_pArea->Ranges.GetNumBytes();
  if (fileSize > LARGE_FILE_SIZE && numBytes <= fileSize / MIN_FILL_FACTOR) {
    UTIL_snprintf64(text, sizeof(text),
                    "The file will have %llu bytes, nearly all of them filling: the data has %llu.",
                    static_cast<unsigned long long>(fileSize),
                    static_cast<unsigned long long>(numBytes));
    m_Report.Warning(text);
  }
  return true;
}

FILEWR* FileSave::Open() {
  m_pWriter = FILEWR_Open(m_sFileName, m_acError, sizeof(m_acError));
  if (m_pWriter == nullptr) {
    Fail(m_acError);
  }
  return m_pWriter;
}

int FileSave::Finish() {
  FILEWR_Close(m_pWriter);
  m_pWriter = nullptr;
  if (m_acError[0] != '\0') {
    return Fail(m_acError);
  }
  MEMAREA_SetNumChanges(m_pArea, 0);
  return 0;
}

int FileSave::Fail(const char* sText) {
  m_Report.Error(sText);
  MEMAREA_SetNumChanges(m_pArea, m_NumChanges);
  if (m_pWriter != nullptr) {
    // The file writer throws the new file away when its error buffer holds a text.
    UTIL_strcpy(m_acError, sText, sizeof(m_acError));
    FILEWR_Close(m_pWriter);
    m_pWriter = nullptr;
  }
  return -1;
}
