#include <algorithm>
#include <array>

#include "app/engine/log.h"
#include "flash/erase.h"
#include "flash/link.h"
#include "flash/spi.h"

// Block protection: finding it, clearing it, and looking whether it went.
//
// A status write that a chip refuses leaves the old value without a word: a write-protect pin, a
// lock bit that goes first, a chip that wants two bytes. And a write of one byte clears a second
// register on some families, quad enable in it. So what is written keeps what is not meant, and
// what was written is read back.

namespace {

constexpr u8 kCmdReadStatus2 = 0x35;
constexpr u8 kCmdWriteStatus2 = 0x31;
constexpr u8 kCmdGlobalUnlock = 0x98;

constexpr int kFormatOneBit = 5;
constexpr int kFormatTwoBits = 8;
constexpr int kFormatGlobalUnlock = 9;
constexpr int kFormatUnlockSequence = 10;

constexpr u8 kBusyAndLatch = 0x03;
constexpr u8 kLockBit = 0x80;        // of the status register
constexpr u8 kComplementBit = 0x40;  // of status register 2: inverts what the bits protect
constexpr u8 kUsualBits = 0x1C;
constexpr u8 kMemoryBits = 0x0C;  // of EEPROM and FRAM
constexpr u8 kNoAnswer = 0xFF;

// Status bits that show protection, by StatusRegFormat.
constexpr std::array<u8, 16> kProtectionBits = {0x5C, 0x5C, 0x1C, 0x1C, 0x3C, 0x1C, 0x7C, 0x1C,
                                                0x0C, 0x00, 0x02, 0x1C, 0x1C, 0x1C, 0x1C, 0x1C};
// Those of them that stay set on a chip that isn't protected: the state of the write-protect pin.
constexpr u8 kPinBitOneBit = 0x10;

u8 GetProtectionBits(const FLASH_CHIP& Chip) {
  if (!Chip.IsNor()) {
    return kMemoryBits;
  }
  const std::size_t format = static_cast<std::size_t>(std::max(Chip.StatusFormat, 0));
  return kProtectionBits[std::min(format, kProtectionBits.size() - 1)];
}

u8 GetRemainingBits(const FLASH_CHIP& Chip) {
  const u8 bits = GetProtectionBits(Chip);
  return Chip.StatusFormat == kFormatOneBit ? static_cast<u8>(bits & ~kPinBitOneBit) : bits;
}

// That with the protection bits: where "busy" stands in the flag status register they are in the
// plain one.
u8 ReadStatus(const FLASH_CHIP& Chip) {
  return Chip.HasFlagStatus() ? SPI_ReadPlainStatus() : SPI_ReadStatus(Chip.Info);
}

// Families with a second status register behind 0x35 that holds quad enable and complement, by the
// first two ID bytes of a part of the table.
enum class Second { None, TwoBytes, OwnCommand };
Second FindSecond(const FLASH_CHIP& Chip) {
  if (Chip.Row < 0 || !Chip.IsNor()) {
    return Second::None;
  }
  const u8 type = Chip.abId[1];
  switch (Chip.abId[0]) {
    case 0xEF:
      return type >= 0x40 ? Second::TwoBytes : Second::None;
    case 0xC8:
      return type >= 0x40 && Chip.abId[2] >= 0x16 ? Second::OwnCommand
             : type >= 0x40                       ? Second::TwoBytes
                                                  : Second::None;
    default:
      return Second::None;
  }
}

// 0, or -1 reported.
int WaitWritten(const FLASH_CHIP& Chip) {
  switch (LINK_WaitReady(Chip, Chip.TimeoutBlockProtMs)) {
    case WaitResult::Ready:
      return 0;
    case WaitResult::TimedOut:
      APP_LogError(APP_CAUSE::Timeout, "Removing block protection bits failed.");
      return -1;
    default:
      APP_LogError(APP_IsOperationCanceled() ? APP_CAUSE::Canceled : APP_CAUSE::Protected,
                   "Removing block protection bits failed.");
      return -1;
  }
}

int WriteRegister(const FLASH_CHIP& Chip, std::span<const u8> Frame) {
  SPI_SendCmd(Chip.Info.CmdWriteEnable);
  SPI_SendFrame(Frame.data(), static_cast<u32>(Frame.size()));
  return WaitWritten(Chip);
}

// The status register keeps what isn't protection: quad enable, the pin's lock. The
// parts whose bits are unlocked by a write of zeros take nothing else.
u8 MakeStatus(const FLASH_CHIP& Chip, u8 Status) {
  const bool isAllZeros = Chip.StatusFormat == kFormatOneBit || Chip.StatusFormat == kFormatTwoBits;
  return isAllZeros ? 0 : static_cast<u8>(Status & ~(GetProtectionBits(Chip) | kBusyAndLatch));
}

// 0, or -1 reported.
int ClearBits(const FLASH_CHIP& Chip, u8 Status) {
  const u8 status = MakeStatus(Chip, Status);
  const Second second = FindSecond(Chip);
  if (second == Second::None) {
    return WriteRegister(Chip, std::array<u8, 2>{Chip.Info.CmdWriteStatus, status});
  }
  const u8 status2 = SPI_ReadRegister(kCmdReadStatus2);
  if (second == Second::TwoBytes) {
    return WriteRegister(Chip, std::array<u8, 3>{Chip.Info.CmdWriteStatus, status, status2});
  }
  if (WriteRegister(Chip, std::array<u8, 2>{Chip.Info.CmdWriteStatus, status}) != 0) {
    return -1;
  }
  if (SPI_ReadRegister(kCmdReadStatus2) != status2) {
    return WriteRegister(Chip, std::array<u8, 2>{kCmdWriteStatus2, status2});
  }
  return 0;
}

// With the complement set, bits that are clear protect the whole chip. 0, or -1 reported.
int ClearComplement(const FLASH_CHIP& Chip) {
  const Second second = FindSecond(Chip);
  const u8 status2 = second != Second::None ? SPI_ReadRegister(kCmdReadStatus2) : u8{0};
  if (status2 == kNoAnswer || (status2 & kComplementBit) == 0) {
    return 0;
  }
  const u8 cleared = static_cast<u8>(status2 & ~kComplementBit);
  if (second == Second::OwnCommand) {
    return WriteRegister(Chip, std::array<u8, 2>{kCmdWriteStatus2, cleared});
  }
  const u8 status = static_cast<u8>(ReadStatus(Chip) & ~kBusyAndLatch);
  return WriteRegister(Chip, std::array<u8, 3>{Chip.Info.CmdWriteStatus, status, cleared});
}

int ReportStillProtected(u8 Status) {
  APP_LogErrorf(APP_CAUSE::Protected,
                "Removing block protection bits failed. The chip is protected (status 0x%.2X%s).",
                Status, (Status & kLockBit) != 0 ? ", locked: write-protect pin?" : "");
  return -1;
}

// Some parts want their lock bit cleared by a first write, so there are two. 0, or -1 reported.
int Unprotect(const FLASH_CHIP& Chip) {
  const u8 bits = GetRemainingBits(Chip);
  u8 status = ReadStatus(Chip);
  for (u32 i = 0; i < 2 && (status & GetProtectionBits(Chip)) != 0; ++i) {
    if (i != 0 && (status & bits) == 0) {
      break;
    }
    if (ClearBits(Chip, status) != 0) {
      return -1;
    }
    status = ReadStatus(Chip);
  }
  if (APP_GetErrorCount() != 0) {
    return -1;
  }
  return (status & bits) == 0 ? ClearComplement(Chip) : ReportStillProtected(status);
}

// 0, or -1 reported.
int UnprotectBySequence(const FLASH_CHIP& Chip) {
  const u8 bits = GetProtectionBits(Chip);
  if ((ReadStatus(Chip) & bits) == 0) {
    return 0;
  }
  constexpr std::array<u8, 4> aSequence = {0x3D, 0x2A, 0x7F, 0x9A};
  SPI_SendFrame(aSequence.data(), aSequence.size());
  if (WaitWritten(Chip) != 0) {
    return -1;
  }
  const u8 status = ReadStatus(Chip);
  return (status & bits) == 0 ? 0 : ReportStillProtected(status);
}

}  // namespace

