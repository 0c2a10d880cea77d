#include "image/elf_file.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <new>

#include "image/elf_impl.h"
#include "image/file_report.h"
#include "sys/util_format.h"

namespace {

using REPORT_FUNC = void(void* pContext, const char* sText);

[[gnu::format(printf, 3, 0)]] void Send(const ELF_FILE& elf, REPORT_FUNC* pfReport,
                                        const char* sFormat, va_list args) {
  if (pfReport != nullptr) {
    char text[FILE_TEXT_SIZE];
    UTIL_vsnprintf64(text, sizeof(text), sFormat, args);
    pfReport(elf.Report.pContext, text);
  }
}

void SendError(const ELF_REPORT_FUNCS* pFuncs, const char* sText) {
  if (pFuncs != nullptr && pFuncs->pfError != nullptr) {
    pFuncs->pfError(pFuncs->pContext, sText);
  }
}

bool IsValid(const ELF_FILE* pElf) {
  return pElf != nullptr && pElf->Magic == ELF_MAGIC;
}

// Takes over the handle.
ELF_FILE* Open(SYS_HANDLE hFile, const FileInput& input, const ELF_REPORT_FUNCS* pFuncs) {
  ELF_PTR elf(new (std::nothrow) ELF_FILE(hFile, input, pFuncs));
  if (elf == nullptr) {
    const FileHandle closer(hFile);
    SendError(pFuncs, "Failed to allocate memory for ELF instance");
    return nullptr;
  }
  try {
    if (ELF_ReadHeader(*elf) && ELF_ReadTables(*elf) && ELF_CollectRanges(*elf)) {
      return elf.release();
    }
  } catch (const std::bad_alloc&) {
    SendError(pFuncs, "Failed to allocate memory for file buffer");
  }
  return nullptr;
}

}  // namespace

bool ELF_Fail(const ELF_FILE& elf, const char* sFormat, ...) {
  va_list args;
  va_start(args, sFormat);
  Send(elf, elf.Report.pfError, sFormat, args);
  va_end(args);
  return false;
}

void ELF_Warn(const ELF_FILE& elf, const char* sFormat, ...) {
  va_list args;
  va_start(args, sFormat);
  Send(elf, elf.Report.pfWarning, sFormat, args);
  va_end(args);
}

void ELF_Info(const ELF_FILE& elf, const char* sFormat, ...) {
  va_list args;
  va_start(args, sFormat);
  Send(elf, elf.Report.pfInfo, sFormat, args);
  va_end(args);
}

bool ELF_IsInFile(const ELF_FILE& elf, u64 Offset, u64 NumBytes) {
  const u64 size = static_cast<u64>(elf.Input.GetSize());
  return NumBytes <= size && Offset <= size - NumBytes;
}

ELF_FILE* ELF_Open(const char* pFileName, const ELF_REPORT_FUNCS* pReportFuncs) {
  const SYS_HANDLE h = SYS_FILE_Open(pFileName, SYS_FILE_READ | SYS_FILE_SHARE_READ);
  if (h == SYS_INVALID_FILE) {
    char text[FILE_TEXT_SIZE];
    UTIL_snprintf(text, sizeof(text), "Failed to open source file [%s] for reading", pFileName);
    SendError(pReportFuncs, text);
    return nullptr;
  }
  return Open(h, FileInput(h), pReportFuncs);
}

ELF_FILE* ELF_OpenMemory(const u8* pData, u64 NumBytes, const ELF_REPORT_FUNCS* pReportFuncs) {
  return Open(SYS_INVALID_FILE, FileInput(pData, NumBytes), pReportFuncs);
}

int ELF_Close(ELF_FILE* pElf) {
  if (!IsValid(pElf)) {
    return ELF_ERROR_INSTANCE;
  }
  pElf->Magic = 0;
  delete pElf;
  return 0;
}

int ELF_GetRanges(ELF_FILE* pElf, ELF_RANGE* paRecords, u32 MaxRecords) {
  if (!IsValid(pElf)) {
    return ELF_ERROR_INSTANCE;
  }
  const std::size_t numRanges = pElf->aRanges.size();
  const std::size_t numRecords = paRecords != nullptr ? std::min<u64>(MaxRecords, numRanges) : 0;
  // An older or newer caller has records of another length.
  const u32 stride = numRecords != 0 ? paRecords->SizeOfStruct : 0;
  constexpr u32 FIXED = offsetof(ELF_RANGE, VAddr);
  const u32 size = std::clamp<u32>(stride, FIXED, sizeof(ELF_RANGE));
  u8* dest = reinterpret_cast<u8*>(paRecords);
  for (std::size_t i = 0; i < numRecords; ++i, dest += stride) {
    const APP_IMG_RANGE_INFO& range = pElf->aRanges[i];
    const ELF_RANGE record = {stride, 0, range.VAddr, range.PAddr, range.NumBytes, i};
    std::memcpy(dest, &record, stride < FIXED ? 0 : size);
  }
  return static_cast<int>(numRanges);
}

int ELF_GetRangeData(ELF_FILE* pElf, const ELF_RANGE* pRecord, u8* pDest, u64 DestSize) {
  return ELF_GetRangePart(pElf, pRecord, 0, pDest, DestSize);
}

int ELF_GetRangePart(ELF_FILE* pElf, const ELF_RANGE* pRecord, u64 Offset, u8* pDest,
                     u64 DestSize) {
  if (!IsValid(pElf) || pRecord == nullptr || pDest == nullptr) {
    return ELF_ERROR_INSTANCE;
  }
  if (pRecord->Index >= pElf->aRanges.size()) {
    return ELF_ERROR_INDEX;
  }
  const APP_IMG_RANGE_INFO& range = pElf->aRanges[pRecord->Index];
  if (Offset > range.NumBytes) {
    return ELF_ERROR_INDEX;
  }
  const u64 numBytes = std::min(DestSize, range.NumBytes - Offset);
  return pElf->Input.ReadAt(range.FileOffset + Offset, pDest, numBytes) ? 0 : ELF_ERROR_INDEX;
}
