#pragma once

#include "sys/types.h"

// The project text store: one text buffer in the process that holds the project file as sections
// and keys. Every operation holds the store's lock. A null section stands for the lines ahead of
// the first section.
//
//   "  AppVersion = 93800"       CR LF behind each line
//   "[FLASH]"
//   "  AutoDetect = 0x00000001"
//   "  abID[3] = 0xEF,0x40,0x18"
//
// Names compare without regard to ASCII case, but a key spelled in another case is refused when it
// is read. Keys are kept in alphabetical order in every section but CPU. There is no limit on the
// size of the text, the number of lines or the length of a line.

// Where messages to the user go; do-nothing by default. Filled once at start-up.
struct PROJFILE_HOOKS {
  void (*pfShowError)(const char* sText);
};
extern PROJFILE_HOOKS PROJFILE_Hooks;

// 0, or -1 after telling the user.
int PROJFILE_Create(const char* pFileName);
int PROJFILE_Open(const char* pFileName);
int PROJFILE_Close();
// Frees the content, so that the file is rebuilt from nothing.
void PROJFILE_BeginRewrite();
const char* PROJFILE_GetName();
// 1, 0, or -1 when the store cannot be used any more.
int PROJFILE_IsOpen();
// 0, -1, or -2 when the file is read-only. A name that isn't null replaces the stored one first.
// The file is replaced as a whole.
int PROJFILE_Save(const char* pFileName);

// The text is UTF-8, with a byte order mark or without; UTF-16 and a NUL are refused.
int PROJFILE_HasSection(const char* pSection);
// Line of the key in the text, from 1; 0 when it is missing.
u32 PROJFILE_GetLine(const char* pSection, const char* pKey);

// 0 or -1. A missing key gives -1 without a message.
int PROJFILE_ReadString(const char* pSection, const char* pKey, char* pDest, u32 DestSize);
// Beside numbers yes, on, true, no, off and false are understood. PROJFILE_PARTLY when more stands
// behind the number; PROJFILE_NO_NUMBER, without a message, when there is none.
constexpr int PROJFILE_PARTLY = 1;
constexpr int PROJFILE_NO_NUMBER = -3;
int PROJFILE_ReadU32(const char* pSection, const char* pKey, u32* pValue);
int PROJFILE_ReadDecBytes(const char* pSection, const char* pKey, u8* pDest, u32 MaxBytes);
// pNumInFile, may be null, gets the count that the key's head states.
int PROJFILE_ReadHexBytes(const char* pSection, const char* pKey, u8* pDest, u32 MaxBytes,
                          u32* pNumInFile = nullptr);

void PROJFILE_WriteDec(const char* pSection, const char* pKey, u32 Value);
void PROJFILE_WriteString(const char* pSection, const char* pKey, const char* pValue);
void PROJFILE_WriteHex32(const char* pSection, const char* pKey, u32 Value);
void PROJFILE_WriteHex8(const char* pSection, const char* pKey, u32 Value);
void PROJFILE_WriteDecBytes(const char* pSection, const char* pKey, const u8* pData, u32 NumBytes);
void PROJFILE_WriteHexBytes(const char* pSection, const char* pKey, const u8* pData, u32 NumBytes);

// Frees lock and content; every later operation fails at once.
void PROJFILE_Shutdown();
// Back to the state before the first use. For tests.
void PROJFILE_Reset();
