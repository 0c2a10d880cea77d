#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <string>

#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "catalogue/catalogue.h"
#include "flash/connect_internal.h"
#include "flash/link.h"
#include "project/project.h"
#include "sys/util_format.h"

// Reaching the chip behind an open probe: its ID, its address mode.

namespace {

constexpr u8 kCmdReadJedecId = 0x9F;
constexpr u8 kCmdWakeUp = 0xAB;
constexpr u8 kCmdClearFlags = 0x50;
constexpr u8 kCmdReadStatus2 = 0x35;
constexpr u8 kStatusLatch = 0x02;
constexpr u8 kNoAnswer = 0xFF;

// For a chip that still works on what an earlier run has started.
constexpr u32 kTimeoutBusyMs = 400000;

// What the plain read instruction takes on every part of its kind, in kHz.
constexpr u32 kMaxPlainReadNor = 20000;
constexpr u32 kMaxPlainReadOther = 5000;
constexpr u32 kMaxPlainReadByHand = 33000;

constexpr u32 kNumProbes = 16;  // places at which four lanes are compared with one
constexpr u32 kProbeBytes = 64;

std::string FormatId(const char* sHead, const u8* pId, u32 NumBytes) {
  std::string text = sHead;
  for (u32 i = 0; i < NumBytes; ++i) {
    std::array<char, 16> acByte{};
    UTIL_snprintf(acByte.data(), acByte.size(), "%s0x%02X", i == 0 ? "" : ", ", pId[i]);
    text += acByte.data();
  }
  return text;
}

// A line that nobody drives reads as all ones or all zeros, depending on the board.
bool IsNothing(std::span<const u8> Bytes) {
  return std::all_of(Bytes.begin(), Bytes.end(), [](u8 b) { return b == 0xFF; }) ||
         std::all_of(Bytes.begin(), Bytes.end(), [](u8 b) { return b == 0x00; });
}

// Information only: the probe level has judged the voltage.
void LogVoltage() {
  u32 millivolts = 0;
  if (VORTIC_GetTargetVoltage(&millivolts) == 0) {
    APP_LogInfof("VTarget = %u.%.3uV", millivolts / 1000, millivolts % 1000);
  }
}

bool HasQuadCommands(const SPI_FLASH_INFO& info) {
  return info.CmdReadDataQuad != 0 && info.CmdWritePageQuad != 0 && info.NumDummyCyclesQuad != 0;
}

// The identification as it comes, of the length that the project's way needs.
struct RawId {
  std::array<u8, SPI_ID_BYTES_DETECT> Bytes{};
  u32 NumBytes = 0;

