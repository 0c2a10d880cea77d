#pragma once

#include "programmer/transfer.h"

// The device at the other end: a programmer, or a gang programmer, a hub with up to 24 modules of
// which one at a time is connected. Probe level only, see flash/connect.h: neither a target nor its
// power is needed. Application thread, within a log section.

constexpr u32 ZELMONT_NUM_MODULES = 24;

// Opens the programmer, the hub of a gang programmer: a module that an earlier operation has left
// selected is given up. A connection to a flash goes down first. 0, or -1 reported.
int ZELMONT_Connect();
// Closes whatever is open, flash and probe level.
void ZELMONT_Disconnect();
// The same, and what is opened next, by whatever operation, is the hub again. 0, or -1 reported.
int ZELMONT_Leave();

// Reconnects to a module; 0 is the hub. 0, or -1 reported.
int APP_SelectModule(u32 Module);
// Sends the files to the programmer, or to all modules that the project or the command line
// selects, in order. The first failure ends it; which modules have their files is told then. 0 or
// -1, reported. Leaves the connection as it is.
int APP_DownloadFiles(const ZELMONT_FILE_INFO* paFiles, u32 NumFiles);
