#pragma once

#include "sys/thread.h"
#include "sys/types.h"

// What a job tells of its progress, shared with the dialog (or terminal line) that shows it. Every
// access holds Lock. Created and freed by the front end; a job gets it from CreateProgressDialog
// and hands it back to CloseProgressDialog.
struct PROGRESS_INFO {
  char sTitle[256];
  char sSubText[256];  // lower line
  char sText[256];     // upper line
  SYS_MUTEX Lock;
  // Asks whatever shows the record to refresh; called without Lock, on the thread of the change.
  // Null until something shows it.
  void (*pfRefresh)(PROGRESS_INFO* pInfo, void* pContext);
  void* pRefreshContext;
  u32 Value, Min, Max;
  u32 Flags;
  u8 Canceled;
};

constexpr u32 PROGRESS_HIDDEN = 32;
constexpr u32 PROGRESS_MINIMIZED = 64;
constexpr u32 PROGRESS_BYTES = 128;  // the range counts bytes, so that a rate can be shown

// A cleared record with its own lock, tagged as the dialog's; null when memory is out.
PROGRESS_INFO* PROGRESS_Create(const char* sTitle, const char* sText, u32 Flags);
// Frees lock and record. Null is ignored.
void PROGRESS_Free(PROGRESS_INFO* p);
// Connects what shows the record, under the lock. Null detaches.
void PROGRESS_SetRefresh(PROGRESS_INFO* p, void (*pfRefresh)(PROGRESS_INFO*, void*),
                         void* pContext);

// All ignore a null record and ask for a refresh.
void PROGRESS_SetRange(PROGRESS_INFO* p, u32 Min, u32 Max);
void PROGRESS_SetValue(PROGRESS_INFO* p, u32 Value);
void PROGRESS_AddValue(PROGRESS_INFO* p, u32 Delta);
void PROGRESS_SetText(PROGRESS_INFO* p, const char* sText);
void PROGRESS_SetSubText(PROGRESS_INFO* p, const char* sText);
// Sets PROGRESS_BYTES: the range counts bytes.
void PROGRESS_CountBytes(PROGRESS_INFO* p);
// 1, 0, or -1 for a null record.
int PROGRESS_IsCanceled(PROGRESS_INFO* p);
// What the Cancel button does. Any thread.
void PROGRESS_Cancel(PROGRESS_INFO* p);

// Sizes above 32 bits are shown in units of 1 << shift, the same for range and value: returns the
// shift for a range that ends at Max.
u32 PROGRESS_GetShift(u64 Max);
