#pragma once

#include <memory>

#include "app/engine/worker.h"
#include "sys/types.h"

class APP_DATA_WINDOW;
class APP_FRONTEND;
struct GLOBAL_SETTINGS;
struct PROJ_DIALOG_INFO;
struct SPI_FLASH_INFO;
struct ZELMONT_FILE_REQUEST;

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

// Registers the job table, which starts the application thread, and posts Init. 0, or -1 when
// nothing was posted: FinishAsyncInit is not called then.
int APP_PostInit(APP_START_INFO* pStartInfo);

// Posts Exit, waits for it, stops the application thread. pfnPump, may be null, is called with pArg
// about every 10 ms meanwhile, to keep a window alive. False when Exit was refused: the program
// goes on.
bool APP_ShutDown(void (*pfnPump)(void* pArg), void* pArg);

// Posting functions, one a job; each returns without waiting. Any thread but the application
// thread.
void APP_PostOpenDataFile(const char* sFile, u64 Addr, bool AddrGiven, void* pOwner);
void APP_PostMergeDataFile(const char* sFile, void* pOwner);
// An empty name asks. pfnDone, may be null, gets pOwner on the application thread; pResult, may be
// null, then holds the result.
void APP_PostOpenProjFile(const char* sFile, void (*pfnDone)(void* pOwner) = nullptr,
                          int* pResult = nullptr, void* pOwner = nullptr);
// Jobs on a record of the owner, which must live until pfnDone was called. That is on the
// application thread, or on the caller's when nothing could be posted; the record is then as it
// was.
void APP_PostGetProjDialogInfo(PROJ_DIALOG_INFO* pInfo, void (*pfnDone)(void* pOwner),
                               void* pOwner);
void APP_PostSaveProjSettings(PROJ_DIALOG_INFO* pInfo, void (*pfnDone)(void* pOwner), void* pOwner);
void APP_PostGetGlobalSettings(GLOBAL_SETTINGS* pSettings, void (*pfnDone)(void* pOwner),
                               void* pOwner);
void APP_PostDetectFlash(SPI_FLASH_INFO* pInfo, void (*pfnDone)(void* pOwner), void* pOwner);
// The settings are copied.
void APP_PostSetGlobalSettings(const GLOBAL_SETTINGS& settings);
// Null checks every window.
void APP_PostCheckForFileModifications(APP_DATA_WINDOW* pDataWindow, void* pOwner);
void APP_PostSaveDataFile(APP_DATA_WINDOW* pDataWindow, const char* sFile, bool SaveAs,
                          void* pOwner);
void APP_PostSaveEmuConfigFile();
void APP_PostSaveEmuDataFile();
void APP_PostDownloadConfigFiles();
void APP_PostDownloadSNFiles();
// A request on a programmer's files, see programmer/browser.h; it belongs to the job from now on.
// False: not posted, and the request is gone without its pfFinish having been called.
bool APP_PostZelmontFileAction(std::unique_ptr<ZELMONT_FILE_REQUEST> pRequest);
void APP_PostGenerateTestData(void* pOwner);
void APP_PostRelocateData();
void APP_PostDeleteDataRange();
void APP_PostEliminateBlankData();
// On the image that the window has when the job runs: one that was read anew meanwhile is used, one
// that was closed is not. The window must live until its closing (job 31) has run.
void APP_PostExecProdProg(APP_DATA_WINDOW* pDataWindow);
void APP_PostVerify(APP_DATA_WINDOW* pDataWindow);
void APP_PostRead(bool EntireChip);
// The core forgets the window. pfnDone, may be null, is called on the application thread when no
// job uses it any more: pOwner may then free it.
void APP_PostOnDataWindowClose(APP_DATA_WINDOW* pDataWindow, void* pOwner,
                               void (*pfnDone)(void* pOwner,
                                               APP_DATA_WINDOW* pDataWindow) = nullptr);
void APP_PostBeginFileDrop(void* pOwner);
void APP_PostEndFileDrop(void* pOwner);
void APP_PostSetAppStartAction(u32 Action);
void APP_PostUpdateMenuBar();
void APP_PostSaveProjFile(bool SaveAs, void* pOwner);
void APP_PostCloseProject();
void APP_PostConnectTarget(bool Connect);
void APP_PostErase(u32 EraseType);  // 1 sectors, 3 chip
void APP_PostProgram(bool Verify);