// Where the layout has no such bits, those that nearly every part has.
bool FLASH_IsProtected(const FLASH_CHIP& Chip) {
  const u8 status = ReadStatus(Chip);
  const u8 bits = GetRemainingBits(Chip);
  return Chip.StatusFormat != FLASH_FORMAT_UNKNOWN && status != kNoAnswer &&
         (status & (bits != 0 ? bits : kUsualBits)) != 0;
}

// Once per connection, since the bits stay clear. A global unlock is lost with each power cycle of
// the chip, and repeated before every operation.
int FLASH_RemoveBlockProtection(FLASH_CHIP* pChip) {
  if (pChip->IsUnprotected) {
    return 0;
  }
  if (pChip->StatusFormat == FLASH_FORMAT_UNKNOWN) {
    return 0;
  }
  if (pChip->IsNor() && pChip->StatusFormat == kFormatGlobalUnlock) {
    SPI_SendCmd(pChip->Info.CmdWriteEnable);
    SPI_SendCmd(kCmdGlobalUnlock);
    return APP_GetErrorCount() == 0 ? 0 : -1;
  }
  const int result = pChip->IsNor() && pChip->StatusFormat == kFormatUnlockSequence
                         ? UnprotectBySequence(*pChip)
                         : Unprotect(*pChip);
  pChip->IsUnprotected = result == 0 && APP_GetErrorCount() == 0;
  return pChip->IsUnprotected ? 0 : -1;
}
