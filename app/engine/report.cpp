#include "app/engine/report.h"

#include <algorithm>
#include <array>

#include "app/engine/report_internal.h"

// Names of causes and the record of the running operation. The log calls the REPORT_ functions:
// an error reaches the record by the very call that logs it, so that the two can't disagree.

namespace {

constexpr std::array<const char*, static_cast<u32>(APP_CAUSE::Count)> kNames = {
    "none",           "usage",          "file not found",
    "file not read",  "file damaged",   "file not written",
    "settings",       "project",        "no probe",
    "probe busy",     "link lost",      "no target voltage",
    "no chip",        "wrong chip",     "unknown chip",
    "protected",      "does not fit",   "no data",
    "not blank",      "erase failed",   "program failed",
    "read failed",    "verify differs", "timeout",
    "canceled",       "serial number",  "programmer",
    "driver library", "out of memory",  "internal",
};
static_assert(kNames.back() != nullptr);

// A run that goes on for hours behind an error that comes again and again must not fill the memory.
constexpr std::size_t kMaxErrors = 1000;
constexpr std::size_t kMaxSteps = 1000;

struct ReportState {
  APP_OUTCOME Outcome;
  u32 NumRunErrors = 0;
  APP_CAUSE RunCause = APP_CAUSE::None;
};

// Application thread only.
ReportState& State() {
  static ReportState state;
  return state;
}

// Both tell that something failed without telling what.
bool IsVague(APP_CAUSE Cause) {
  return Cause == APP_CAUSE::DriverLibrary || Cause == APP_CAUSE::Internal;
}

}  // namespace

const char* APP_GetCauseName(APP_CAUSE Cause) {
  const u32 index = static_cast<u32>(Cause);
  return index < kNames.size() ? kNames[index] : "internal";
}

APP_CAUSE APP_OUTCOME::Cause() const {
  if (Errors.empty()) {
    return APP_CAUSE::None;
  }
  const auto it = std::find_if(Errors.begin(), Errors.end(),
                               [](const APP_ERROR& error) { return !IsVague(error.Cause); });
  return it != Errors.end() ? it->Cause : Errors.front().Cause;
}

const APP_OUTCOME& APP_GetOutcome() {
  return State().Outcome;
}

APP_TOUCHED& APP_Touched() {
  return State().Outcome.Touched;
}

u32 APP_GetNumRunErrors() {
  return State().NumRunErrors;
}

APP_CAUSE APP_GetRunCause() {
  return State().RunCause;
}

void APP_ForgetErrors() {
  State().NumRunErrors = 0;
  State().RunCause = APP_CAUSE::None;
}

void REPORT_Begin(const char* sName) {
  State().Outcome = {};
  State().Outcome.Name = sName;
}

void REPORT_AddError(const APP_ERROR& Error, const char* sText) {
  ReportState& state = State();
  ++state.NumRunErrors;
  if (state.RunCause == APP_CAUSE::None || IsVague(state.RunCause)) {
    state.RunCause = Error.Cause;
  }
  if (state.Outcome.Errors.size() < kMaxErrors) {
    state.Outcome.Errors.push_back(Error);
    state.Outcome.Errors.back().Text = sText;
  }
}

void REPORT_AddStep(APP_STEP Step) {
  if (State().Outcome.Steps.size() < kMaxSteps) {
    State().Outcome.Steps.push_back(std::move(Step));
  }
}

void REPORT_SetSummary(const char* sText) {
  State().Outcome.Summary = sText;
}

void REPORT_End(u32 ElapsedMs) {
  State().Outcome.ElapsedMs = ElapsedMs;
}
