#include "programmer/config_file.h"

#include "app/engine/app_state.h"
#include "app/engine/log.h"
#include "programmer/config_items.h"
#include "programmer/file_header.h"
#include "programmer/hooks.h"

namespace {

constexpr u32 kMaxSize = 2048000;
constexpr u32 kUnit = 2048;

// The offset of the last byte becomes a multiple of the unit: the length is one more than that.
int Pad(DYNBUFFER* pBuffer) {
  const u32 rest = pBuffer->LastIndex % kUnit;
  if (rest == 0) {
    return 0;
  }
  return DYNBUFFER_FillAt(pBuffer, u64{pBuffer->LastIndex} + 1, 0, kUnit - rest);
}

int Build(DYNBUFFER* pBuffer) {
  if (PROJECT_IsOpen() == 0) {
    APP_LogErrorCb(nullptr, "No project file opened.");
    return -1;
  }
  CONFIG_BLOCKS blocks{};
  PROJECT_GetCpu(&blocks.Cpu);
  PROJECT_GetFlash(&blocks.Flash);
  PROJECT_GetProduction(&blocks.Production);
  PROJECT_GetPerformance(&blocks.Performance);
  if (DYNBUFFER_Init(pBuffer, ZELMONT_LogError, kMaxSize, kUnit, 0) != 0 ||
      ZELMONT_WriteHeader(pBuffer, "Config", APP_GetShortTitle()) != 0 ||
      ZELMONT_AppendItems(pBuffer, blocks) != 0 || Pad(pBuffer) != 0) {
    return -1;
  }
  return ZELMONT_FinishHeader(pBuffer, pBuffer->LastIndex, pBuffer->LastIndex);
}

}  // namespace

int ZELMONT_CFG_Build(DYNBUFFER* pBuffer) {
  if (Build(pBuffer) != 0) {
    DYNBUFFER_Free(pBuffer);
    return -1;
  }
  return 0;
}