  std::span<u8> Read() { return {Bytes.data(), NumBytes}; }
  bool IsNothing() const {
    std::array<u8, SPI_ID_BYTES_VERIFY> aStripped{};
    SPI_StripIdBytes(Bytes.data(), NumBytes, aStripped.data(), SPI_ID_BYTES_VERIFY);
    return ::IsNothing({aStripped.data(), 3});
  }
};

// A chip that was left busy, or asleep, by a run that has died answers to nothing else. 0, or -1
// reported.
int WakeChip(const FLASH_CHIP& Chip) {
  const u8 status = SPI_ReadStatus(Chip.Info);
  const bool isBusy = status != kNoAnswer && !SPI_IsReadyStatus(Chip.Info, status);
  if (isBusy) {
    APP_LogInfo("The chip is busy with the work of an earlier run: waiting ...");
    return LINK_WaitReady(Chip, kTimeoutBusyMs) == WaitResult::Ready ? 0 : -1;
  }
  SPI_SendCmd(kCmdWakeUp);
  return APP_GetErrorCount() == 0 ? 0 : -1;
}

// 0, or -1 reported.
int ReadId(const FLASH_CHIP& Chip, RawId* pId) {
  const bool isDetecting = Chip.Info.AutoDetect != 0;
  const u8 cmd = isDetecting ? kCmdReadJedecId : Chip.Info.CmdReadID;
  pId->NumBytes = isDetecting ? SPI_ID_BYTES_DETECT : SPI_ID_BYTES_VERIFY;
  if (SPI_ReadId(cmd, pId->Read()) != 0) {
    return -1;
  }
  if (!pId->IsNothing()) {
    return 0;
  }
  return WakeChip(Chip) == 0 && SPI_ReadId(cmd, pId->Read()) == 0 ? 0 : -1;
}

// Identification selects the device and stores its description in the project; a known chip is only
// compared. 0, or -1 reported.
int CheckId(FLASH_CHIP* pChip, const RawId& Id) {
  const SPI_FLASH_INFO& info = pChip->Info;
  if (info.AutoDetect != 0) {
    if (FLASH_DetectDevice(Id.Bytes.data(), Id.NumBytes) != 0) {
      return -1;
    }
    PROJECT_GetFlash(&pChip->Info);
    pChip->Info.CmdReadID = kCmdReadJedecId;
  } else if (FLASH_VerifyId(info.abID, sizeof(info.abID), Id.Bytes.data(), Id.NumBytes,
                            info.Ignore2ndIdByte != 0) != 0) {
    return -1;
  }
  std::array<u8, SPI_ID_BYTES_VERIFY> aStripped{};
  SPI_StripIdBytes(Id.Bytes.data(), Id.NumBytes, aStripped.data(), SPI_ID_BYTES_VERIFY);
  std::copy_n(aStripped.begin(), pChip->abId.size(), pChip->abId.begin());
  // A description may expect nothing, for a part that has no identification.
  pChip->HasId = !Id.IsNothing();
  return 0;
}

// A layout that nobody knows is none; memories without erase have theirs in common.
int FindStatusFormat(const FLASH_CHIP& Chip) {
  FLASH_DEVICE row{};
  if (Chip.Row >= 0 && FLASH_GetDeviceRow(static_cast<u32>(Chip.Row), &row) == 0) {
    return static_cast<int>(row.StatusRegFormat());
  }
  return Chip.Info.AutoDetect != 0 && Chip.IsNor() ? FLASH_FORMAT_UNKNOWN
                                                   : Chip.Info.StatusRegFormat;
}

// Write enable, and disable, have to show: that also is the one sign of life of a part without an
// ID. 0, or -1 reported.
int TryWriteLatch(FLASH_CHIP* pChip) {
  const SPI_FLASH_INFO& info = pChip->Info;
  pChip->HasWriteLatch = false;
  u8 status = 0;
  if (info.CmdWriteEnable != 0 && info.CmdWriteDisable != 0) {
    SPI_SendCmd(info.CmdWriteEnable);
    status = SPI_ReadPlainStatus();
    const bool isSet = status != kNoAnswer && (status & kStatusLatch) != 0;
    SPI_SendCmd(info.CmdWriteDisable);
    pChip->HasWriteLatch = isSet && (SPI_ReadPlainStatus() & kStatusLatch) == 0;
  }
  if (APP_GetErrorCount() != 0) {
    return -1;
  }
  if (pChip->HasWriteLatch || pChip->HasId) {
    return 0;
  }
  APP_LogErrorf(APP_CAUSE::NoChip, "The chip does not answer (status 0x%.2X behind write enable).",
                status);
  return -1;
}

// Errors of an earlier run would be taken for those of this one.
void ClearErrorFlags(const FLASH_CHIP& Chip) {
  if (Chip.HasFlagStatus()) {
    SPI_SendCmd(kCmdClearFlags);
  }
}

void ShowConnected() {
  CONNECT_SetStatusText("Connected", 1);
  CONNECT_SetStatusText("Ready", 0);
  std::array<char, 32> acSpeed{};
  UTIL_snprintf(acSpeed.data(), acSpeed.size(), "Speed: %u kHz", VORTIC_GetSpeed());
  CONNECT_SetStatusText(acSpeed.data(), 2);
}

// 0, or -1 reported.
int ReachChip(FLASH_CHIP* pChip) {
  PROJECT_GetFlash(&pChip->Info);
  const bool hasId = pChip->Info.FlashType != FLASH_TYPE_EEPROM;
  const bool wasQuad = pChip->Info.UseQuadMode != 0 && pChip->IsNor();
  if (wasQuad && pChip->Info.AutoDetect == 0 && !HasQuadCommands(pChip->Info)) {
    APP_LogError(
        APP_CAUSE::Project,
        "Cannot use Quad Mode. ReadDataQuad, WritePageQuad or NumDummyCyclesQuad are unknown!");
    return -1;
  }
  RawId id;
  if (hasId && (ReadId(*pChip, &id) != 0 || CheckId(pChip, id) != 0)) {
    return -1;
  }
  if (pChip->Info.UseQuadMode != 0 && pChip->IsNor() && !HasQuadCommands(pChip->Info)) {
    APP_LogError(
        APP_CAUSE::Project,
        "Cannot use Quad Mode. ReadDataQuad, WritePageQuad or NumDummyCyclesQuad are unknown!");
    return -1;
  }
  pChip->Row = FLASH_GetSelectedDevice();
  pChip->StatusFormat = FindStatusFormat(*pChip);
  pChip->Sectors = GEOMETRY_Of(pChip->Info);
  pChip->Units = GEOMETRY_UnitsOf(pChip->Info);
  ClearErrorFlags(*pChip);
  return TryWriteLatch(pChip) == 0 && CONNECT_Enter4ByteMode(pChip->Info) == 0 ? 0 : -1;
}

// Where the quad enable bit of a maker stands: 1 set, 0 clear, -1 not known.
int ReadQuadEnable(const FLASH_CHIP& Chip) {
  constexpr u8 bitOfStatus2 = 0x02;
  constexpr u8 bitOfStatus = 0x40;
  switch (Chip.abId[0]) {
    case 0xEF:
    case 0xC8: {
      const u8 status = SPI_ReadRegister(kCmdReadStatus2);
      return status != kNoAnswer ? (status & bitOfStatus2) != 0 : -1;
    }
    case 0xC2:
    case 0x9D: {
      const u8 status = SPI_ReadPlainStatus();
      return status != kNoAnswer ? (status & bitOfStatus) != 0 : -1;
    }
    default:
      return -1;
  }
}

// 1: some data was read by four lanes and by one, and was the same. 0: the places looked at are
// blank, which a chip that ignores quad reads is, too. -1: differs or failed, reported.
int CompareQuad(const FLASH_CHIP& Chip) {
  SPI_FLASH_INFO single = Chip.Info;
  single.UseQuadMode = 0;
  const u64 size = Chip.Sectors.GetTotalSize();
  std::array<u8, kProbeBytes> aQuad{};
  std::array<u8, kProbeBytes> aSingle{};
  for (u32 i = 0; i < kNumProbes; ++i) {
    const u32 addr = static_cast<u32>(size / kNumProbes * i);
    if (SPI_ReadData(Chip.Info, addr, kProbeBytes, aQuad.data()) != 0 ||
        SPI_ReadData(single, addr, kProbeBytes, aSingle.data()) != 0) {
      return -1;
    }
    const auto differs = std::mismatch(aQuad.begin(), aQuad.end(), aSingle.begin());
    if (differs.first != aQuad.end()) {
      const u32 wrong = addr + static_cast<u32>(differs.first - aQuad.begin());
      APP_LogErrorf(
          APP_ERROR(APP_CAUSE::ReadFailed).At(wrong).Differs(*differs.second, *differs.first),
          "Quad transfer does not work @ address 0x%.8X (four lanes: 0x%.2X, one lane: "
          "0x%.2X): is quad enable set?",
          wrong, *differs.first, *differs.second);
      return -1;
    }
    if (!IsNothing(aSingle)) {
      return 1;
    }
  }
  return 0;
}

// The steps of a detection behind the open probe.
int DetectChip() {
  const u32 numErrors = DRIVER_GetNumErrors();
  RawId id;
  id.NumBytes = SPI_ID_BYTES_DETECT;
  VORTIC_DeactivateCS();
  if (SPI_ReadId(kCmdReadJedecId, id.Read()) != 0) {
    return -1;
  }
  const int result = FLASH_DetectDevice(id.Bytes.data(), id.NumBytes);
  return DRIVER_GetNumErrors() == numErrors ? result : -1;
}

}  // namespace

