// Operations on the target.
#include "app/operations/cmdline_numbers.h"
#include "app/operations/data_ops.h"
#include "app/operations/data_windows.h"
#include "app/operations/operation_funcs.h"
#include "flash/auto.h"
#include "flash/connect.h"
#include "flash/erase.h"
#include "flash/program.h"
#include "flash/verify.h"
#include "sys/util_format.h"

namespace {

// A range of the chip that a person asked for last, offered again. Application thread only.
struct RANGE {
  u64 First = 0, Last = 0;
};
RANGE& LastRange() {
  static RANGE range;
  return range;
}

}  // namespace

int OP_Connect(const APP_CALL& /*call*/) {
  return FLASH_Connect();
}

int OP_Disconnect(const APP_CALL& /*call*/) {
  FLASH_Disconnect();
  return 0;
}

int OP_EraseSectors(const APP_CALL& /*call*/) {
  FLASH_EraseAllSectors();
  return 0;
}

int OP_EraseChip(const APP_CALL& /*call*/) {
  FLASH_EraseChip();
  return 0;
}

int OP_ProgramVerify(const APP_CALL& call) {
  FLASH_ProgramVerify(OP_GetImage(call));
  return 0;
}

int OP_Program(const APP_CALL& call) {
  FLASH_Program(OP_GetImage(call), false);
  return 0;
}

int OP_Auto(const APP_CALL& call) {
  FLASH_Auto(OP_GetImage(call));
  return 0;
}

int OP_Verify(const APP_CALL& call) {
  FLASH_Verify(OP_GetImage(call));
  return 0;
}

int OP_ReadChip(const APP_CALL& /*call*/) {
  return APP_ShowReadImage(FLASH_ReadChip(), "Target memory (Entire flash chip)");
}

int OP_ReadRange(const APP_CALL& call) {
  RANGE range;
  if (call.Text.has_value()) {
    if (CMDLINE_ParseRange(call.Text->c_str(), &range.First, &range.Last) != 0) {
      return -1;
    }
  } else {
    RANGE& last = LastRange();
    if (APP_AskAddressRange(nullptr, "Enter address range", &last.First, &last.Last) != 0) {
      return 0;
    }
    range = last;
  }
  char acTitle[96];
  UTIL_snprintf64(acTitle, sizeof acTitle, "Target memory (0x%lX - 0x%lX)", range.First,
                  range.Last);
  return APP_ShowReadImage(FLASH_ReadSpan(range.First, range.Last), acTitle);
}
