#include "tests/flash/flash_scope.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>

#include "app/engine/log.h"
#include "catalogue/catalogue.h"
#include "flash/geometry.h"
#include "project/recent.h"
#include "project/settings.h"

namespace {

FakeDriver* pFake;

[[gnu::format(printf, 1, 2)]] void Note(const char* sFormat, ...) {
  char acLine[256];
  va_list args;
  va_start(args, sFormat);
  std::vsnprintf(acLine, sizeof(acLine), sFormat, args);
  va_end(args);
  pFake->Log += std::string(acLine) + "\n";
}

std::string Hex(const u8* p, u32 n) {
  std::string text;
  for (u32 i = 0; i < n && i < 8; ++i) {
    char ac[4];
    std::snprintf(ac, sizeof(ac), "%02X", p[i]);
    text += ac;
  }
  return n > 8 ? text + ".." : text;
}

// The write latch, as frames set it and use it up.
void TakeFrame(u8 Cmd, u32 Flags) {
  if ((Flags & SPI_FLAGS_BEGIN) == 0) {
    return;
  }
  if (Cmd == 0x06) {
    pFake->IsLatchSet = true;
  } else if (std::string_view("\x01\x02\x04\x31\x32\x98\xC7\xD8").find(static_cast<char>(Cmd)) !=
             std::string_view::npos) {
    pFake->IsLatchSet = false;
  }
}

u8 TakeStatus() {
  const u8 status = pFake->Status.empty() ? u8{0} : pFake->Status.front();
  if (pFake->Status.size() > 1) {
    pFake->Status.pop_front();
  }
  return static_cast<u8>(status | (pFake->HasLatch && pFake->IsLatchSet ? 2 : 0));
}

int Transfer(const u8* pWrite, u8* pRead, u32 NumBits, u32 Flags) {
  if (pFake->ErrorAtTransfer != 0 && --pFake->ErrorAtTransfer == 0) {
    pFake->pfError("Link lost");
  }
  if (pWrite != nullptr) {
    Note("W %s %u %03X", Hex(pWrite, NumBits / 8).c_str(), NumBits, Flags);
    TakeFrame(pWrite[0], Flags);
  } else {
    Note("R %u %03X", NumBits, Flags);
    if (!pFake->IsDead && !pFake->Status.empty()) {
      std::memset(pRead, TakeStatus(), NumBits / 8);
    }
  }
  return pFake->TransferResult;
}

// The first record names the instruction, the second the address of a read.
void FillRead(const VORTIC_SPI_CMD* pList, const VORTIC_SPI_CMD& cmd) {
  const u32 numBytes = cmd.NumBits / 8;
  const u8 before = (&cmd)[-1].pWrite != nullptr ? (&cmd)[-1].pWrite[0] : u8{0};
  if (before == 0x05 && (&cmd)[-1].NumBits == 8) {
    std::fill_n(cmd.pRead, numBytes, TakeStatus());
    return;
  }
  if (before == 0x9F) {
    std::fill_n(cmd.pRead, numBytes, u8{0});
    std::copy_n(pFake->Id.begin(), std::min<std::size_t>(pFake->Id.size(), numBytes), cmd.pRead);
    return;
  }
  u32 addr = 0;
  for (u32 i = 0; i < pList[1].NumBits / 8; ++i) {
    addr = addr << 8 | pList[1].pWrite[i];
  }
  for (u32 i = 0; i < numBytes; ++i) {
    cmd.pRead[i] = addr + i < pFake->Memory.size() ? pFake->Memory[addr + i] : u8{0xFF};
  }
}

int RunList(VORTIC_SPI_CMD* pList, u32 NumRecords) {
  Note("List %u", NumRecords);
  if (++pFake->NumLists >= pFake->SilentFromList) {
    return pFake->ListResult;
  }
  for (u32 i = 0; i < NumRecords; ++i) {
    VORTIC_SPI_CMD& cmd = pList[i];
    if (cmd.Type == 2) {
      const auto& para = *static_cast<const VORTIC_POLL_PARA*>(cmd.pPara);
      Note("2 %X/%X/%u %u %03X %u", para.Mask, para.Expected, para.Timeout, cmd.NumBits, cmd.Flags,
           cmd.ParaSize);
      *cmd.pRead = 0;
      cmd.Result = 0;
    } else if (cmd.pWrite != nullptr) {
      Note("1 %s %u %03X", Hex(cmd.pWrite, cmd.NumBits / 8).c_str(), cmd.NumBits, cmd.Flags);
      TakeFrame(cmd.pWrite[0], cmd.Flags);
      cmd.Result = static_cast<i32>((cmd.NumBits + 7) / 8);
    } else {
      Note("1 < %u %03X", cmd.NumBits, cmd.Flags);
      FillRead(pList, cmd);  // and leaves the result alone
    }
  }
  if (pFake->OnList) {
    pFake->OnList(pList, NumRecords);
  }
  return pFake->ListResult;
}

template <u32 SIZE>
int EnterFast(const void* pPara) {
  const auto* p = static_cast<const u8*>(pPara);
  pFake->FastPara.assign(p, p + SIZE);
  return 0;
}

int QueueData(u32 Addr, u32 NumBytes, const u8* /*pData*/) {
  Note("Queue %X %X", Addr, NumBytes);
  return pFake->FastResult;
}

int QueueErase(u32 Addr, u32 NumBytes) {
  Note("QueueErase %X %X", Addr, NumBytes);
  return pFake->FastResult;
}

int Wait(u32* pFailAddr) {
  if (pFake->WaitResults.empty()) {
    return 0;
  }
  const int result = pFake->WaitResults.front();
  if (pFake->WaitResults.size() > 1) {
    pFake->WaitResults.pop_front();
  }
  *pFailAddr = 0x1234;
  return result;
}

int LeaveFast() {
  Note("LeaveFast");
  return 0;
}

template <class TO, class F>
TO As(F f) {
  return reinterpret_cast<TO>(+f);
}

VORTIC_FUNC GetpFunc(int32_t Index) {
  static const std::map<i32, VORTIC_FUNC> functions = {
      {1, As<VORTIC_FUNC>(RunList)},     {43, As<VORTIC_FUNC>(Wait)},
      {44, As<VORTIC_FUNC>(LeaveFast)},  {45, As<VORTIC_FUNC>(EnterFast<56>)},
      {46, As<VORTIC_FUNC>(QueueData)},  {47, As<VORTIC_FUNC>(QueueData)},
      {48, As<VORTIC_FUNC>(QueueErase)}, {72, As<VORTIC_FUNC>(EnterFast<64>)},
  };
  const auto it = functions.find(Index);
  return it == functions.end() || pFake->MissingFunc.contains(Index) ? nullptr : it->second;
}

const char* OpenEx(void* /*pReserved*/, VORTIC_TEXT_HANDLER* pfLog) {
  Note("Open");
  pfLog("Probe announces itself");
  return pFake->sOpen;
}

int GetAvailable(u32* pMask) {
  *pMask = pFake->Interfaces;
  return 0;
}

int SelectTif(i32 Interface) {
  Note("Tif %d", Interface);
  return 0;
}

int GetHWStatus(VORTIC_HW_STATUS* pStatus) {
  pStatus->VTarget = pFake->MilliVolts;
  return pFake->HwResult;
}

int Exec(const char* sCommand, char* /*pError*/, i32 /*Size*/) {
  Note("Exec %s", sCommand);
  return pFake->ExecResult;
}

void* Lookup(const char* sName) {
  const auto select = [] { return pFake->SelectResult; };
  static const std::map<std::string, void*> functions = {
      {"VORTICARM_SelectUSB", As<void*>(select)},
      {"VORTICARM_EMU_SelectByUSBSN", As<void*>(select)},
      {"VORTIC_EMU_SelectByUSBNickname", As<void*>(select)},
      {"VORTICARM_SelectIP", As<void*>(select)},
      {"VORTICARM_OpenEx", As<void*>(OpenEx)},
      {"VORTICARM_Close", As<void*>([] { Note("Close"); })},
      {"VORTICARM_SetErrorOutHandler",
       As<void*>([](VORTIC_TEXT_HANDLER* pf) { pFake->pfError = pf; })},
      {"VORTICARM_SetLogFile", As<void*>([] { return 0; })},
      {"VORTICARM_EMU_GetProductId", As<void*>([] { return pFake->ProductId; })},
      {"VORTICARM_GetSN", As<void*>([] { return -7; })},
      {"VORTICARM_GetCompileDateTime", As<void*>([]() -> const char* { return nullptr; })},
      {"VORTICARM_TIF_GetAvailable", As<void*>(GetAvailable)},
      {"VORTICARM_TIF_Select", As<void*>(SelectTif)},
      {"VORTICARM_SetSpeed", As<void*>([](u32 SpeedkHz) { Note("Speed %u", SpeedkHz); })},
      {"VORTICARM_GetSpeed", As<void*>([] { return 0xABCD0FA0; })},  // the high half is noise
      {"VORTICARM_GetHWStatus", As<void*>(GetHWStatus)},
      {"VORTICARM_ExecCommand", As<void*>(Exec)},
      {"VORTICARM_ClrRESET", As<void*>([] { Note("Line r"); })},
      {"VORTICARM_SetRESET", As<void*>([] { Note("Line R"); })},
      {"VORTICARM_ClrTMS", As<void*>([] { Note("Line c"); })},
      {"VORTICARM_SetTMS", As<void*>([] { Note("Line C"); })},
      {"VORTIC_SPI_Transfer", As<void*>(Transfer)},
      {"VORTIC_GetpFunc", As<void*>(GetpFunc)},
  };
  const auto it = functions.find(sName);
  return it == functions.end() || pFake->Missing.contains(sName) ? nullptr : it->second;
}

// A NOR flash of 16 sectors that is known by hand.
void SetPlainChip(SPI_FLASH_INFO& info) {
  info.AutoDetect = 0;
  info.FlashType = FLASH_TYPE_NOR;
  info.NumPages = 4096;
  info.PageSizeShift = 8;
  info.SectorSizeShift = 16;
  std::copy_n("\xEF\x40\x18", 3, info.abID);
}

}  // namespace

