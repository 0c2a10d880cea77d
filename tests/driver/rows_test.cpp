#include <gtest/gtest.h>

#include "driver/sim/sim_bus.h"

namespace {

// Walks the device tables: every part has to do its work by the instructions that its row names.
class RowBench {
 public:
  explicit RowBench(const FLASH_DEVICE& row)
      : m_Row(row),
        m_Store(u64{1} << row.TotalSizeShift()),
        m_Chip(vortic::MakeChipTraits(row), m_Store, m_Clock),
        m_Bus(m_Chip, m_Clock, m_Stats) {
    const auto& cmd = row.pCmdSet->abCmd;
    m_Read = cmd[5];
    m_Program = cmd[6];
    m_Erase = cmd[7];
    m_NumAddrBytes = cmd[11];
    if (row.AddrMode4B() != FLASH_ADDR_3BYTE) {
      m_NumAddrBytes = 4;
    }
    if (row.AddrMode4B() == FLASH_ADDR_4BYTE_CMDS) {
      m_Read = 0x13;
      m_Program = 0x12;
      m_Erase = 0xDC;
    } else if (row.AddrMode4B() == FLASH_ADDR_4BYTE_FAST_READ) {
      m_Read = 0x0B;
    }
  }

  void PowerUp() {
    if (m_Row.AddrMode4B() == FLASH_ADDR_4BYTE_MODE) {
      Send({0x06});
      Send({0xB7});
    }
    if (m_Row.StatusRegFormat() == 9 && m_Row.FlashType == FLASH_TYPE_NOR) {
      Send({0x06});
      Send({0x98});
    }
  }
  std::vector<u8> ReadId() {
    std::vector<u8> id(6);
    const u8 cmd = 0x9F;
    m_Bus.Shift({&cmd, nullptr, 8, VORTIC_SPI_CS_ACTIVE});
    m_Bus.Shift({nullptr, id.data(), 48, VORTIC_SPI_CS_INACTIVE});
    return id;
  }
  void Program(u64 addr, u8 value) {
    WriteEnable();
    std::vector<u8> frame = Frame(m_Program, addr);
    frame.push_back(value);
    Send(frame);
    WaitReady();
  }
  void Erase(u64 addr) {
    WriteEnable();
    Send(Frame(m_Erase, addr));
    WaitReady();
  }
  u8 Read(u64 addr) {
    std::vector<u8> frame = Frame(m_Read, addr);
    if (m_Read == 0x0B) {
      frame.push_back(0);
    }
    u8 value = 0;
    m_Bus.Shift({frame.data(), nullptr, static_cast<u32>(frame.size()) * 8, VORTIC_SPI_CS_ACTIVE});
    m_Bus.Shift({nullptr, &value, 8, VORTIC_SPI_CS_INACTIVE});
    return value;
  }
  u64 NumFaults() const { return m_Chip.Faults().Total(); }

 private:
  void Send(const std::vector<u8>& frame) {
    m_Bus.Shift({frame.data(), nullptr, static_cast<u32>(frame.size()) * 8,
                 VORTIC_SPI_CS_ACTIVE | VORTIC_SPI_CS_INACTIVE});
  }
  void WriteEnable() {
    if (m_Row.pCmdSet->abCmd[0] != 0) {
      Send({m_Row.pCmdSet->abCmd[0]});
    }
  }
  std::vector<u8> Frame(u8 cmd, u64 addr) const {
    std::vector<u8> frame = {cmd};
    for (int i = m_NumAddrBytes - 1; i >= 0; --i) {
      frame.push_back(static_cast<u8>(addr >> (8 * i)));
    }
    return frame;
  }
  void WaitReady() {
    const auto& cmd = m_Row.pCmdSet->abCmd;
    const u32 mask = 1U << cmd[14];
    u8 status = 0;
    m_Bus.Shift({&cmd[3], nullptr, 8, VORTIC_SPI_CS_ACTIVE});
    EXPECT_EQ(
        m_Bus.Poll({0, mask, cmd[13] != 0 ? mask : 0, 5000000}, VORTIC_SPI_CS_INACTIVE, &status),
        vortic::PollOutcome::Ready);
  }

  const FLASH_DEVICE m_Row;
  vortic::Clock m_Clock{false};
  vortic::Stats m_Stats;
  vortic::ArrayStore m_Store;
  vortic::Chip m_Chip;
  vortic::SimBus m_Bus;
  u8 m_Read, m_Program, m_Erase;
  int m_NumAddrBytes;
};

void CheckRow(const FLASH_DEVICE& row) {
  SCOPED_TRACE(row.sDevice);
  RowBench bench(row);
  const u64 last = (u64{1} << row.TotalSizeShift()) - 1;
  const u64 below = last - (u64{1} << row.SectorSizeShift());  // last byte of the sector before
  bench.PowerUp();
  bench.Program(last, 0x5A);
  EXPECT_EQ(bench.Read(last), 0x5A);
  if (row.FlashType == FLASH_TYPE_NOR && row.SectorSizeShift() < row.TotalSizeShift()) {
    bench.Program(below, 0xA5);
    bench.Erase(last);
    EXPECT_EQ(bench.Read(last), 0xFF);
    EXPECT_EQ(bench.Read(below), 0xA5);
  }
  if (row.FlashType != FLASH_TYPE_EEPROM) {
    const std::vector<u8> id = bench.ReadId();
    EXPECT_EQ(id[0], row.IdByte(0));
    EXPECT_TRUE(row.Ignore2ndIdByte() ? id[1] != 0 : id[1] == row.IdByte(1));
    EXPECT_EQ(id[2], row.IdByte(2));
  }
  EXPECT_EQ(bench.NumFaults(), 0u);
}

TEST(RowsTest, EveryPartWorksByTheInstructionsOfItsRow) {
  for (u32 i = 0; i < FLASH_NUM_DEVICES; ++i) {
    FLASH_DEVICE row = {};
    ASSERT_EQ(FLASH_GetDeviceRow(i, &row), 0);
    if (row.sVendor != nullptr) {
      CheckRow(row);
    }
  }
  for (u32 i = 0; i < FLASH_NUM_EEPROMS; ++i) {
    FLASH_DEVICE row = {};
    ASSERT_EQ(FLASH_GetEEPROMRow(i, &row), 0);
    CheckRow(row);
  }
}

}  // namespace
