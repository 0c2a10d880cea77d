#pragma once

#include "app/operations/operation_table.h"
#include "image/memarea.h"

// The functions of the operations table. Each serves both ways in: with the text behind a word, of
// which nothing is guessed, or for a person, who is asked.

#define OP_FUNC(name) int OP_##name(const APP_CALL& call)
OP_FUNC(OpenProject);
OP_FUNC(SaveProjectAs);
OP_FUNC(SaveProject);
OP_FUNC(CloseProject);
OP_FUNC(OpenData);
OP_FUNC(SaveDataAs);
OP_FUNC(SaveData);
OP_FUNC(MergeData);
OP_FUNC(Relocate);
OP_FUNC(DeleteRange);
OP_FUNC(EliminateBlank);
OP_FUNC(GenerateTestData);
OP_FUNC(SaveConfig);
OP_FUNC(SaveImage);
OP_FUNC(Download);
OP_FUNC(DownloadSN);
OP_FUNC(Connect);
OP_FUNC(Disconnect);
OP_FUNC(EraseSectors);
OP_FUNC(EraseChip);
OP_FUNC(ProgramVerify);
OP_FUNC(Program);
OP_FUNC(Auto);
OP_FUNC(Verify);
OP_FUNC(ReadChip);
OP_FUNC(ReadRange);
OP_FUNC(Exit);
#undef OP_FUNC

// The pre-parse of words that have a function, too.
int OP_NoteProject(const char* sText);
int OP_NoteData(const char* sText);
int OP_NoteExit(const char* sText);

// The image that the call works on, or null. Its window may have been closed since the call, or its
// file read anew: the address of an image says nothing, since another one may stand there by now.
MEMAREA* OP_GetImage(const APP_CALL& call);
// What is remembered from one operation to the next, for tests.
void OP_Reset();
