#pragma once

#include "app/engine/worker.h"
#include "sys/types.h"

class APP_FRONTEND;

// The jobs of the program, and how a front end starts and ends the core.
//
// Life of a front end, all on its own thread:
//   APP_SetUp(&frontEnd);
//   APP_PostInit(&startInfo, ...);     // loads settings, opens the start project, runs the options
//   ... until its FinishAsyncInit and PostClose, or its window's close, ask for the end:
//   if (APP_ShutDown(...)) { APP_TearDown(); return APP_State().ExitCode; }

// Rows of the job table.
enum APP_JOB_ID : u32 {
  APP_JOB_INIT = 0,
  APP_JOB_EXIT = 1,
  APP_JOB_OPEN_DATA_FILE = 3,
  APP_JOB_OPEN_PROJ_FILE = 5,
  APP_JOB_UPDATE_MENU_BAR = 9,
  APP_JOB_SAVE_PROJ_FILE = 12,
  APP_JOB_CLOSE_PROJECT = 13,
  APP_JOB_CONNECT = 18,
  APP_JOB_DISCONNECT = 19,
  APP_JOB_ERASE = 25,
  APP_JOB_PROGRAM = 26,
  APP_JOB_VERIFY = 27,
  APP_JOB_READ = 28,
  APP_JOB_DATA_WINDOW_CLOSE = 31,
  APP_JOB_STOP = 34,
  APP_NUM_JOBS = 35
};
const WORKER_JOB_ENTRY* APP_GetJobTable();

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

// Registers the job table, which starts the application thread, and posts Init. The result is that
// of WORKER_Post.
int APP_PostInit(APP_START_INFO* pStartInfo);

// Posts Exit, waits for it, stops the application thread. pfnPump, may be null, is called with pArg
// about every 10 ms meanwhile, to keep a window alive. False when Exit was refused: the program
// goes on.
bool APP_ShutDown(void (*pfnPump)(void* pArg), void* pArg);

// Posting functions, one a job; each returns without waiting. Any thread but the application
// thread.
void APP_PostOpenDataFile(const char* sFile, u64 Addr, bool AddrGiven, void* pOwner);
void APP_PostOpenProjFile(const char* sFile);
void APP_PostUpdateMenuBar();
void APP_PostSaveProjFile(bool SaveAs, void* pOwner);
void APP_PostCloseProject();
void APP_PostConnectTarget(bool Connect);
void APP_PostErase(u32 EraseType);  // 1 sectors, 3 chip
void APP_PostProgram(bool Verify);
