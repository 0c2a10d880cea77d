#pragma once

#include "catalogue/devices/device_table.h"

// From a read ID to the project's flash description. Application thread.

// Identifies a raw read ID, selects the device and logs what was found. 0 or -1.
int FLASH_DetectDevice(const u8* pRawId, u32 NumRaw);
// Makes a table row the current device; DoApply copies its values into the project. 0, or -1 with
// no current device.
int FLASH_SelectDevice(i32 Index, bool DoApply);
// Current row, -1 when none is selected. A selection holds for the description that it was made
// with: it ends with the project, and with any change of its flash block.
i32 FLASH_GetSelectedDevice();
