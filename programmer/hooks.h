#pragma once

#include "image/memarea.h"
#include "sys/time.h"

// What the folder needs of the layers above it, filled once at start-up, and its clock.
struct ZELMONT_HOOKS {
  // 0 when the image fits the flash, else -1 with the reason logged. May relocate the image. By
  // default it is only compared with the size that the project tells.
  int (*pfCheckDataFits)(MEMAREA* pArea);
  // Files are on their way, or no longer: the user must not start anything else meanwhile.
  void (*pfEnableGui)(bool OnOff);
  // The time in the headers of the files; tests replace it.
  void (*pfGetLocalTime)(SYS_TIME* pTime);
};
extern ZELMONT_HOOKS ZELMONT_Hooks;

// The pfError of the buffers that files are built in.
void ZELMONT_LogError(const char* sText);
