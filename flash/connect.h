#pragma once

#include "sys/types.h"

// Bringing up and taking down the chain from the program to the flash chip. Two levels: the probe
// (library open, interface set) and the flash (chip reached). Application thread only.
//
//              ProbeIsOpen  IsConnected  reached by                      left by
//   closed     0            0            start, disconnect, any failed   PROBE_Open, FLASH_Connect
//                                        connect
//   probe      1            0            PROBE_Open alone (files of a    PROBE_Close, FLASH_Connect
//                                        programmer, detection)
//   connected  1            1            FLASH_Connect                   FLASH_Disconnect
//
// Each operation connects by itself, so nobody has to ask for a connection first. An operation that
// failed ends disconnected, by the hook of the log's outermost section; so does each one when the
// setting AutoDisconnect is on. The chip then starts from its power-on state the next time.
//
// Results tell of most failures. What has no result (reset lines, chip select, single transfers)
// tells them through the library's error handler alone, which logs and counts them; whoever reports
// a success looks at that count first.

// State of the connection, process-wide.
struct FLASH_CONNECTION {
  u8 ProbeIsOpen;
  u8 ProbeIsGang;  // a gang programmer, which takes no target set-up
  u8 IsConnected;
  u8 BlockProtectionRemoved;  // in this connection
  u32 FastMode;
  u32 TimeoutBlockProtMs;
  u32 TimeoutEraseSectorMs;
  u32 TimeoutEraseChipMs;
  u32 TargetPowerOn;
  u32 TargetPowerDelayMs;
  u32 FixedVTrefOn;
  u32 FixedVTrefMv;
};
FLASH_CONNECTION& FLASH_State();

struct MEMAREA;

// What the flash engine needs of the layers above it; filled once at start-up.
struct FLASH_HOOKS {
  // Connected or disconnected: project information and menu state.
  void (*pfOnConnectionChanged)();
  // The bytes of an image have changed in place: its window shows it anew.
  void (*pfOnImageChanged)(MEMAREA* pArea);
};
extern FLASH_HOOKS FLASH_Hooks;

// 0 or -1, reported. When connected the timeouts are refreshed, and nothing else happens unless the
// library has told of an error while no operation ran: the connection is then made anew.
int FLASH_Connect();
int FLASH_EnsureConnected();
bool FLASH_IsConnected();
void FLASH_Disconnect();
// 0, -1, or -256 when the probe could not be opened.
int FLASH_Detect();
// Flash level only: reads the ID, identifies the chip or compares it with the project's, switches
// it to 4-byte addresses. 0, else not 0, reported.
int FLASH_ConnectChip();
int FLASH_VerifyId(const u8* pExpected, u32 NumBytes, const u8* pRaw, u32 NumRaw,
                   bool IgnoreSecond);
// Whether the probe is open afterwards. CheckPower refuses a target below 1000 mV. Announce logs
// how the probe is reached, in an open section.
bool PROBE_Open(bool CheckPower, bool Announce);
void PROBE_Close();
int PROBE_Select(bool Announce);
void FLASH_HoldReset();

// From the project's production block, whenever that changes. They count from the next PROBE_Open.
void FLASH_SetTargetPower(u32 Enable, u32 DelayMs);
void FLASH_SetFixedVTref(u32 Enable, u32 Millivolts);

// At the end of an operation: disconnects if the setting AutoDisconnect is on.
void FLASH_EndOperation();
// For tests: forgets the connection without any call to the library.
void FLASH_ResetConnection();
