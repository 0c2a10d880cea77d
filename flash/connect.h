#pragma once

#include "sys/types.h"

struct MEMAREA;

// Bringing up and taking down the chain from the program to the flash chip. Two levels: the probe
// (library open, interface set) and the flash (chip reached). Application thread only.
//
//              probe open  connected  reached by                      left by
//   closed     no          no         start, disconnect, any failed   PROBE_Open, FLASH_Connect
//                                     connect
//   probe      yes         no         PROBE_Open alone (files of a    PROBE_Close, FLASH_Connect
//                                     programmer, detection)
//   connected  yes         yes        FLASH_Connect                   FLASH_Disconnect
//
// Each operation connects by itself, so nobody has to ask for a connection first. What is known of
// the chip belongs to the connection (flash/chip.h). The runner of the operations (operation.h)
// owns the rest: it disconnects behind an operation that failed, so that the next one starts with
// the chip's power-on state, and behind each one when the setting AutoDisconnect is on.

// What the flash engine needs of the layers above it; filled once at start-up.
struct FLASH_HOOKS {
  // Connected or disconnected: project information and menu state.
  void (*pfOnConnectionChanged)();
  // The probe is about to be opened, or no longer: nothing may come between.
  void (*pfOnProbeOpening)(bool IsOpening);
  // The texts of the status bar: 0 outcome, 1 connection, 2 speed.
  void (*pfSetStatusText)(const char* sText, u32 Index);
  // The bytes of an image have changed in place: its window shows it anew.
  void (*pfOnImageChanged)(MEMAREA* pArea);
};
extern FLASH_HOOKS FLASH_Hooks;

// 0 or -1, reported. When connected nothing is sent, and only the timeouts are taken anew, unless
// the connection is no longer that of the project: its flash description has changed, or the
// library has told of an error while no operation ran. It is then made anew.
[[nodiscard]] int FLASH_Connect();
[[nodiscard]] int FLASH_EnsureConnected();
bool FLASH_IsConnected();
void FLASH_Disconnect();
// 0, -1, or -256 when the probe could not be opened. Identifies the chip into the project.
[[nodiscard]] int FLASH_Detect();
// 0, or -1 reported.
[[nodiscard]] int FLASH_VerifyId(const u8* pExpected, u32 NumBytes, const u8* pRaw, u32 NumRaw,
                                 bool IgnoreSecond);
// Whether the probe is open afterwards. CheckPower refuses a target below 1000 mV. Announce logs
// how the probe is reached, in an open section.
[[nodiscard]] bool PROBE_Open(bool CheckPower, bool Announce);
void PROBE_Close();
// 0, or -1 reported.
[[nodiscard]] int PROBE_Select(bool Announce);
bool PROBE_IsOpen();
// A gang programmer, which takes no target set-up.
bool PROBE_IsGang();
void FLASH_HoldReset();

// From the project's production block, whenever that changes. They count from the next PROBE_Open.
void FLASH_SetTargetPower(u32 Enable, u32 DelayMs);
void FLASH_SetFixedVTref(u32 Enable, u32 Millivolts);

// For tests: forgets the connection without any call to the library.
void FLASH_ResetConnection();
