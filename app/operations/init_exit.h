#pragma once

#include "app/operations/jobs.h"

// Start and end of the core, on the application thread: the first and the last job.
void APP_Init(APP_START_INFO* pStart);
// False when the end was refused: the program goes on.
[[nodiscard]] bool APP_Exit();

// Opens sPath if it exists, else the default project, which is created in memory when there is
// none.
void APP_OpenProjectOrDefault(const char* sPath);
// The body of the job Open project file: the project, then its data file unless the command line
// gave one. An empty name asks. The result is that of PROJECT_Open; pDataFileMissing, may be null,
// tells whether a data file that the project names isn't open.
int APP_OpenProject(const char* sFile, bool* pDataFileMissing = nullptr);
