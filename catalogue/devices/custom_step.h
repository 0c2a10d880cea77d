#pragma once

#include "sys/types.h"

// One step of a sequence that runs on the SPI bus. ActionIndex is a row of the action table
// below; 0 is a comment.
struct CUSTOM_STEP {
  bool operator==(const CUSTOM_STEP&) const = default;

  char acComment[256];
  u8 abData[16];  // bytes of a Write Data step
  u32 Value0;
  u32 Value1;
  u32 ActionIndex;
};

// A sequence has no more steps than that.
constexpr u32 CUSTOM_MAX_STEPS = 256;
constexpr u32 CUSTOM_MAX_DATA = 16;

// Rows of the action table; a project stores the name, a step record the index.
enum CUSTOM_ACTION_INDEX : u32 {
  CUSTOM_COMMENT,
  CUSTOM_DELAY,
  CUSTOM_ACTIVATE_CS,
  CUSTOM_DEACTIVATE_CS,
  CUSTOM_WRITE_DATA,
  CUSTOM_VAR_READ_DATA,
  CUSTOM_VAR_VERIFY_BYTE,
  CUSTOM_VAR_WRITE_DATA,
  CUSTOM_VAR_AND,
  CUSTOM_VAR_OR,
  CUSTOM_VAR_XOR,
  CUSTOM_VAR_BEQ,
  CUSTOM_VAR_BNE,
  CUSTOM_NUM_ACTIONS
};

// Description of one parameter. sName null: the action has no such parameter.
struct CUSTOM_PARA {
  const char* sName;
  const char* sUnit;
  u32 Min, Max;
  u32 Flags;  // bit 4: in use; bits 0-3: width in bytes; bits 4-7 equal to 3: hexadecimal;
              // bits 4 and 6: byte stream; else decimal
};

struct CUSTOM_ACTION {
  const char* sName;
  CUSTOM_PARA aPara[2];
};

u32 CUSTOM_GetNumActions();
// Null at CUSTOM_NUM_ACTIONS or more.
const CUSTOM_ACTION* CUSTOM_GetAction(u32 Index);
// Row of the name, compared without regard to case; -1 when unknown or null.
i32 CUSTOM_FindAction(const char* sName);
// True for the action whose second parameter is a byte stream.
bool CUSTOM_IsByteStream(u32 ActionIndex);
