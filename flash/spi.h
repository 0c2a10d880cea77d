#pragma once

#include <span>

#include "catalogue/devices/device_table.h"
#include "flash/driver.h"
#include "sys/types.h"

// The command layer: from a description of one SPI memory to bus traffic. Application thread only.
//
// Three forms: a single transfer at once; a list of records run in one call of the driver library;
// fast mode calls, which the library queues. Records and flags: driver/abi/vortic.h.

using SPI_CMD_DESC = VORTIC_SPI_CMD;
using SPI_POLL_PARA = VORTIC_POLL_PARA;
static_assert(sizeof(SPI_CMD_DESC) == 48 && sizeof(SPI_POLL_PARA) == 16);

constexpr u32 SPI_TYPE_TRANSFER = 1;
constexpr u32 SPI_TYPE_POLL = 2;

// The values of the flags that occur; nothing else is ever sent.
constexpr u32 SPI_FLAGS_NONE = 0x000;
constexpr u32 SPI_FLAGS_BEGIN = 0x002;
constexpr u32 SPI_FLAGS_END = 0x00C;
constexpr u32 SPI_FLAGS_FRAME = 0x00E;
constexpr u32 SPI_FLAGS_LIST_FRAME = 0x10E;
constexpr u32 SPI_FLAGS_LIST_BEGIN = 0x102;
constexpr u32 SPI_FLAGS_LIST_BEGIN_QUAD = 0x202;
constexpr u32 SPI_FLAGS_ADDR = 0x100;
constexpr u32 SPI_FLAGS_ADDR_QUAD = 0x200;
constexpr u32 SPI_FLAGS_DUMMY = 0x900;
constexpr u32 SPI_FLAGS_DUMMY_QUAD = 0xA00;
constexpr u32 SPI_FLAGS_DATA_QUAD = 0x60C;

constexpr u32 SPI_MAX_READ = 0x20000;    // bytes of one read
constexpr u32 SPI_ID_BYTES_DETECT = 42;  // read when the device is to be identified
constexpr u32 SPI_ID_BYTES_VERIFY = 13;  // read when it is known

struct FLASH_CHIP;

void SPI_BuildDesc(SPI_CMD_DESC* pDesc, u32 Type, const void* pPara, u32 ParaSize, const u8* pWrite,
                   u8* pRead, u32 NumBits, u32 Flags);
// Appends the two records of a read by instruction and moves the pointer behind them. 0, or -1 with
// fewer than 2 free records.
int SPI_BuildReadCmd(SPI_CMD_DESC** ppDesc, u32 NumFree, const u8* pCmd, u8* pRead, u32 NumBytes);
// Most significant byte first.
void SPI_StoreAddr(u8* pDest, u32 Addr, u32 NumBytes);
// Runs a list. The library's result, or SPI_NO_LIST when it has no such function.
constexpr int SPI_NO_LIST = -100000;
int SPI_RunList(SPI_CMD_DESC* pList, u32 NumRecords);

// Address bytes of a command: what the description says, at most 4.
u32 SPI_GetNumAddrBytes(const SPI_FLASH_INFO& info);
// Address bytes that are too few would silently reach another place of the chip. 0, or -1 reported.
int SPI_CheckSpan(const SPI_FLASH_INFO& info, u64 Addr, u64 NumBytes);

// Single transfers, each a whole frame. One that fails is an error of the operation.
void SPI_SendFrame(const u8* pData, u32 NumBytes);
void SPI_SendCmd(u8 Cmd);
// Reads the status byte by instruction, in one go of two transfers. A link that delivers nothing
// leaves a byte that says busy and protected, and the error of the operation; chip select is
// inactive in any case.
u8 SPI_ReadStatus(const SPI_FLASH_INFO& info);
// That of the plain status register, where "busy" stands in another one.
u8 SPI_ReadPlainStatus();
u8 SPI_ReadRegister(u8 Cmd);
bool SPI_IsReadyStatus(const SPI_FLASH_INFO& info, u8 Status);

// Reads the identification by instruction. 0, or -1 reported.
[[nodiscard]] int SPI_ReadId(u8 Cmd, std::span<u8> Id);
// At most SPI_MAX_READ bytes. 0, or -1 reported.
[[nodiscard]] int SPI_ReadData(const SPI_FLASH_INFO& Info, u32 Addr, u32 NumBytes, u8* pData);
// Whole pages, in batches of up to 32. Bytes sent to the device, negative on failure, reported.
// Each batch shows that the chip was there from its begin to its end, and that each page was
// carried out as far as the chip tells; the chip's write enable latch is set before and behind it
// (LinkGuard).
[[nodiscard]] i64 SPI_ProgramPagesSingle(const FLASH_CHIP& Chip, u32 Addr, u32 NumBytes,
                                         const u8* pData);
[[nodiscard]] i64 SPI_ProgramPagesQuad(const FLASH_CHIP& Chip, u32 Addr, u32 NumBytes,
                                       const u8* pData);

// Tries to switch on the library's fast mode after a connect.
void SPI_EnterFastMode(FLASH_CHIP* pChip);

// The parameter blocks of fast mode, little-endian. Return the size written, 56 or 64, or 0 when
// pDest is too small.
constexpr u32 FAST_MODE_PARA_SIZE = 56;
constexpr u32 FAST_MODE_PARA_EX_SIZE = 64;
u32 SPI_BuildFastModePara(const FLASH_CHIP& Chip, u8* pDest, u32 DestSize, bool Extended);
