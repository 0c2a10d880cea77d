#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sys/types.h"

// What came of an operation, as a value: the causes of its errors in their order, the times of its
// steps, what it touched. The log fills it while the sections of the operation are open (see
// log.h); log text, box, status bar and exit status are readers of it.
//
// Belongs to the application thread, as the sections do.

// Why something failed. One enumeration for the whole program: machines act on it, so a value keeps
// its name for ever, and new ones are put before Count.
enum class APP_CAUSE : u8 {
  None,
  Usage,            // command line, value or order of work that makes no sense
  FileNotFound,     // a file or folder that isn't there
  FileNotRead,      // is there, but can't be opened or read
  FileDamaged,      // was read, and isn't what it should be
  FileNotWritten,   // a file or folder that can't be made, written, renamed or deleted
  Settings,         // settings file or registry
  Project,          // no project, or one whose values make no sense
  NoProbe,          // no such probe
  ProbeBusy,        // somebody else has it
  LinkLost,         // the probe stopped answering
  NoTargetVoltage,  // the board has no power
  NoChip,           // nothing answers on the bus
  WrongChip,        // another chip than the project's, or another one than a moment ago
  UnknownChip,      // an ID that no row has, or a chip that lacks what is asked for
  Protected,        // the chip refuses: block or sector protection
  DoesNotFit,       // addresses outside the chip, or that can't be reached
  NoData,           // no image, or one without bytes
  NotBlank,         // bytes that should have been erased
  EraseFailed,
  ProgramFailed,
  ReadFailed,
  VerifyDiffers,
  Timeout,   // the chip is still busy
  Canceled,  // by the user
  SerialNumber,
  Programmer,     // a stand-alone programmer or its files
  DriverLibrary,  // the driver library is missing, or complains
  OutOfMemory,
  Internal,
  Count
};
// "verify differs"; never null.
const char* APP_GetCauseName(APP_CAUSE Cause);

// One error: its cause and the facts that it has. Made in one expression where the error is known:
//   APP_LogErrorf(APP_ERROR(APP_CAUSE::VerifyDiffers).At(addr).Differs(expected, read), ...)
struct APP_ERROR {
  APP_ERROR(APP_CAUSE Why) : Cause(Why) {}  // implicit: most errors have a cause only
  APP_ERROR& At(u64 Address) {
    Addr = Address;
    return *this;
  }
  APP_ERROR& Differs(u8 ExpectedByte, u8 ReadByte) {
    Expected = ExpectedByte;
    Read = ReadByte;
    return *this;
  }
  // LineNumber: from 1, 0 when the error is in no line.
  APP_ERROR& In(const char* sFileName, u32 LineNumber = 0) {
    File = sFileName;
    Line = LineNumber;
    return *this;
  }

  APP_CAUSE Cause;
  std::optional<u64> Addr;
  std::optional<u8> Expected;
  std::optional<u8> Read;
  std::string File;
  u32 Line = 0;
  std::string Text;  // as logged, without colour
};

// A section within the operation.
struct APP_STEP {
  std::string Name;
  u32 Depth;  // 1: directly within the operation
  u32 ElapsedMs;
};

// Bytes of the chip, each counted when the chip has done it.
struct APP_TOUCHED {
  u64 NumErased = 0;
  u64 NumProgrammed = 0;
  u64 NumVerified = 0;
  u64 NumRead = 0;
};

struct APP_OUTCOME {
  std::string Name;  // text of the outermost section
  std::vector<APP_ERROR> Errors;
  std::vector<APP_STEP> Steps;
  APP_TOUCHED Touched;
  std::string Summary;  // the closing line of a success
  u32 ElapsedMs = 0;

  bool IsGood() const { return Errors.empty(); }
  // That of the first error which says more than that the driver library complained, else of the
  // first one; None without errors.
  APP_CAUSE Cause() const;
};

// The operation whose section is open, else the last one that ended.
const APP_OUTCOME& APP_GetOutcome();
// Counts for the operation whose section is open.
APP_TOUCHED& APP_Touched();

// All errors of the process since the last APP_ForgetErrors, whatever section they were in, or in
// none. What ends a command line, and gives its exit status, is a look at this.
u32 APP_GetNumRunErrors();
// The first of them; None when there is none.
APP_CAUSE APP_GetRunCause();
void APP_ForgetErrors();
