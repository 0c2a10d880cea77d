#include "text/filewr.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "sys/file.h"
#include "sys/util_format.h"
#include "sys/util_string.h"

namespace {

constexpr u32 kBlockSize = 32768;
constexpr u32 kMaxReserve = 4096;

}  // namespace

struct FILEWR {
  SYS_HANDLE hFile = SYS_INVALID_FILE;
  char* pError = nullptr;
  u32 ErrorSize = 0;
  bool HasFailed = false;
  u32 NumBytesInBuffer = 0;
  // A reserved record may stand across the end of the block.
  std::array<u8, kBlockSize + kMaxReserve> Buffer;
};

namespace {

void SetError(FILEWR* pWriter) {
  pWriter->HasFailed = true;
  if (pWriter->pError != nullptr && pWriter->ErrorSize != 0 && *pWriter->pError == '\0') {
    const std::string text = "Error writing file. " + SYS_GetErrorText(SYS_GetLastError());
    UTIL_strcpy(pWriter->pError, text.c_str(), pWriter->ErrorSize);
  }
}

void WriteOut(FILEWR* pWriter, const void* pData, u64 NumBytes) {
  if (SYS_FILE_Write(pWriter->hFile, pData, NumBytes) != static_cast<i64>(NumBytes)) {
    SetError(pWriter);
  }
}

// Keeps fewer than kBlockSize bytes in the buffer.
void WriteFullBlock(FILEWR* pWriter) {
  if (pWriter->NumBytesInBuffer < kBlockSize) {
    return;
  }
  u8* const pBuffer = pWriter->Buffer.data();
  WriteOut(pWriter, pBuffer, kBlockSize);
  pWriter->NumBytesInBuffer -= kBlockSize;
  std::memmove(pBuffer, pBuffer + kBlockSize, pWriter->NumBytesInBuffer);
}

void FormatOpenFailure(const char* pFileName, char* pError, u32 ErrorSize) {
  const bool isDenied = SYS_GetLastError() == SYS_ERROR_ACCESS_DENIED;
  const u32 attributes = isDenied ? SYS_FILE_GetAttributes(pFileName) : 0;
  const bool isReadOnly = attributes != SYS_ATTR_INVALID && (attributes & SYS_ATTR_READONLY) != 0;
  UTIL_snprintf(pError, ErrorSize, "Could not write file.%s\n%s",
                isReadOnly ? " File has read only attribute."
                : isDenied ? " Access denied."
                           : "",
                pFileName);
}

}  // namespace

FILEWR* FILEWR_Open(const char* pFileName, char* pError, u32 ErrorSize) {
  UTIL_strcpy(pError, "", ErrorSize);
  if (pFileName == nullptr || *pFileName == '\0') {
    UTIL_strcpy(pError, "Could not write file. Invalid filename.", ErrorSize);
    return nullptr;
  }
  auto pWriter = std::unique_ptr<FILEWR>(new (std::nothrow) FILEWR);
  if (pWriter == nullptr) {
    UTIL_strcpy(pError, "Could not write file. Out of memory.", ErrorSize);
    return nullptr;
  }
  pWriter->hFile = SYS_FILE_BeginReplace(pFileName, false);
  if (pWriter->hFile == SYS_INVALID_FILE) {
    FormatOpenFailure(pFileName, pError, ErrorSize);
    return nullptr;
  }
  pWriter->pError = pError;
  pWriter->ErrorSize = ErrorSize;
  return pWriter.release();
}

void FILEWR_Write(FILEWR* pWriter, const void* pData, u64 NumBytes) {
  if (pWriter == nullptr) {
    return;
  }
  const u8* pSource = static_cast<const u8*>(pData);
  while (NumBytes != 0) {
    // Whole blocks of the caller's go out from where they stand.
    if (pSource != nullptr && pWriter->NumBytesInBuffer == 0 && NumBytes >= kBlockSize) {
      const u64 size = NumBytes - NumBytes % kBlockSize;
      WriteOut(pWriter, pSource, size);
      pSource += size;
      NumBytes -= size;
      continue;
    }
    const u32 room = kBlockSize - pWriter->NumBytesInBuffer;
    const u32 size = static_cast<u32>(std::min<u64>(room, NumBytes));
    u8* const pDest = pWriter->Buffer.data() + pWriter->NumBytesInBuffer;
    if (pSource != nullptr) {
      std::memcpy(pDest, pSource, size);
      pSource += size;
    } else {
      std::memset(pDest, 0xFF, size);
    }
    NumBytes -= size;
    pWriter->NumBytesInBuffer += size;
    WriteFullBlock(pWriter);
  }
}

u8* FILEWR_Reserve(FILEWR* pWriter, u32 NumBytes) {
  const bool isGranted = pWriter != nullptr && NumBytes <= kMaxReserve;
  return isGranted ? pWriter->Buffer.data() + pWriter->NumBytesInBuffer : nullptr;
}

void FILEWR_Commit(FILEWR* pWriter, u32 NumBytes) {
  if (pWriter != nullptr) {
    pWriter->NumBytesInBuffer += std::min(NumBytes, kMaxReserve);
    WriteFullBlock(pWriter);
  }
}

void FILEWR_Close(FILEWR* pWriter) {
  const std::unique_ptr<FILEWR> pOwner(pWriter);
  if (pWriter == nullptr) {
    return;
  }
  if (pWriter->NumBytesInBuffer != 0) {
    WriteOut(pWriter, pWriter->Buffer.data(), pWriter->NumBytesInBuffer);
  }
  // A message that the caller left in the buffer counts as a failure too.
  const bool hasMessage =
      pWriter->pError != nullptr && pWriter->ErrorSize != 0 && *pWriter->pError != '\0';
  const bool isGood = !pWriter->HasFailed && !hasMessage;
  if (SYS_FILE_EndReplace(pWriter->hFile, isGood) != 0) {
    SetError(pWriter);
  }
}
