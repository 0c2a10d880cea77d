#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "programmer/listing.h"
#include "sys/thread.h"

// The file browser's side of the core: requests on the file system of a programmer.
//
// A front end fills a ZELMONT_FILE_REQUEST and hands it to APP_PostZelmontFileAction; the job runs
// ZELMONT_ExecRequest, calls pfFinish and frees the request. So a browser never waits, and never
// touches the device. A session is Check, any number of other requests, Close. The programmer stays
// open in between, at probe level; a request that finds it closed opens it again, and refuses one
// with another serial number than Check has seen.
//
// Whatever fails is logged as an error of the request's own section, whose closing shows the box,
// before pfFinish is called.

constexpr u32 ZELMONT_MAX_LIST_ENTRIES = 4096;

enum ZELMONT_REQUEST_TYPE : u32 {
  ZELMONT_REQ_CHECK = 0,
  ZELMONT_REQ_LIST = 1,
  ZELMONT_REQ_NEW_FOLDER = 2,
  ZELMONT_REQ_DOWNLOAD = 3,
  ZELMONT_REQ_UPLOAD = 4,
  ZELMONT_REQ_MOVE = 5,
  ZELMONT_REQ_DELETE = 6,
  ZELMONT_REQ_RENAME = 7,
  ZELMONT_REQ_CLOSE = 8
};

// The listing that a browser shows, owned by it. Lock guards all other fields: the application
// thread replaces them, in no more time than a swap takes.
struct ZELMONT_FILE_LIST {
  ZELMONT_FILE_LIST() : Lock(SYS_MUTEX_Create(nullptr)) {}
  ~ZELMONT_FILE_LIST() { SYS_MUTEX_Destroy(&Lock); }
  ZELMONT_FILE_LIST(const ZELMONT_FILE_LIST&) = delete;
  ZELMONT_FILE_LIST& operator=(const ZELMONT_FILE_LIST&) = delete;

  SYS_MUTEX Lock;
  std::vector<ZELMONT_DIR_ENTRY> aEntries;    // unsorted, usable names only
  u32 EntryCapacity = ZELMONT_FIRST_ENTRIES;  // asked for at first; grows with the folders seen
  u32 NumReported = 0;                        // entries that the folder is said to have
  u32 NumRefused = 0;                         // of those asked for, left out for their names
};

// Names one behind the other, each ended by NUL.
struct ZELMONT_NAME_BLOCK {
  std::string Block;
  u32 NumNames = 0;
  void Add(std::string_view Name) {
    Block.append(Name).push_back('\0');
    ++NumNames;
  }
};

struct ZELMONT_FILE_REQUEST {
  u32 Type = ZELMONT_REQ_CHECK;
  i32 Result = 0;  // out: 0, or -1 reported
  // Folder that the request works in, "/" or "/A/B/". New folder: that folder itself, "/A/B/NEW".
  // Check, out: the programmer's name, such as "S/N 123" or "'Bench'"; empty without one.
  char acPath[256] = {};
  // By type. Download: local paths. Upload, Move, Delete: entries of acPath.
  ZELMONT_NAME_BLOCK Names;
  union {
    ZELMONT_FILE_LIST* pList;  // List: gets the listing when that succeeds
    char acLocalDir[512];      // Upload: where to
    char acTargetDir[256];     // Move: where to, relative to acPath, such as "SUB"
    struct {
      char acOldName[64];
      char acNewName[64];
    } Rename;
  } Params = {};
  // Called on the application thread when the work is done; the request is freed behind it. May be
  // null. Not called when posting has failed.
  void (*pfFinish)(ZELMONT_FILE_REQUEST* pRequest) = nullptr;
  void* pDialog = nullptr;  // for pfFinish
};

// The work of one request; sets Result. Application thread.
void ZELMONT_ExecRequest(ZELMONT_FILE_REQUEST* pRequest);
