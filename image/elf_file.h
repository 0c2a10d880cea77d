#pragma once

#include <memory>

#include "sys/types.h"

// Parser of ELF32 and ELF64 files of either byte order. It finds the loadable sections, the
// addresses at which they are stored, and reads their bytes; what becomes of these is the caller's
// matter.
//
// The file is judged as hostile: a table or section that isn't wholly within the file refuses it.
// Only the tables are kept in memory, the bytes are read from the file when they are asked for.
struct ELF_FILE;

// Receivers of the parser's messages; any may be null.
struct ELF_REPORT_FUNCS {
  void (*pfError)(void* pContext, const char* sText);
  void (*pfWarning)(void* pContext, const char* sText);
  void (*pfInfo)(void* pContext, const char* sText);
  void* pContext;
};

// What the caller sees of a range.
struct ELF_RANGE {
  u32 SizeOfStruct = sizeof(ELF_RANGE);  // set by the caller; no more than that is filled
  u32 Reserved = 0;
  u64 VAddr = 0;
  u64 PAddr = 0;
  u64 NumBytes = 0;
  u64 Index = 0;
};

constexpr int ELF_ERROR_INDEX = -1;
constexpr int ELF_ERROR_INSTANCE = -2;

// Null on failure, reported. The receivers are used until ELF_Close.
ELF_FILE* ELF_Open(const char* pFileName, const ELF_REPORT_FUNCS* pReportFuncs);
// The same of a file in memory, which has to live as long as the instance.
ELF_FILE* ELF_OpenMemory(const u8* pData, u64 NumBytes, const ELF_REPORT_FUNCS* pReportFuncs);
// 0, or ELF_ERROR_INSTANCE.
int ELF_Close(ELF_FILE* pElf);

// Number of ranges; fills at most MaxRecords, all of the size that the first one tells.
// ELF_ERROR_INSTANCE for a bad instance.
int ELF_GetRanges(ELF_FILE* pElf, ELF_RANGE* paRecords, u32 MaxRecords);
// Reads the smaller of DestSize and the range's length. 0, ELF_ERROR_INDEX when there is no such
// range or its bytes can't be read, ELF_ERROR_INSTANCE for a bad instance or a null argument.
int ELF_GetRangeData(ELF_FILE* pElf, const ELF_RANGE* pRecord, u8* pDest, u64 DestSize);
// The same from Offset within the range.
int ELF_GetRangePart(ELF_FILE* pElf, const ELF_RANGE* pRecord, u64 Offset, u8* pDest, u64 DestSize);

struct ELF_DELETER {
  void operator()(ELF_FILE* p) const { ELF_Close(p); }
};
using ELF_PTR = std::unique_ptr<ELF_FILE, ELF_DELETER>;
