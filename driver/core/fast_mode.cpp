#include "driver/core/fast_mode.h"

#include <algorithm>

namespace vortic {

namespace {

constexpr u64 kMaxRequestBytes = 0x10000;
// More than this does not wait in a probe's memory; the client is held up instead.
constexpr u64 kMaxQueuedBytes = u64{1} << 20;
constexpr u64 kRequestCost = 64;
// Work done between two questions of the client.
constexpr u64 kSliceNs = 10000000;
constexpr u64 kVerifyBytes = 4096;

constexpr u32 kWholeFrame = VORTIC_SPI_LANES_SINGLE | VORTIC_SPI_CS_ACTIVE | VORTIC_SPI_CS_INACTIVE;
constexpr u32 kDataQuad = VORTIC_SPI_DATA_QUAD | VORTIC_SPI_LANES_QUAD | VORTIC_SPI_CS_INACTIVE;
constexpr u8 kModeQuad = 2;
constexpr u8 kFastRead = 0x0B;
constexpr u8 kFastRead4Byte = 0x0C;
constexpr u8 kCmdReadStatus = 0x05;
constexpr u8 kCmdReadFlags = 0x70;
constexpr u8 kStatusLatch = 0x02;
constexpr u8 kErrorFlags = 0x32;  // erase, program, protection
constexpr u8 kNoAnswer = 0xFF;
constexpr u8 kZeros[64] = {};

u32 LaneFlags(u8 mode) {
  return mode == kModeQuad ? VORTIC_SPI_LANES_QUAD : VORTIC_SPI_LANES_SINGLE;
}

bool IsBlank(std::span<const u8> data) {
  return std::all_of(data.begin(), data.end(), [](u8 byte) { return byte == 0xFF; });
}

}  // namespace

void FastMode::Enter(const FastPara& para) {
  m_Para = para;
  m_IsOn = true;
  Abandon();
  m_IsArmed = false;
  m_aId = ReadId();
  m_HasLatch = false;
  if (m_Para.CmdWriteEnable != 0 && m_Para.CmdWriteDisable != 0) {
    SendCommand(m_Para.CmdWriteEnable);
    const bool isSet = IsLatchSet();
    SendCommand(m_Para.CmdWriteDisable);
    m_HasLatch = isSet && !IsLatchSet();
  }
}

bool FastMode::Leave() {
  const bool isDone = m_Queue.empty() && !m_HasFailed;
  if (m_IsArmed) {
    SendCommand(m_Para.CmdWriteDisable);
    m_IsArmed = false;
  }
  Abandon();
  m_IsOn = false;
  return isDone;
}

bool FastMode::Program(u64 addr, std::span<const u8> data) {
  return Queue(Kind::Program, addr, data.size(), data);
}

bool FastMode::Verify(u64 addr, std::span<const u8> data) {
  return Queue(Kind::Verify, addr, data.size(), data);
}

bool FastMode::Erase(u64 addr, u64 numBytes) {
  constexpr u32 typeNor = 1;
  const u64 sectorBytes = u64{1} << m_Para.SectorSizeShift;
  if (m_Para.FlashType != typeNor || addr % sectorBytes != 0 || numBytes % sectorBytes != 0) {
    Fail(addr);
    return false;
  }
  return Queue(Kind::Erase, addr, numBytes, {});
}

bool FastMode::Queue(Kind kind, u64 addr, u64 numBytes, std::span<const u8> data) {
  if (!m_IsOn || numBytes == 0 || addr + numBytes > m_Para.TotalBytes() ||
      data.size() > kMaxRequestBytes) {
    Fail(addr);
  }
  if (m_HasFailed) {
    return false;
  }
  m_Queue.push_back({kind, addr, numBytes, {data.begin(), data.end()}, 0});
  m_QueuedBytes += data.size() + kRequestCost;
  if (m_QueuedBytes > kMaxQueuedBytes && BeginStretch()) {
    while (m_QueuedBytes > kMaxQueuedBytes && !m_HasFailed) {
      Step();
    }
    EndStretch();
  }
  return !m_HasFailed;
}

bool FastMode::BeginStretch() {
  if (m_HasLatch && !m_IsArmed) {
    m_WasArmed = IsLatchSet();
    m_IsArmed = SendCommand(m_Para.CmdWriteEnable);
  }
  if ((!m_HasLatch || IsLatchSet()) && ReadId() == m_aId) {
    return true;
  }
  Fail(m_Queue.empty() ? 0 : m_Queue.front().Addr + m_Queue.front().NumDone);
  return false;
}

// The latch of a stretch that only read has to be there still. Behind the last one it is left as it
// was found: the client may guard its own work by it.
bool FastMode::EndStretch() {
  const u64 addr = m_Queue.empty() ? m_LastAddr : m_Queue.front().Addr + m_Queue.front().NumDone;
  const bool isThere = (!m_IsArmed || IsLatchSet()) && ReadId() == m_aId;
  if (m_HasLatch && !m_IsArmed) {
    m_IsArmed = SendCommand(m_Para.CmdWriteEnable);
    if (isThere && !IsLatchSet()) {
      Fail(addr);
      return false;
    }
  }
  if (m_Queue.empty() && m_IsArmed) {
    m_IsArmed = false;
    if (!m_WasArmed) {
      SendCommand(m_Para.CmdWriteDisable);
    }
  }
  if (!isThere) {
    Fail(addr);
  }
  return isThere;
}

u8 FastMode::ReadRegister(u8 cmd) {
  u8 value = kNoAnswer;
  if (!m_Bus.Shift({&cmd, nullptr, 8, VORTIC_SPI_CS_ACTIVE | VORTIC_SPI_LANES_SINGLE}) ||
      !m_Bus.Shift({nullptr, &value, 8, VORTIC_SPI_CS_INACTIVE | VORTIC_SPI_LANES_SINGLE})) {
    m_Bus.SetChipSelect(false);
    return kNoAnswer;
  }
  return value;
}

// Without continuation codes, as far as they can be told from a line that nobody drives.
std::array<u8, 3> FastMode::ReadId() {
  std::array<u8, 3> id{};
  if (m_Para.CmdReadId == 0) {
    return id;
  }
  std::array<u8, 13> raw{};
  if (!m_Bus.Shift(
          {&m_Para.CmdReadId, nullptr, 8, VORTIC_SPI_CS_ACTIVE | VORTIC_SPI_LANES_SINGLE}) ||
      !m_Bus.Shift({nullptr, raw.data(), static_cast<u32>(raw.size()) * 8,
                    VORTIC_SPI_CS_INACTIVE | VORTIC_SPI_LANES_SINGLE})) {
    m_Bus.SetChipSelect(false);
    return id;
  }
  constexpr u8 continuation = 0x7F;
  std::size_t pos = 0;
  for (const u8 byte : raw) {
    if (byte != continuation && pos < id.size()) {
      id[pos++] = byte;
    }
  }
  return id;
}

bool FastMode::IsLatchSet() {
  const u8 status = ReadRegister(kCmdReadStatus);
  return status != kNoAnswer && (status & kStatusLatch) != 0;
}

void FastMode::Fail(u64 addr) {
  const u64 failAddr = m_HasFailed ? m_FailAddr : addr;
  Abandon();
  m_HasFailed = true;
  m_FailAddr = failAddr;
}

void FastMode::Abandon() {
  m_HasFailed = false;
  m_Queue.clear();
  m_QueuedBytes = 0;
}

int FastMode::Wait(u32* pFailAddr) {
  const u64 startNs = m_Bus.NowNs();
  if (!m_Queue.empty() && !m_HasFailed && BeginStretch()) {
    while (!m_Queue.empty() && !m_HasFailed && m_Bus.NowNs() - startNs < kSliceNs) {
      Step();
    }
    if (!m_HasFailed) {
      EndStretch();
    }
  }
  if (m_HasFailed) {
    m_HasFailed = false;
    if (pFailAddr != nullptr) {
      *pFailAddr = static_cast<u32>(m_FailAddr);
    }
    return VORTIC_ERR_GENERAL;
  }
  return m_Queue.empty() ? 0 : 1;
}

// One page, one sector, or one block of a comparison of the oldest request.
void FastMode::Step() {
  Request& request = m_Queue.front();
  m_LastAddr = request.Addr;
  bool isGood = false;
  switch (request.What) {
    case Kind::Program:
      isGood = StepProgram(request);
      break;
    case Kind::Verify:
      isGood = StepVerify(request);
      break;
    case Kind::Erase:
      isGood = StepErase(request);
      break;
  }
  if (isGood && request.NumDone >= request.NumBytes) {
    m_QueuedBytes -= request.Data.size() + kRequestCost;
    m_Queue.pop_front();
  }
}

// The address that a failure gives is that of the page.
bool FastMode::StepProgram(Request& request) {
  constexpr u32 typeNor = 1;
  const u64 addr = request.Addr + request.NumDone;
  const u64 pageBytes = u64{1} << m_Para.PageSizeShift;
  const u64 count = std::min(pageBytes - addr % pageBytes, request.NumBytes - request.NumDone);
  const std::span<const u8> data =
      std::span<const u8>(request.Data).subspan(request.NumDone, count);
  request.NumDone += count;
  if (m_Para.SkipBlank && m_Para.FlashType == typeNor && IsBlank(data)) {
    return true;
  }
  m_IsArmed = false;
  u8 status = kNoAnswer;
  const bool isGood = SendCommand(m_Para.CmdWriteEnable) &&
                      (!m_Para.SendInitCommands || SendCommand(m_Para.CmdInitPageProg)) &&
                      (m_Para.UseQuad ? SendPageQuad(addr, data) : SendPage(addr, data)) &&
                      WaitReady(m_Para.TimeoutProgPageMs, &status) && WasCarriedOut(status);
  if (!isGood) {
    Fail(addr);
  }
  return isGood;
}

// The address that a failure gives is that of the first byte that differs.
bool FastMode::StepVerify(Request& request) {
  const u64 addr = request.Addr + request.NumDone;
  const u64 count = std::min(kVerifyBytes, request.NumBytes - request.NumDone);
  const std::span<const u8> expected =
      std::span<const u8>(request.Data).subspan(request.NumDone, count);
  m_Frame.resize(count);
  if (!ReadBlock(addr, m_Frame)) {
    Fail(addr);
    return false;
  }
  const auto [itRead, itExpected] = std::mismatch(m_Frame.begin(), m_Frame.end(), expected.begin());
  if (itRead != m_Frame.end()) {
    Fail(addr + static_cast<u64>(itRead - m_Frame.begin()));
    return false;
  }
  request.NumDone += count;
  return true;
}

bool FastMode::StepErase(Request& request) {
  const u64 addr = request.Addr + request.NumDone;
  m_Frame.assign(1, m_Para.CmdEraseSector);
  const std::span<const u8> addrBytes = StoreAddr(addr);
  m_Frame.insert(m_Frame.end(), addrBytes.begin(), addrBytes.end());
  const u32 numBits = static_cast<u32>(m_Frame.size()) * 8;
  m_IsArmed = false;
  u8 status = kNoAnswer;
  bool isGood = SendCommand(m_Para.CmdWriteEnable) &&
                (!m_Para.SendInitCommands || SendCommand(m_Para.CmdInitErase)) &&
                m_Bus.Shift({m_Frame.data(), nullptr, numBits, kWholeFrame});
  // One that is ready at the first look may never have begun: then the cells are asked.
  const u8 firstLook = isGood ? ReadRegister(m_Para.CmdReadStatus) : kNoAnswer;
  isGood = isGood && WaitReady(m_Para.TimeoutEraseSectMs, &status) && WasCarriedOut(status) &&
           (!IsReady(firstLook) || IsErased(addr));
  request.NumDone += u64{1} << m_Para.SectorSizeShift;
  if (!isGood) {
    Fail(addr);
  }
  return isGood;
}

// Instruction 0 stands for one that the chip lacks.
bool FastMode::SendCommand(u8 cmd) {
  return cmd == 0 || m_Bus.Shift({&cmd, nullptr, 8, kWholeFrame});
}

std::span<const u8> FastMode::StoreAddr(u64 addr) {
  for (u32 i = 0; i < m_Para.NumAddrBytes; ++i) {
    m_aAddr[i] = static_cast<u8>(addr >> (8 * (m_Para.NumAddrBytes - 1 - i)));
  }
  return std::span(m_aAddr).first(m_Para.NumAddrBytes);
}

bool FastMode::SendPage(u64 addr, std::span<const u8> data) {
  m_Frame.assign(1, m_Para.CmdWritePage);
  const std::span<const u8> addrBytes = StoreAddr(addr);
  m_Frame.insert(m_Frame.end(), addrBytes.begin(), addrBytes.end());
  m_Frame.insert(m_Frame.end(), data.begin(), data.end());
  return m_Bus.Shift({m_Frame.data(), nullptr, static_cast<u32>(m_Frame.size()) * 8, kWholeFrame});
}

bool FastMode::SendPageQuad(u64 addr, std::span<const u8> data) {
  const std::span<const u8> addrBytes = StoreAddr(addr);
  return m_Bus.Shift({&m_Para.CmdWritePageQuad, nullptr, 8,
                      VORTIC_SPI_CS_ACTIVE | LaneFlags(m_Para.WrCmdTransferMode)}) &&
         m_Bus.Shift({addrBytes.data(), nullptr, static_cast<u32>(addrBytes.size()) * 8,
                      LaneFlags(m_Para.WrAddrTransferMode)}) &&
         m_Bus.Shift({data.data(), nullptr, static_cast<u32>(data.size()) * 8, kDataQuad});
}

// Dummy cycles are bits on the lanes of the address.
bool FastMode::ReadBlock(u64 addr, std::span<u8> data) {
  const bool isQuad = m_Para.UseQuad;
  const u8 cmd = isQuad ? m_Para.CmdReadDataQuad : m_Para.CmdReadData;
  const u32 cmdLanes = isQuad ? LaneFlags(m_Para.RdCmdTransferMode) : VORTIC_SPI_LANES_SINGLE;
  const u32 addrLanes = isQuad ? LaneFlags(m_Para.RdAddrTransferMode) : VORTIC_SPI_LANES_SINGLE;
  const bool isFastRead = cmd == kFastRead || cmd == kFastRead4Byte;
  u32 numDummyBits = isFastRead && !isQuad ? 8 : 0;
  if (isQuad) {
    numDummyBits = m_Para.NumDummyCyclesQuad * (addrLanes == VORTIC_SPI_LANES_QUAD ? 4U : 1U);
    numDummyBits = std::min<u32>(numDummyBits, sizeof(kZeros) * 8);
  }
  const std::span<const u8> addrBytes = StoreAddr(addr);
  return m_Bus.Shift({&cmd, nullptr, 8, VORTIC_SPI_CS_ACTIVE | cmdLanes}) &&
         m_Bus.Shift(
             {addrBytes.data(), nullptr, static_cast<u32>(addrBytes.size()) * 8, addrLanes}) &&
         (numDummyBits == 0 ||
          m_Bus.Shift({kZeros, nullptr, numDummyBits, VORTIC_SPI_DUMMY | addrLanes})) &&
         m_Bus.Shift({nullptr, data.data(), static_cast<u32>(data.size()) * 8,
                      isQuad ? kDataQuad : VORTIC_SPI_CS_INACTIVE});
}

// The same frame as in lists: instruction, then the status byte until it fits.
bool FastMode::WaitReady(u32 timeoutMs, u8* pStatus) {
  const u32 mask = 1U << m_Para.StatusBitPos;
  // The poll counts in microseconds; beyond its range an hour is long enough.
  constexpr u32 maxMs = 0xFFFFFFFFU / 1000;
  const VORTIC_POLL_PARA para = {0, mask, m_Para.StatusIsReadyBit ? mask : 0,
                                 std::min(timeoutMs, maxMs) * 1000};
  return m_Bus.Shift(
             {&m_Para.CmdReadStatus, nullptr, 8, VORTIC_SPI_CS_ACTIVE | VORTIC_SPI_LANES_SINGLE}) &&
         m_Bus.Poll(para, VORTIC_SPI_CS_INACTIVE, pStatus) == PollOutcome::Ready;
}

bool FastMode::IsReady(u8 status) const {
  return ((status >> m_Para.StatusBitPos & 1) != 0) == m_Para.StatusIsReadyBit;
}

// All ones is a line that nobody drives. A flag status register tells of errors; in a plain one the
// latch is still set where the instruction was not carried out.
bool FastMode::WasCarriedOut(u8 status) const {
  if (status == kNoAnswer) {
    return false;
  }
  if (m_Para.CmdReadStatus == kCmdReadFlags) {
    return (status & kErrorFlags) == 0;
  }
  return !m_HasLatch || m_Para.CmdReadStatus != kCmdReadStatus || (status & kStatusLatch) == 0;
}

bool FastMode::IsErased(u64 addr) {
  const u64 end = addr + (u64{1} << m_Para.SectorSizeShift);
  while (addr < end) {
    m_Frame.resize(std::min(kVerifyBytes, end - addr));
    if (!ReadBlock(addr, m_Frame) || !IsBlank(m_Frame)) {
      return false;
    }
    addr += m_Frame.size();
  }
  return true;
}

}  // namespace vortic
