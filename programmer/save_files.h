#pragma once

#include "image/memarea.h"
#include "programmer/dynbuffer.h"

// Saving the two files that a stand-alone programmer works from. Application thread; each operation
// is a logged step that tells how it went.

// 0, or -1 when nothing was saved because something failed (reported) or the dialog was cancelled.
// A null or empty name asks for one; its directory goes to the setting DataFiles. The old file is
// replaced as a whole, or left as it was.
int ZELMONT_SaveConfigFile(const char* sName);
// pArea: the image of the data window that has the focus, null without one. Holds APP_LOCK.
int ZELMONT_SaveDataFile(const char* sName, MEMAREA* pArea);

// The data file of an image in a buffer, which is initialised here: checks that there is an image
// and that it fits, and builds for the project's page size. Within a log section, whose errors and
// cancel stop it. 0, or -1 with the reason logged and the buffer freed. Its counterpart is
// ZELMONT_CFG_Build.
int ZELMONT_BuildDataFile(MEMAREA* pArea, DYNBUFFER* pBuffer);
