#include "flash/custom.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "app/engine/log.h"
#include "flash/custom_internal.h"
#include "sys/util_format.h"
#include "sys/util_string.h"

// The interpreter: a step's values are clamped and put into words, then its action runs in a
// section of its own. An action may name the next step; there is no limit on the number of steps
// run, since a sequence may wait for a chip by branching back.

namespace {

constexpr u32 kParaInUse = 0x10;
constexpr u32 kParaWidthMask = 0x0F;
constexpr u32 kParaKindMask = 0xF0;
constexpr u32 kParaHex = 0x30;

// A parameter that doesn't exist counts as 0.
u32 Clamp(u32 Value, const CUSTOM_PARA& para) {
  return para.sName != nullptr ? std::clamp(Value, para.Min, para.Max) : 0;
}

// " ms"; "Byte(s)" is "Byte" for one.
std::string FormatUnit(const char* sUnit, u32 Value) {
  if (sUnit == nullptr) {
    return {};
  }
  std::string unit = sUnit;
  if (Value == 1 && unit.size() >= 4 && UTIL_stricmp(&unit[unit.size() - 3], "(s)") == 0) {
    unit.resize(unit.size() - 3);
  }
  return " " + unit;
}

std::string FormatByte(u8 Value) {
  char acByte[16];
  UTIL_snprintf(acByte, sizeof(acByte), "0x%02X", Value);
  return acByte;
}

// The first byte is listed even when none is sent; a full list may have been cut.
std::string FormatStream(const CUSTOM_STEP& step, u32 NumBytes) {
  std::string text = " - " + FormatByte(step.abData[0]);
  const u32 numShown = std::min(NumBytes, CUSTOM_MAX_DATA);
  for (u32 i = 1; i < numShown; ++i) {
    text += ", " + FormatByte(step.abData[i]);
  }
  return numShown == CUSTOM_MAX_DATA ? text + "..." : text;
}

std::string FormatPara(u32 Value, const CUSTOM_PARA& para) {
  char acValue[64];
  CUSTOM_FormatValue(Value, acValue, sizeof(acValue), &para);
  return acValue;
}

// The line that announces a step.
std::string FormatStep(const CUSTOM_STEP& step, const CUSTOM_ACTION& action, u32 Value0,
                       u32 Value1) {
  if (step.ActionIndex == CUSTOM_COMMENT) {
    const std::string comment(step.acComment, strnlen(step.acComment, sizeof(step.acComment)));
    return "//\r\n   // " + comment + "\r\n   //";
  }
  const std::string text = std::string("Executing ") + action.sName;
  if (CUSTOM_IsByteStream(step.ActionIndex)) {
    return text + FormatStream(step, Value0);
  }
  if (action.aPara[0].sName == nullptr) {
    return text + " ()";
  }
  const std::string first = FormatPara(Value0, action.aPara[0]);
  return action.aPara[1].sName == nullptr
             ? text + " (" + first + ")"
             : text + " (" + first + ", " + FormatPara(Value1, action.aPara[1]) + ")";
}

// Step by step until the index leaves the sequence. Null, or the text of the fault; an empty one
// when the fault is in the log already.
// A sequence may wait for the chip by branching back, for ever if that never comes: Cancel ends it.
const char* RunAll(std::span<const CUSTOM_STEP> Steps) {
  for (u32 index = 0; index < Steps.size();) {
    const char* sError = CUSTOM_RunStep(&Steps[index], &index);
    // The library's own error channel is the only one that tells of a transfer that failed.
    if (APP_GetErrorCount() != 0) {
      return "";
    }
    if (sError != nullptr) {
      return sError;
    }
    if (APP_IsOperationAlive() == 0) {
      APP_LogErrorf(APP_CAUSE::Canceled, "Canceled by user at step %u.", index);
      return "";
    }
  }
  return nullptr;
}

}  // namespace

int CUSTOM_FormatValue(u32 Value, char* pBuf, u32 BufSize, const CUSTOM_PARA* pPara) {
  if (pBuf == nullptr || BufSize == 0) {
    return -1;
  }
  pBuf[0] = '\0';
  if (pPara == nullptr || pPara->sName == nullptr) {
    return -1;
  }
  if ((pPara->Flags & kParaInUse) == 0) {
    return 0;
  }
  const u32 value = std::clamp(Value, pPara->Min, pPara->Max);
  if ((pPara->Flags & kParaKindMask) == kParaHex) {
    UTIL_snprintf(pBuf, BufSize, "0x%0*X", static_cast<int>(2 * (pPara->Flags & kParaWidthMask)),
                  value);
  } else {
    UTIL_snprintf(pBuf, BufSize, "%u%s", value, FormatUnit(pPara->sUnit, value).c_str());
  }
  return 0;
}

const char* CUSTOM_RunStep(const CUSTOM_STEP* pStep, u32* pIndex) {
  const CUSTOM_ACTION* pAction = CUSTOM_GetAction(pStep->ActionIndex);
  CUSTOM_ACTION_FUNC* pfAction = CUSTOM_GetActionFunc(pStep->ActionIndex);
  if (pAction == nullptr || pfAction == nullptr) {
    return "Invalid parameters";
  }
  const u32 value0 = Clamp(pStep->Value0, pAction->aPara[0]);
  const u32 value1 = Clamp(pStep->Value1, pAction->aPara[1]);
  APP_LOG_SECTION section(FormatStep(*pStep, *pAction, value0, value1).c_str());
  u32 nextIndex = *pIndex + 1;
  const char* sError = pfAction(&nextIndex, value0, value1, pStep->abData);
  *pIndex = nextIndex;
  return sError;
}

int CUSTOM_RunSteps(std::span<const CUSTOM_STEP> Steps, const char* sName) {
  APP_LogBeginf("Executing %s...", sName);
  const char* sError = RunAll(Steps.first(std::min<std::size_t>(Steps.size(), CUSTOM_MAX_STEPS)));
  if (sError != nullptr && *sError != '\0') {
    APP_LogError(APP_CAUSE::Project, sError);
  }
  APP_LogEndEx("Executed successfully");
  return sError == nullptr ? 0 : -1;
}
