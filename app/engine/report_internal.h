#pragma once

#include "app/engine/report.h"

// How the log fills the record of the running operation; nobody else includes this.

void REPORT_Begin(const char* sName);
void REPORT_AddError(const APP_ERROR& Error, const char* sText);
void REPORT_AddStep(APP_STEP Step);
void REPORT_SetSummary(const char* sText);
void REPORT_End(u32 ElapsedMs);
