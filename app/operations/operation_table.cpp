#include "app/operations/operation_table.h"

#include "app/engine/log.h"
#include "app/operations/cmdline.h"
#include "app/operations/data_windows.h"
#include "app/operations/jobs.h"
#include "app/operations/operation_funcs.h"
#include "sys/util_string.h"

namespace {

constexpr u32 kOnTarget = APP_NEED_PROJECT | APP_NEED_NO_MODULES;
constexpr u32 kErase = kOnTarget | APP_NEED_NOR;
constexpr u32 kWithImage = kOnTarget | APP_NEED_WINDOW | APP_NEED_DATA;
constexpr u32 kNoJob = APP_JOB_STOP;  // of the words that choose something for the run

constexpr APP_OPERATION kRows[] = {
    {APP_OP_OPEN_PROJECT,
     APP_JOB_OPEN_PROJ_FILE,
     "Open project file",
     {"-openprj", "\t\t Opens an existing project\n\t\t   Syntax:\t -openprj<FILENAME>"},
     {"Op&en project", nullptr, "Open an existing project", "ActOpenProj"},
     0,
     OP_OpenProject,
     OP_NoteProject},
    {APP_OP_SAVE_PROJECT_AS,
     APP_JOB_SAVE_PROJ_FILE,
     "Save project file",
     {"-saveprjas",
      "  \t Saves current project in a different file\n\t\t   Syntax:\t -saveprjas<FILENAME>"},
     {"Save p&roject as...", nullptr, "Save current project in a different file",
      "ActSaveProjFileAs"},
     APP_NEED_PROJECT,
     OP_SaveProjectAs},
    {APP_OP_SAVE_PROJECT,
     APP_JOB_SAVE_PROJ_FILE,
     "Save project file",
     {"-saveprj", "\t\t Saves current project\n\t\t   Syntax:\t -saveprj"},
     {"Sa&ve project", nullptr, "Save current project", "ActSaveProjFile"},
     APP_NEED_PROJECT | APP_NEED_PROJECT_MODIFIED,
     OP_SaveProject},
    {APP_OP_OPEN_DATA,
     APP_JOB_OPEN_DATA_FILE,
     "Open data file",
     {"-open", "\t\t Opens a data file\n\t\t   Syntax:\t -open<FILENAME>[,<SADDR>]"},
     {"&Open data file...", "Ctrl+O", "Open an existing data file", "ActOpenDataFile"},
     APP_NEED_FILE,
     OP_OpenData,
     OP_NoteData},
    {APP_OP_SAVE_DATA_AS,
     APP_JOB_SAVE_DATA_FILE,
     "Save data file",
     {"-saveas",
      "\t\t Saves current data file in a different file\n\t\t   Syntax:\t "
      "-saveas<FILENAME>[,<SADDR>,<EADDR>]"},
     {"Save data file &as...", nullptr, "Save current data file in a different file",
      "ActSaveDataFileAs"},
     APP_NEED_WINDOW | APP_NEED_THIS_WINDOW,
     OP_SaveDataAs},
    {APP_OP_MERGE_DATA,
     APP_JOB_MERGE_DATA_FILE,
     "Merge data file",
     {"-merge",
      "\t\t Merges a given data file with the one currently opened in Korvane\n\t\t   Syntax:\t "
      "-merge<FILENAME> or -merge<FILENAME>.bin,<ADDR>"},
     {"&Merge data file...", nullptr, "Merge two data files", "ActMergeDataFile"},
     APP_NEED_WINDOW | APP_NEED_FILE,
     OP_MergeData},
    {APP_OP_RELOCATE,
     APP_JOB_RELOCATE_DATA,
     "Relocate data",
     {"-relocate", "\t\t Relocates data by given offset\n\t\t   Syntax:\t -relocate<OFFSET>"},
     {"&Relocate...", nullptr, "Relocate data by given offset", "ActRelocate"},
     APP_NEED_WINDOW,
     OP_Relocate},
    {APP_OP_DELETE_RANGE,
     APP_JOB_DELETE_RANGE,
     "Delete data range",
     {"-delrange", "  \t Deletes data range\n\t\t   Syntax:\t -delrange<SADDR>,<EADDR>"},
     {"&Delete range...", nullptr, "Delete specified data range", "ActDelRange"},
     APP_NEED_WINDOW,
     OP_DeleteRange},
    {APP_OP_ELIMINATE_BLANK,
     APP_JOB_ELIMINATE_BLANK,
     "Eliminate blank data",
     {"-eliminate", "  \t Eliminates blank areas in data file"},
     {"&Eliminate blank areas...", nullptr, "Eliminate blank areas in data window", "ActElimBlank"},
     APP_NEED_WINDOW,
     OP_EliminateBlank},
    {APP_OP_GENERATE_TEST_DATA,
     APP_JOB_GENERATE_TEST_DATA,
     "Generate test data",
     {"-generatetestdata", "  \t Generated test data\n\t\t   Syntax:\t -generatetestdata<SIZE>"},
     {"&Generate test data...", nullptr, "Generate test data", "ActGenerateTestData"},
     kOnTarget,
     OP_GenerateTestData},
    {APP_OP_CONNECT,
     APP_JOB_CONNECT,
     "Connect to target",
     {"-connect", "\t\t Connects to target"},
     {"&Connect", nullptr, "Connection to target", "ActConnection"},
     kOnTarget,
     OP_Connect},
    {APP_OP_DISCONNECT,
     APP_JOB_DISCONNECT,
     "Disconnect from target",
     {"-disconnect", "  \t Disconnects from target"},
     {},
     0,
     OP_Disconnect},
    {APP_OP_ERASE_SECTORS,
     APP_JOB_ERASE,
     "Erase flash",
     {"-erasesectors", "  \t Erases selected sectors"},
     {"&Erase sectors", "F3", "Erase selected sectors", "ActEraseSectors"},
     kErase,
     OP_EraseSectors},
    {APP_OP_ERASE_CHIP,
     APP_JOB_ERASE,
     "Erase flash",
     {"-erasechip", "  \t Erases entire flash chip"},
     {"Erase c&hip", "F4", "Erase entire chip", "ActEraseChip"},
     kErase,
     OP_EraseChip},
    {APP_OP_PROGRAM_VERIFY,
     APP_JOB_PROGRAM,
     "Program flash",
     {"-programverify", "  \t Programs and verifies target"},
     {"Pro&gram && Verify", "F6", "Program and verify target", "ActProgramNVerify"},
     kWithImage,
     OP_ProgramVerify},
    {APP_OP_PROGRAM,
     APP_JOB_PROGRAM,
     "Program flash",
     {"-program", "\t\t Programs target"},
     {"&Program", "F5", "Program target", "ActProgram"},
     kWithImage,
     OP_Program},
    {APP_OP_AUTO,
     APP_JOB_EXEC_PROD_PROG,
     "Execute production programming",
     {"-auto", "\t\t Erases, programs and verifies target"},
     {"&Auto", "F7", "Erase, program and verify target", "ActProdProg"},
     kWithImage | APP_NEED_THIS_WINDOW,
     OP_Auto},
    {APP_OP_VERIFY,
     APP_JOB_VERIFY,
     "Verify flash",
     {"-verify", "\t\t Verifies target program"},
     {"&Verify", "F8", "Verify target", "ActVerify"},
     kWithImage | APP_NEED_THIS_WINDOW,
     OP_Verify},
    {APP_OP_READ_CHIP,
     APP_JOB_READ,
     "Read flash",
     {"-readchip", "\t\t Reads the entire flash chip"},
     {"&Entire chip", "F10", "Read the entire flash chip", "ActReadChip"},
     kOnTarget,
     OP_ReadChip},
    {APP_OP_READ_RANGE,
     APP_JOB_READ,
     "Read flash",
     {"-readrange",
      "  \t Reads specified range of target memory\n\t\t   Syntax:\t -readrange<SADDR>,<EADDR>"},
     {"&Range...", nullptr, "Read specified range of target memory", "ActReadRange"},
     kOnTarget,
     OP_ReadRange},
    {APP_OP_EXIT,
     APP_JOB_EXIT,
     "Exit application",
     {"-exit", "\t\t Terminates application automatically"},
     {"E&xit", "Alt+F4", "Exit the application", "ActExit"},
     0,
     OP_Exit,
     OP_NoteExit},
    {APP_OP_HELP,
     kNoJob,
     "Help",
     {"-help", "\t\t Displays this box"},
     {},
     0,
     nullptr,
     CMDLINE_OnHelp},
    {APP_OP_HELP_SHORT,
     kNoJob,
     "Help",
     {"-?", "\t\t Displays this box"},
     {},
     0,
     nullptr,
     CMDLINE_OnHelp},
    {APP_OP_HELP_BARE,
     kNoJob,
     "Help",
     {"?", "\t\t Displays this box"},
     {},
     0,
     nullptr,
     CMDLINE_OnHelp},
    {APP_OP_KORVANE_LOG,
     kNoJob,
     "Korvane log",
     {"-korvanelog",
      "\t\t Sets a temporary Korvane log file\n\t\t   Syntax:\t -korvanelog<FILENAME>"},
     {},
     0,
     nullptr,
     CMDLINE_OnKorvaneLog},
    {APP_OP_VORTIC_LOG,
     kNoJob,
     "Vortic log",
     {"-vorticlog", "\t\t Sets a temporary Vortic log file\n\t\t   Syntax:\t -vorticlog<FILENAME>"},
     {},
     0,
     nullptr,
     CMDLINE_OnVorticLog},
    {APP_OP_USB,
     kNoJob,
     "USB",
     {"-usb",
      "\t\t Overrides connection settings to USB S/N or Nickname\n\t\t   Syntax:\t -USB "
      "<SN>[:<MODULES>] or -USB <Nickname>[:<MODULES>]"},
     {},
     0,
     nullptr,
     CMDLINE_OnUsb},
    {APP_OP_IP,
     kNoJob,
     "IP",
     {"-ip",
      "\t\t Overrides connection settings to IP\n\t\t   Syntax:\t -IP "
      "<xxx.xxx.xxx.xxx>[:<MODULES>] or -IP <HostName>[:<MODULES>] or -IP <SN>[:<MODULES>] or -IP "
      "<Nickname>[:<MODULES>]"},
     {},
     0,
     nullptr,
     CMDLINE_OnIp},
    {APP_OP_SAVE_CONFIG,
     APP_JOB_SAVE_CONFIG_FILE,
     "Save zelmont config file",
     {"-savecfg", "\t\t Saves emulator configuration file\n\t\t   Syntax:\t -savecfg<FILENAME>"},
     {"Save Zelmont config file...", nullptr, "Save programmer configuration file",
      "ActSaveFlashConfFile"},
     APP_NEED_PROJECT,
     OP_SaveConfig},
    {APP_OP_SAVE_IMAGE,
     APP_JOB_SAVE_DATA_IMAGE,
     "Save zelmont data file",
     {"-savedat", "\t\t Saves emulator data file\n\t\t   Syntax:\t -savedat<FILENAME>"},
     {"Save Zelmont data file...", nullptr, "Save programmer data file", "ActSaveFlashDataFile"},
     APP_NEED_WINDOW,
     OP_SaveImage},
    {APP_OP_DOWNLOAD,
     APP_JOB_DOWNLOAD_CONFIG,
     "Download zelmont files",
     {"-download", "  \t Downloads configuration to emulator"},
     {"Download config && data file to Zelmont", nullptr,
      "Download current configuration to programmer", "ActDownloadConfigFiles"},
     APP_NEED_PROJECT,
     OP_Download},
    {APP_OP_MIN,
     kNoJob,
     "Minimized",
     {"-min", "\t\t Starts application minimized"},
     {},
     0,
     nullptr,
     CMDLINE_OnMin},
    {APP_OP_HIDE,
     kNoJob,
     "Hidden",
     {"-hide", "\t\t Starts application hidden"},
     {},
     0,
     nullptr,
     CMDLINE_OnHide},
    {APP_OP_SAVE_DATA,
     APP_JOB_SAVE_DATA_FILE,
     "Save data file",
     {"-save", "\t\t Saves current data file\n\t\t   Syntax:\t -save[<SADDR>,<EADDR>]"},
     {"&Save data file", "Ctrl+S", "Save current data file", "ActSaveDataFile"},
     APP_NEED_WINDOW | APP_NEED_WINDOW_MODIFIED | APP_NEED_THIS_WINDOW,
     OP_SaveData},
    {APP_OP_CLOSE_PROJECT,
     APP_JOB_CLOSE_PROJECT,
     "Close project",
     {},
     {"&Close project", nullptr, "Close current project", "ActCloseProject"},
     APP_NEED_PROJECT,
     OP_CloseProject},
    {APP_OP_DOWNLOAD_SN,
     APP_JOB_DOWNLOAD_SN,
     "Download zelmont SN data",
     {},
     {"Download serial number file to Zelmont", nullptr,
      "Download current serial number file to programmer", "ActDownloadSNFiles"},
     APP_NEED_PROJECT,
     OP_DownloadSN},
};

constexpr bool IsInOrder() {
  for (u32 i = 0; i < APP_NUM_OPERATIONS; ++i) {
    if (kRows[i].Id != i || (kRows[i].Word.sText != nullptr) != (i < APP_NUM_WORDS)) {
      return false;
    }
  }
  return std::size(kRows) == APP_NUM_OPERATIONS;
}
static_assert(IsInOrder());

// Refused as an operation of its own, which says why in a box or in the log.
int Refuse(const APP_OPERATION& operation, const char* sText) {
  const APP_LOG_SECTION section(operation.sName);
  APP_LogError(APP_CAUSE::NoData, sText);
  return -1;
}

int CheckNeeds(const APP_OPERATION& operation, const APP_CALL& call) {
  const MEMAREA* pArea = OP_GetImage(call);
  if ((operation.Needs & APP_NEED_DATA) != 0) {
    return pArea != nullptr && MEMAREA_GetNumBytes(OP_GetImage(call)) == 0
               ? Refuse(operation, "The data file holds no data.")
               : 0;
  }
  return (operation.Needs & APP_NEED_WINDOW) != 0 && pArea == nullptr
             ? Refuse(operation,
                      "No data file open. Please ensure that you have opened a data file.")
             : 0;
}

}  // namespace

std::span<const APP_OPERATION> APP_GetOperations() {
  return kRows;
}

const APP_OPERATION& APP_GetOperation(APP_OPERATION_ID id) {
  return kRows[id];
}

const APP_OPERATION* APP_FindWord(const char* sArg) {
  for (const APP_OPERATION& row : std::span(kRows).first(APP_NUM_WORDS)) {
    const char* sWord = row.Word.sText;
    if (UTIL_strnicmp(sArg, sWord, static_cast<u32>(UTIL_strlen(sWord))) == 0) {
      return &row;
    }
  }
  return nullptr;
}

int APP_RunOperation(const APP_OPERATION& operation, const APP_CALL& call) {
  const u32 numErrors = APP_GetNumRunErrors();
  int result = CheckNeeds(operation, call);
  if (result == 0) {
    result = operation.pfnRun(call);
  }
  if (APP_GetNumRunErrors() != numErrors) {
    return -1;
  }
  // A dialog that a person has closed is a failure of nobody; on a command line there is no such.
  if (result < 0 && call.Text.has_value()) {
    APP_LogErrorf(APP_CAUSE::Internal, "%s: failed without a reason.", operation.sName);
  }
  return result;
}
