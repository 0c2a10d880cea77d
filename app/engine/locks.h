#pragma once

#include "sys/thread.h"

// APP_LOCK guards the data window list. Recursive; held for a whole data operation; taken before
// any lock of a front end, and never by a front end's thread. Created by Init, destroyed by Exit;
// null in between is valid and does nothing.
SYS_MUTEX APP_GetLock();
bool APP_CreateLock();
void APP_DestroyLock();
