#pragma once

#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "tests/support/scripted_frontend.h"

// A fresh engine for one test: no section, no errors, no log file, default hooks and state, and a
// scripted front end. All of it is undone at the end. The worker isn't touched.
class EngineScope {
 public:
  EngineScope();
  ~EngineScope();
  EngineScope(const EngineScope&) = delete;
  EngineScope& operator=(const EngineScope&) = delete;

  SCRIPTED_FRONTEND FrontEnd;

 private:
  APP_ENGINE_HOOKS m_SavedHooks;
};

// Ends the application thread after the jobs posted before, waits for that, and makes the worker
// ready for another start. StopJobId is the index of the job table's last row.
void StopWorker(u32 StopJobId);
