#pragma once

#include <array>

#include "flash/custom.h"

// What the interpreter and its actions share.

constexpr u32 CUSTOM_BUFFER_SIZE = 16;

// Runs one action: null, or an error text that stays valid until the next failing action.
// *pNextIndex holds the step to go on with. Values are within their parameters' limits.
using CUSTOM_ACTION_FUNC = const char*(u32* pNextIndex, u32 Value0, u32 Value1, const u8* pData);

// Null for an index past the action table.
CUSTOM_ACTION_FUNC* CUSTOM_GetActionFunc(u32 ActionIndex);