int CONNECT_Enter4ByteMode(const SPI_FLASH_INFO& Info) {
  if (!CONNECT_Wants4ByteMode(Info)) {
    return 0;
  }
  SPI_SendCmd(Info.CmdWriteEnable);
  SPI_SendCmd(Info.CmdEnter4ByteMode);
  SPI_SendCmd(Info.CmdWriteDisable);
  return APP_GetErrorCount() == 0 ? 0 : -1;
}

int CONNECT_ReachChip(FLASH_CHIP* pChip) {
  LogVoltage();
  if (ReachChip(pChip) != 0) {
    CONNECT_SetStatusText("Failed to connect", 0);
    return -1;
  }
  ShowConnected();
  return 0;
}

int CONNECT_ProveQuad(FLASH_CHIP* pChip) {
  const int compared = CompareQuad(*pChip);
  if (compared != 0) {
    return compared > 0 ? 0 : -1;
  }
  const int enabled = ReadQuadEnable(*pChip);
  if (enabled == 0) {
    APP_LogError(APP_CAUSE::ReadFailed, "Quad transfer does not work: quad enable is not set.");
    return -1;
  }
  if (enabled < 0) {
    APP_LogInfo("Quad transfer can't be proved on a blank chip: a single lane is used.");
    pChip->Info.UseQuadMode = 0;
  }
  return APP_GetErrorCount() == 0 ? 0 : -1;
}

