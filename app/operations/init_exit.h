#pragma once

#include "app/engine/worker.h"
#include "app/operations/jobs.h"

// Params of the Init job.
struct APP_INIT_PARAMS {
  void (*pfnDone)();
  APP_START_INFO* pStartInfo;
};

// Handlers of the first and the last job.
void APP_OnInitJob(APP_JOB_CONTEXT* pContext);
void APP_OnExitJob(APP_JOB_CONTEXT* pContext);

// Opens sPath if it exists, else the default project, which is created in memory when there is
// none.
void APP_OpenProjectOrDefault(const char* sPath);
// The body of the job Open project file: the project, then its data file unless the command line
// gave one. An empty name asks. The result is that of PROJECT_Open; pDataFileMissing, may be null,
// tells whether a data file that the project names isn't open.
int APP_OpenProject(const char* sFile, bool* pDataFileMissing = nullptr);
