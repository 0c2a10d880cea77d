#pragma once

#include "catalogue/devices/device_table.h"

// How the rows of both tables are written down, and how they become FLASH_DEVICE records. For the
// two files that hold a table.

namespace devices {

consteval u32 operator""_KiB(unsigned long long n) {
  return static_cast<u32>(n << 10);
}
consteval u32 operator""_MiB(unsigned long long n) {
  return static_cast<u32>(n << 20);
}

// WREN, WRDI, RDID, RDSR, WRSR, READ, PP, SE, BE, EN4B, EX4B, address bytes, dedicated 4-byte mode,
// ready value, ready bit, init program, init erase.
constexpr FLASH_CMD_SET Standard = {
    {0x06, 0x04, 0x9F, 0x05, 0x01, 0x03, 0x02, 0xD8, 0xC7, 0xB7, 0xE9, 3, 0, 0, 0, 0, 0}};
constexpr FLASH_CMD_SET FlagStatus = {
    {0x06, 0x04, 0x9F, 0x70, 0x01, 0x03, 0x02, 0xD8, 0xC7, 0xB7, 0xE9, 3, 0, 1, 7, 0, 0}};
constexpr FLASH_CMD_SET SmallSector = {
    {0x06, 0x04, 0x9F, 0x05, 0x01, 0x03, 0x02, 0x20, 0xC7, 0xB7, 0xE9, 3, 0, 0, 0, 0, 0}};
constexpr FLASH_CMD_SET PageErase = {
    {0x00, 0x00, 0x9F, 0xD7, 0x00, 0x03, 0x02, 0x50, 0x00, 0x00, 0x00, 3, 0, 1, 7, 0, 0}};
constexpr FLASH_CMD_SET Fram = {
    {0x06, 0x04, 0x9F, 0x05, 0x01, 0x03, 0x02, 0x00, 0x00, 0x00, 0x00, 2, 0, 0, 0, 0, 0}};
constexpr FLASH_CMD_SET Eeprom2Byte = {
    {0x06, 0x04, 0x00, 0x05, 0x01, 0x03, 0x02, 0x00, 0x00, 0x00, 0x00, 2, 0, 0, 0, 0, 0}};
constexpr FLASH_CMD_SET Eeprom3Byte = {
    {0x06, 0x04, 0x00, 0x05, 0x01, 0x03, 0x02, 0x00, 0x00, 0x00, 0x00, 3, 0, 0, 0, 0, 0}};

enum IdCompare : u8 { AllBytes, AnyId1 };

struct DeviceRow {
  const char* sVendor;
  const char* sDevice;
  u32 Id;  // as read, first byte in bits 16-23
  u32 PageSize, SectorSize, TotalSize;
  u32 StatusRegFormat;
  u32 AddrMode4B;
  const FLASH_CMD_SET& CmdSet = Standard;
  IdCompare Compare = AllBytes;
  const FLASH_ID_MATCH* pIdMatch = nullptr;
  const FLASH_QUAD_CONFIG* pQuadConfig = nullptr;
};

// Calling a function that isn't constexpr ends the compilation.
void SizeIsNoPowerOfTwo();
void RowIsInconsistent();

consteval u32 Shift(u32 Size) {
  u32 shift = 0;
  while (shift < 31 && (1u << shift) != Size) {
    ++shift;
  }
  if ((1u << shift) != Size) {
    SizeIsNoPowerOfTwo();
  }
  return shift;
}

consteval FLASH_DEVICE MakeDevice(const DeviceRow& row, u64 FlashType) {
  if (row.sVendor == nullptr) {
    return {};
  }
  if (row.SectorSize > row.TotalSize || row.StatusRegFormat > 15 ||
      row.AddrMode4B > FLASH_ADDR_4BYTE_FAST_READ) {
    RowIsInconsistent();
  }
  const u32 id = row.Id >> 16 | (row.Id & 0xFF00) | (row.Id & 0xFF) << 16;
  return {.IdWord = id | (row.Compare == AnyId1 ? 1u << 24 : 0) | Shift(row.PageSize) << 25,
          .LayoutWord = Shift(row.SectorSize) | Shift(row.TotalSize) << 5 |
                        row.StatusRegFormat << 10 | row.AddrMode4B << 14,
          .pCmdSet = &row.CmdSet,
          .sVendor = row.sVendor,
          .sDevice = row.sDevice,
          .pQuadConfig = row.pQuadConfig,
          .pIdMatch = row.pIdMatch,
          .FlashType = FlashType};
}

// Quad settings of the one part that has them; device_quad.cpp.
extern const FLASH_QUAD_CONFIG QuadGD25Q128E;

}  // namespace devices