// Fast read is known to every flash of the table; the eight clocks that it costs are nothing beside
// a block. Memories without it, and those described by hand, are read at a clock that they stand.
void CONNECT_ChooseRead(FLASH_CHIP* pChip) {
  SPI_FLASH_INFO& info = pChip->Info;
  const bool isPlain = info.CmdReadData == 0x03 || info.CmdReadData == 0x13;
  const bool isUsed = info.UseQuadMode == 0 || !pChip->IsNor();
  const u32 limit = !pChip->IsNor()   ? kMaxPlainReadOther
                    : pChip->Row >= 0 ? kMaxPlainReadNor
                                      : kMaxPlainReadByHand;
  if (!isPlain || !isUsed || VORTIC_GetSpeed() <= limit) {
    return;
  }
  if (pChip->IsNor() && pChip->Row >= 0) {
    info.CmdReadData = info.CmdReadData == 0x03 ? 0x0B : 0x0C;
    return;
  }
  VORTIC_SetSpeed(limit);
  APP_LogInfof("The clock is lowered to %u kHz, which plain reads of this memory stand.",
               VORTIC_GetSpeed());
  ShowConnected();
}

// What was read is shown in full, also when its second byte isn't compared.
int FLASH_VerifyId(const u8* pExpected, u32 NumBytes, const u8* pRaw, u32 NumRaw,
                   bool IgnoreSecond) {
  std::array<u8, SPI_ID_BYTES_VERIFY> aExpected{};
  std::array<u8, SPI_ID_BYTES_VERIFY> aRead{};
  const u32 numBytes = std::min(NumBytes, SPI_ID_BYTES_VERIFY);
  std::memcpy(aExpected.data(), pExpected, numBytes);
  APP_LogInfo((FormatId("Verifying Flash Id = ", pExpected, numBytes) + "...").c_str());
  SPI_StripIdBytes(pRaw, NumRaw, aRead.data(), SPI_ID_BYTES_VERIFY);
  const std::string found = FormatId("ERROR, read: ", aRead.data(), numBytes);
  const std::array<u8, SPI_ID_BYTES_VERIFY> aShown = aRead;
  if (IgnoreSecond) {
    aExpected[1] = 0;
    aRead[1] = 0;
  }
  if (std::memcmp(aExpected.data(), aRead.data(), numBytes) == 0) {
    APP_LogInfo("O.K.");
    return 0;
  }
  APP_LogInfo(found.c_str());
  const bool isNothing = IsNothing({aRead.data(), numBytes});
  APP_LogErrorf(isNothing ? APP_CAUSE::NoChip : APP_CAUSE::WrongChip,
                "Failed to verify Flash Id (%s, expected: %s)",
                FormatId("read: ", aShown.data(), numBytes).c_str(),
                FormatId("", pExpected, numBytes).c_str());
  return -1;
}

// Closes the probe on every path: detection is a question, not a connection.
int FLASH_Detect() {
  APP_LogBegin("Detecting SPI flash ...");
  FLASH_Disconnect();
  const int result = PROBE_Open(true, true) ? DetectChip() : -256;
  PROBE_Close();
  APP_LogEndEx(result == 0 ? "SPI flash detected successfully." : "Failed to detect SPI flash.");
  return result;
}
