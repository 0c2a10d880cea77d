#pragma once

#include "image/memarea.h"

// Readers and writers of data files.
//
// pfReport gets what the user has to know: level 0 information, 1 warning, 2 error; null means
// silent. A reader's partial result stays in the area; its caller deletes the area. Every reader
// and writer holds the area's lock for the whole file. Writers commit the patches first, replace
// the target as a whole, and on failure give NumChanges its earlier value back.
using FILE_REPORT = void(void* pContext, int Level, const char* pText);

constexpr int FILE_REPORT_INFO = 0;
constexpr int FILE_REPORT_WARNING = 1;
constexpr int FILE_REPORT_ERROR = 2;

int MEMAREA_LoadBin(MEMAREA* pArea, const char* pFileName, u64 StartAddr, FILE_REPORT* pfReport,
                    void* pContext);
int MEMAREA_SaveBin(MEMAREA* pArea, const char* pFileName, u64 FirstAddr, u64 LastAddr,
                    FILE_REPORT* pfReport, void* pContext);
// 0; -1 not opened, -3 no memory, -4 not a hex file, -5 an error in a record.
int MEMAREA_LoadHex(MEMAREA* pArea, const char* pFileName, FILE_REPORT* pfReport, void* pContext);
int MEMAREA_SaveHex(MEMAREA* pArea, const char* pFileName, FILE_REPORT* pfReport, void* pContext);
// 0; -1 not opened, -3 no memory, -4 not a Motorola file, -5 an error in a record.
int MEMAREA_LoadMot(MEMAREA* pArea, const char* pFileName, FILE_REPORT* pfReport, void* pContext);
int MEMAREA_SaveMot(MEMAREA* pArea, const char* pFileName, FILE_REPORT* pfReport, void* pContext);
// 0; -1 not opened, -2 no memory, -4 no section where one has to start, -5 other errors.
int MEMAREA_LoadTiTxt(MEMAREA* pArea, const char* pFileName, FILE_REPORT* pfReport, void* pContext);
int MEMAREA_SaveTiTxt(MEMAREA* pArea, const char* pFileName, FILE_REPORT* pfReport, void* pContext);
// Stores the loadable sections at their physical addresses, of which the lower 32 bits count. 0 or
// -1.
int MEMAREA_LoadElf(MEMAREA* pArea, const char* pFileName, FILE_REPORT* pfReport, void* pContext);
// An array of every byte from FirstAddr to LastAddr.
int MEMAREA_SaveC(MEMAREA* pArea, const char* pFileName, u64 FirstAddr, u64 LastAddr,
                  FILE_REPORT* pfReport, void* pContext);

// One extension that the program knows. sFilter null: not offered by the file dialogs.
struct APP_FILE_TYPE {
  const char* sExt;
  const char* sFilter;
  bool Openable;
};
// The row of the file name's extension, or null.
const APP_FILE_TYPE* APP_FindFileType(const char* sFileName);
const char* APP_GetSaveFilter(const char* sFileName);
bool APP_CanOpenExt(const char* sFileName);

// Asks the user for the start address of a file whose type is unknown. 0, or non-zero when refused.
using DATAFILE_ASK_ADDR = int(void* pContext, const char* sTitle, u64* pAddr);

// Reads a file by its extension, or by its content when it has none. StartAddr serves the binary
// reader only. pfAskAddr, with pAskContext, is asked when nothing is recognised; null assumes
// StartAddr. 0 or negative.
int DATAFILE_Load(MEMAREA* pArea, FILE_REPORT* pfReport, void* pContext, const char* pFileName,
                  u64 StartAddr, DATAFILE_ASK_ADDR* pfAskAddr, void* pAskContext);
// Writes a file by its extension; FirstAddr and LastAddr serve the formats with a range only.
// 0 or negative, reported.
int DATAFILE_Save(MEMAREA* pArea, FILE_REPORT* pfReport, void* pContext, const char* pFileName,
                  u64 FirstAddr, u64 LastAddr);
// True for the formats that are saved with an address range (.bin, .raw, .c).
bool DATAFILE_HasRange(const char* pFileName);
