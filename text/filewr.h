#pragma once

#include "sys/types.h"

// Buffered writer of the data file writers. The target is replaced as a whole when the writer is
// closed without an error; until then, and after an error, the old file stays.
struct FILEWR;

// Clears the error buffer, which must live as long as the writer. Null on failure, with the reason
// in the buffer.
FILEWR* FILEWR_Open(const char* pFileName, char* pError, u32 ErrorSize);
// Null data stands for NumBytes bytes of 0xFF. A null writer or a count of 0 does nothing.
void FILEWR_Write(FILEWR* pWriter, const void* pData, u64 NumBytes);
// Room for NumBytes (at most 4096) at the end of the buffer, to be filled by the caller and counted
// by FILEWR_Commit, so that a record is built in place. Null for a null writer.
u8* FILEWR_Reserve(FILEWR* pWriter, u32 NumBytes);
void FILEWR_Commit(FILEWR* pWriter, u32 NumBytes);
// Writes out the rest and puts the file in place. After an error it throws the new file away; the
// error buffer then isn't empty.
void FILEWR_Close(FILEWR* pWriter);
