#pragma once

#include <optional>
#include <span>
#include <string>

#include "app/engine/frontend.h"
#include "sys/types.h"

// Everything that a user can have done, each spelled once: its job, its word on the command line,
// its menu row with key and tip, what it needs, and the function that does it. Front ends and the
// command line read this table and know no operation by themselves.

// How an operation was asked for. Taken by value into its job.
struct APP_CALL {
  std::optional<std::string> Text;     // behind the word; none: a person asked, and may be asked
  std::string File{};                  // chosen by that person; empty asks
  APP_DATA_WINDOW* pWindow = nullptr;  // null: the one with the focus when the operation runs
};

// Rows of the table. The words' order is that of the look-up: the first that begins the argument
// wins, so that a longer word stands before those that it begins with.
enum APP_OPERATION_ID : u32 {
  APP_OP_OPEN_PROJECT,
  APP_OP_SAVE_PROJECT_AS,
  APP_OP_SAVE_PROJECT,
  APP_OP_OPEN_DATA,
  APP_OP_SAVE_DATA_AS,
  APP_OP_MERGE_DATA,
  APP_OP_RELOCATE,
  APP_OP_DELETE_RANGE,
  APP_OP_ELIMINATE_BLANK,
  APP_OP_GENERATE_TEST_DATA,
  APP_OP_CONNECT,
  APP_OP_DISCONNECT,
  APP_OP_ERASE_SECTORS,
  APP_OP_ERASE_CHIP,
  APP_OP_PROGRAM_VERIFY,
  APP_OP_PROGRAM,
  APP_OP_AUTO,
  APP_OP_VERIFY,
  APP_OP_READ_CHIP,
  APP_OP_READ_RANGE,
  APP_OP_EXIT,
  APP_OP_HELP,
  APP_OP_HELP_SHORT,
  APP_OP_HELP_BARE,
  APP_OP_KORVANE_LOG,
  APP_OP_VORTIC_LOG,
  APP_OP_USB,
  APP_OP_IP,
  APP_OP_SAVE_CONFIG,
  APP_OP_SAVE_IMAGE,
  APP_OP_DOWNLOAD,
  APP_OP_MIN,
  APP_OP_HIDE,
  APP_OP_SAVE_DATA,
  APP_NUM_WORDS,  // those below have none
  APP_OP_CLOSE_PROJECT = APP_NUM_WORDS,
  APP_OP_DOWNLOAD_SN,
  APP_NUM_OPERATIONS
};

// What an operation needs, in bits. The first ones are offered by the program's state, and a menu
// row is enabled when all of its own are.
constexpr u32 APP_NEED_PROJECT = 1;
constexpr u32 APP_NEED_WINDOW = 2;  // refused without one, by whatever way it was asked for
constexpr u32 APP_NEED_NOR = 4;
constexpr u32 APP_NEED_NO_MODULES = 8;  // with modules selected, a gang programmer does the work
constexpr u32 APP_NEED_PROJECT_MODIFIED = 16;
constexpr u32 APP_NEED_WINDOW_MODIFIED = 32;
// Refused with an image of no bytes: nothing done is no success. Says by itself what it lacks
// without an image.
constexpr u32 APP_NEED_DATA = 64;
// A front end asks for the file, under the operation's name.
constexpr u32 APP_NEED_FILE = 128;
// Works on the window that has the focus when it is asked for.
constexpr u32 APP_NEED_THIS_WINDOW = 256;

// A row's part for the command line; empty without a word.
struct APP_WORD {
  const char* sText = nullptr;
  const char* sHelp = nullptr;  // tail of its line in the help box
};

// A row's part for a menu; empty when it stands in none.
struct APP_MENU_TEXT {
  const char* sText = nullptr;
  const char* sShortcut = nullptr;
  const char* sTip = nullptr;
  const char* sName = nullptr;  // object name
};

struct APP_OPERATION {
  APP_OPERATION_ID Id;
  u32 Job;            // number in the job table
  const char* sName;  // of the job
  APP_WORD Word;
  APP_MENU_TEXT Menu;
  u32 Needs;
  // 0 done, 1 done and nothing behind it runs, negative: failed, reported. Null for a word that the
  // pre-parse alone reads.
  int (*pfnRun)(const APP_CALL& call);
  // What has to be known before the log starts and a project is open. 0, or -1 reported.
  int (*pfnPreparse)(const char* sText) = nullptr;
};
std::span<const APP_OPERATION> APP_GetOperations();
const APP_OPERATION& APP_GetOperation(APP_OPERATION_ID Id);
// The row whose word begins the argument, ignoring case, or null.
const APP_OPERATION* APP_FindWord(const char* sArg);

// Looks at the needs and does it, on the application thread. The result is that of pfnRun, but
// negative whenever an error was recorded on the way; behind a negative one there is at least one
// error with a cause.
[[nodiscard]] int APP_RunOperation(const APP_OPERATION& operation, const APP_CALL& call);
