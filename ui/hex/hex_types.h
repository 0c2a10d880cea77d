#pragma once

#include <functional>
#include <string>

#include "sys/types.h"

// Types that the hex editor's widget and its window-free parts share.

// Which controls an editor offers, one flag each.
struct HEX_EDITOR_CONFIG {
  u8 ShowRefresh = 1;      // periodic refresh; 0 also stops the timer
  u8 ShowViewFormat = 1;   // display width actions; 0 forces items of 1 byte
  u8 ShowAccessWidth = 1;  // access width actions; 0 forces the automatic width
  u8 ShowFill = 1;
  u8 ShowLoad = 1;
  u8 ShowSave = 1;
  u8 ScrollWhileDragging = 0;  // moving the slider reads memory at once
};

// States of a byte of the window on memory. Any other value shows like OUTSIDE.
constexpr u8 MEM_STATE_VALID = 0;
constexpr u8 MEM_STATE_NO_DATA = 1;  // inside the source's range, but nothing is there
constexpr u8 MEM_STATE_UNREAD = 3;
constexpr u8 MEM_STATE_OUTSIDE = 4;

// End, exclusive, of the addresses that an editor shows.
constexpr u64 HEX_ADDR_LIMIT = u64{1} << 32;

// What serves an editor without a memory area. All are called on the GUI thread; results are
// negative on failure. pState, one byte a byte, may be null.
struct HEX_HANDLERS {
  std::function<int(u64 Addr, u64 NumBytes, u8 AccessWidth, const char* sZone, u8* pData,
                    u8* pState)>
      pfReadMem;
  std::function<int(u64 Addr, u64 NumBytes, u8 AccessWidth, const char* sZone, const u8* pData)>
      pfWriteMem;
  // Number of zones; their names separated by commas.
  std::function<int(char* pBuf, u32 BufSize)> pfGetZones;
  // Receives all status and error texts; without it they are dropped.
  std::function<void(const std::string& Text, bool IsError)> pfOnMessage;
};