FlashScope::FlashScope() {
  setenv("XDG_CONFIG_HOME", m_Dir.path().c_str(), 1);
  APP_EngineHooks.pfGetLogLevel = [] { return 9u; };
  FLASH_Hooks.pfSetStatusText = [](const char* sText, u32 Index) {
    APP_GetFrontEnd()->SetStatusText(sText, Index);
  };
  FLASH_Hooks.pfOnProbeOpening = [](bool IsOpening) {
    APP_GetFrontEnd()->EnableDataWindowCheck(!IsOpening);
  };
  SETUP_Init();
  FLASH_ResetConnection();
  PROJECT_New(nullptr);
  SetFlash(SetPlainChip);
  FLASH_SelectDevice(-1, false);
}

FlashScope::~FlashScope() {
  FLASH_Disconnect();
  FLASH_ResetConnection();
  PROJECT_Reset();
  SETTINGS_Exit();
  SETUP_Reset();
  RECENT_Reset();
}

void FlashScope::SetFlash(const std::function<void(SPI_FLASH_INFO&)>& change) {
  SPI_FLASH_INFO info{};
  PROJECT_GetFlash(&info);
  change(info);
  PROJECT_SetFlash(&info);
}

FLASH_CHIP FlashScope::MakeChip() {
  FLASH_CHIP chip;
  PROJECT_GetFlash(&chip.Info);
  chip.StatusFormat = chip.Info.StatusRegFormat;
  chip.Sectors = GEOMETRY_Of(chip.Info);
  chip.Units = GEOMETRY_UnitsOf(chip.Info);
  chip.TimeoutBlockProtMs = chip.TimeoutEraseSectorMs = chip.TimeoutEraseChipMs = 100;
  return chip;
}

void FlashScope::SetProduction(const std::function<void(PROJ_PRODUCTION&)>& change) {
  PROJ_PRODUCTION production;
  PROJECT_GetProduction(&production);
  change(production);
  PROJECT_SetProduction(&production);
}

FakeDriver::FakeDriver() : Status{0} {
  pFake = this;
  DRIVER_SetLookup(Lookup);
}

FakeDriver::~FakeDriver() {
  FLASH_Disconnect();
  FLASH_ResetConnection();
  DRIVER_SetLookup(nullptr);
}

MEMAREA_PTR MakeImage(const Ranges& ranges, u8 Value) {
  MEMAREA_PTR pArea(MEMAREA_Create());
  for (const auto& [addr, numBytes] : ranges) {
    const std::vector<u8> data(numBytes, Value);
    MEMAREA_AddRange(pArea.get(), addr, numBytes, data.data());
  }
  return pArea;
}
