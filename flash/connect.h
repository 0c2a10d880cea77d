#pragma once

#include "sys/types.h"

// Bringing up and taking down the chain from the program to the flash chip. Two levels: the probe
// (library open, interface set) and the flash (chip reached). Application thread only.

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

// What the flash engine needs of the layers above it; filled once at start-up.
struct FLASH_HOOKS {
  // Connected or disconnected: project information and menu state.
  void (*pfOnConnectionChanged)();
};
extern FLASH_HOOKS FLASH_Hooks;

// 0 or -1. Nothing to do when connected, but the timeouts are refreshed.
int FLASH_Connect();
int FLASH_EnsureConnected();
bool FLASH_IsConnected();
void FLASH_Disconnect();
// 0, -1, or -256 when the probe could not be opened.
int FLASH_Detect();
// Flash level only. 0, else not 0.
int FLASH_ConnectChip();
int FLASH_VerifyId(const u8* pExpected, u32 NumBytes, const u8* pRaw, u32 NumRaw,
                   bool IgnoreSecond);
// Whether the probe is open afterwards.
bool PROBE_Open(bool CheckPower, bool Announce);
void PROBE_Close();
int PROBE_Select(bool Announce);
void FLASH_HoldReset();

void FLASH_SetTargetPower(u32 Enable, u32 DelayMs);
void FLASH_SetFixedVTref(u32 Enable, u32 Millivolts);

// At the end of an operation: disconnects if the setting AutoDisconnect is on.
void FLASH_EndOperation();
// For tests: forgets the connection without any call to the library.
void FLASH_ResetConnection();
