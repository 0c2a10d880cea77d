#pragma once

#include <functional>
#include <memory>

#include "app/engine/post.h"
#include "app/operations/operation_table.h"
#include "sys/types.h"

class APP_FRONTEND;
struct ZELMONT_FILE_REQUEST;

// The jobs of the program, and how a front end starts and ends the core.
//
// Life of a front end, all on its own thread:
//   APP_SetUp(&frontEnd);
//   APP_PostInit(&startInfo, ...);     // loads settings, opens the start project, runs the options
//   ... until its FinishAsyncInit and PostClose, or its window's close, ask for the end:
//   if (APP_ShutDown(...)) { APP_TearDown(); return APP_State().ExitCode; }

// Rows of the job table. Each job is a function, posted with the number of what it does; those of
// operations stand in the table of operations.
enum APP_JOB_ID : u32 {
  APP_JOB_INIT = 0,
  APP_JOB_EXIT = 1,
  APP_JOB_GET_PROJ_DIALOG_INFO = 2,
  APP_JOB_OPEN_DATA_FILE = 3,
  APP_JOB_MERGE_DATA_FILE = 4,
  APP_JOB_OPEN_PROJ_FILE = 5,
  APP_JOB_SAVE_PROJ_SETTINGS = 6,
  APP_JOB_GET_GLOBAL_SETTINGS = 7,
  APP_JOB_SET_GLOBAL_SETTINGS = 8,
  APP_JOB_UPDATE_MENU_BAR = 9,
  APP_JOB_CHECK_FILES = 10,
  APP_JOB_SAVE_DATA_FILE = 11,
  APP_JOB_SAVE_PROJ_FILE = 12,
  APP_JOB_CLOSE_PROJECT = 13,
  APP_JOB_SAVE_CONFIG_FILE = 14,
  APP_JOB_SAVE_DATA_IMAGE = 15,
  APP_JOB_DOWNLOAD_CONFIG = 16,
  APP_JOB_DOWNLOAD_SN = 17,
  APP_JOB_CONNECT = 18,
  APP_JOB_DISCONNECT = 19,
  APP_JOB_GENERATE_TEST_DATA = 20,
  APP_JOB_EXEC_PROD_PROG = 21,
  APP_JOB_RELOCATE_DATA = 22,
  APP_JOB_DELETE_RANGE = 23,
  APP_JOB_ELIMINATE_BLANK = 24,
  APP_JOB_ERASE = 25,
  APP_JOB_PROGRAM = 26,
  APP_JOB_VERIFY = 27,
  APP_JOB_READ = 28,
  APP_JOB_DETECT = 29,
  APP_JOB_FILE_ACTION = 30,
  APP_JOB_DATA_WINDOW_CLOSE = 31,
  APP_JOB_FILE_DROP = 32,
  APP_JOB_SET_APP_START_ACTION = 33,
  APP_JOB_STOP = 34,
  APP_NUM_JOBS = 35
};
const WORKER_JOB_ENTRY* APP_GetJobTable();  // with APP_NUM_JOBS rows

// What the entry point knows, and what the Init job answers. Lives as long as the front end.
constexpr u32 APP_START_OPEN_PROJECT = 0;
constexpr u32 APP_START_NOTHING = 2;

struct APP_START_INFO {
  char** argv;
  u32 ShowCmd;  // 0 hidden, 1 normal, 2 minimized, 3 maximized
  u32 argc;
  u32 StartAction;
  u8 ShowNewProjectDlg;  // out: the front end opens that dialog
  u8 ShowWelcomeDlg;     // out
  u8 CloseAfterInit;     // out: the front end closes as soon as Init has finished
};

// Connects the layers with each other and the core with the front end. Before the first post.
void APP_SetUp(APP_FRONTEND* pFrontEnd);
// Forgets everything that APP_SetUp and the jobs left behind. After APP_ShutDown.
void APP_TearDown();

// Registers the job table, which starts the application thread, and posts Init. 0, or -1 when
// nothing was posted: FinishAsyncInit is not called then.
[[nodiscard]] int APP_PostInit(APP_START_INFO* pStartInfo);

// Posts Exit, waits for it, stops the application thread. pfnPump, may be null, is called with pArg
// about every 10 ms meanwhile, to keep a window alive. False when Exit was refused: the program
// goes on.
[[nodiscard]] bool APP_ShutDown(void (*pfnPump)(void* pArg), void* pArg);

// Posting returns without waiting. Any thread but the application thread. What can't be posted is
// dropped: behind the last job nobody is left to do it.
void APP_Post(u32 JobId, std::function<void()> Run);
void APP_PostOperation(APP_OPERATION_ID Id, APP_CALL call = {});
void APP_PostUpdateMenuBar();
// A request on a programmer's files, see programmer/browser.h; it belongs to the job from now on.
// False: not posted, and the request is gone without its pfFinish having been called.
[[nodiscard]] bool APP_PostZelmontFileAction(std::unique_ptr<ZELMONT_FILE_REQUEST> pRequest);
