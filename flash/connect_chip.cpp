#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "app/engine/log.h"
#include "catalogue/catalogue.h"
#include "flash/connect_internal.h"
#include "sys/util_format.h"

// Reaching the chip behind an open probe: its ID, its address mode.

namespace {

constexpr u8 kCmdReadJedecId = 0x9F;

// The records that run before the chip counts as reached, and what they read.
class ConnectList {
 public:
  void AddReadId(u8 Cmd, u32 NumBytes) {
    m_Cmd = Cmd;
    m_NumIdBytes = NumBytes;
    SPI_BuildReadCmd(&m_pEnd, NumFree(), &m_Cmd, m_aId.data(), NumBytes);
  }
  void AddEnter4ByteMode(const SPI_FLASH_INFO& info) {
    AddFrame(&info.CmdWriteEnable);
    AddFrame(&info.CmdEnter4ByteMode);
  }
  // 0, or -1 reported. An empty list doesn't run.
  int Run() {
    if (m_pEnd == m_aList.data()) {
      return 0;
    }
    const int result = SPI_RunList(m_aList.data(), static_cast<u32>(m_pEnd - m_aList.data()));
    if (result == SPI_NO_LIST) {
      APP_LogError("Cannot connect to target flash (API function not found).");
    } else if (result < 0) {
      APP_LogError("Failed to connect to target flash.");
    }
    return result < 0 ? -1 : 0;
  }
  const u8* GetId() const { return m_aId.data(); }
  u32 GetNumIdBytes() const { return m_NumIdBytes; }

 private:
  u32 NumFree() const {
    return static_cast<u32>(m_aList.size() - static_cast<std::size_t>(m_pEnd - m_aList.data()));
  }
  void AddFrame(const u8* pCmd) {
    SPI_BuildDesc(m_pEnd++, SPI_TYPE_TRANSFER, nullptr, 0, pCmd, nullptr, 8, SPI_FLAGS_FRAME);
  }

  std::array<SPI_CMD_DESC, 4> m_aList{};
  SPI_CMD_DESC* m_pEnd = m_aList.data();
  std::array<u8, SPI_ID_BYTES_DETECT> m_aId{};
  u32 m_NumIdBytes = 0;
  u8 m_Cmd = 0;
};

// The cause is in the log by then.
int FailConnect() {
  CONNECT_SetStatusText("Failed to connect", 0);
  return 1;
}

std::string FormatId(const char* sHead, const u8* pId, u32 NumBytes) {
  std::string text = sHead;
  for (u32 i = 0; i < NumBytes; ++i) {
    std::array<char, 16> acByte{};
    UTIL_snprintf(acByte.data(), acByte.size(), "%s0x%02X", i == 0 ? "" : ", ", pId[i]);
    text += acByte.data();
  }
  return text;
}

// Information only: the probe level has judged the voltage.
void LogVoltage() {
  u32 millivolts = 0;
  if (VORTIC_GetTargetVoltage(&millivolts) == 0) {
    APP_LogInfof("VTarget = %d.%.3dV", millivolts / 1000, millivolts % 1000);
  }
}

bool HasQuadCommands(const SPI_FLASH_INFO& info) {
  return info.CmdReadDataQuad != 0 && info.CmdWritePageQuad != 0 && info.NumDummyCyclesQuad != 0;
}

// Identification selects the device and stores its description in the project; a known chip is only
// compared.
int CheckId(const SPI_FLASH_INFO& info, const ConnectList& list) {
  if (info.AutoDetect != 0) {
    return FLASH_DetectDevice(list.GetId(), list.GetNumIdBytes());
  }
  return FLASH_VerifyId(info.abID, sizeof(info.abID), list.GetId(), list.GetNumIdBytes(),
                        info.Ignore2ndIdByte != 0);
}

// The list was built from the description as it was before identification. A chip that
// identification has just made one with a mode switch would get addresses of the wrong length
// without this.
int Switch4ByteModeLate(bool IsSwitched) {
  SPI_RefreshInfo();
  if (IsSwitched || !CONNECT_Wants4ByteMode(SPI_Info())) {
    return 0;
  }
  ConnectList list;
  list.AddEnter4ByteMode(SPI_Info());
  return list.Run();
}

void ShowConnected() {
  CONNECT_SetStatusText("Connected", 1);
  CONNECT_SetStatusText("Ready", 0);
  std::array<char, 32> acSpeed{};
  UTIL_snprintf(acSpeed.data(), acSpeed.size(), "Speed: %d kHz", VORTIC_GetSpeed());
  CONNECT_SetStatusText(acSpeed.data(), 2);
}

// The steps of a detection behind the open probe.
int DetectChip() {
  const u32 numErrors = DRIVER_GetNumErrors();
  ConnectList list;
  list.AddReadId(kCmdReadJedecId, SPI_ID_BYTES_DETECT);
  if (list.Run() != 0) {
    return -1;
  }
  const int result = FLASH_DetectDevice(list.GetId(), list.GetNumIdBytes());
  return DRIVER_GetNumErrors() == numErrors ? result : -1;
}

}  // namespace

int FLASH_ConnectChip() {
  LogVoltage();
  SPI_RefreshInfo();
  const SPI_FLASH_INFO& info = SPI_Info();
  const bool hasId = info.FlashType != FLASH_TYPE_EEPROM;
  const bool isSwitched = CONNECT_Wants4ByteMode(info);
  ConnectList list;
  if (hasId) {
    list.AddReadId(info.AutoDetect != 0 ? kCmdReadJedecId : info.CmdReadID,
                   info.AutoDetect != 0 ? SPI_ID_BYTES_DETECT : SPI_ID_BYTES_VERIFY);
  }
  if (isSwitched) {
    list.AddEnter4ByteMode(info);
  }
  if (list.Run() != 0) {
    return FailConnect();
  }
  if (hasId) {
    if (const int result = CheckId(info, list)) {
      FailConnect();
      return result;
    }
  }
  // As it was before identification, whose own quad settings are complete.
  if (info.UseQuadMode != 0 && info.FlashType == FLASH_TYPE_NOR && !HasQuadCommands(info)) {
    APP_LogError(
        "Cannot use Quad Mode. ReadDataQuad, WritePageQuad or NumDummyCyclesQuad are unknown!");
    return FailConnect();
  }
  if (Switch4ByteModeLate(isSwitched) != 0) {
    return FailConnect();
  }
  ShowConnected();
  return 0;
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
  if (IgnoreSecond) {
    aExpected[1] = 0;
    aRead[1] = 0;
  }
  if (std::memcmp(aExpected.data(), aRead.data(), numBytes) == 0) {
    APP_LogInfo("O.K.");
    return 0;
  }
  APP_LogInfo(found.c_str());
  APP_LogError("Failed to verify Flash Id");
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
