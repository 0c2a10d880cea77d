#pragma once

#include "app/engine/frontend.h"

// Data files that change outside of the program, and saving by a user. Application thread.

// Looks at one window's file, or at all with null, and asks what to do about a change.
void APP_CheckFileModifications(APP_DATA_WINDOW* hWindow);
// Saves a window under its name, or asks for one. Asks before a file is overwritten that changed
// outside.
void APP_SaveDataWindow(APP_DATA_WINDOW* hWindow, const char* sFile, bool SaveAs);
