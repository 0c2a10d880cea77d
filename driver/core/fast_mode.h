#pragma once

#include <array>
#include <deque>
#include <span>
#include <string>
#include <vector>

#include "driver/core/bus.h"
#include "sys/types.h"

namespace vortic {

// What the fast mode has to know of the chip and of the job, unpacked from the block of bytes that
// the client hands in.
struct FastPara {
  u32 FlashType;
  u32 NumPages;
  // Of the probe's clock. A sector, a page.
  u32 TimeoutEraseSectMs;
  u32 TimeoutProgPageMs;
  bool StatusIsReadyBit;
  bool UseQuad;
  // Pages of 0xFF are not sent, on flash.
  bool SkipBlank;
  bool SendInitCommands;
  // 0 where the part has no such instruction.
  u8 CmdWriteEnable, CmdWriteDisable, CmdReadId;
  u8 CmdReadStatus, CmdReadData, CmdWritePage, CmdEraseSector;
  u8 NumAddrBytes, StatusBitPos;
  u8 CmdReadDataQuad, CmdWritePageQuad, NumDummyCyclesQuad;
  u8 PageSizeShift, SectorSizeShift;
  u8 RdCmdTransferMode, WrCmdTransferMode, WrAddrTransferMode, RdAddrTransferMode;
  u8 CmdInitPageProg, CmdInitErase;

  u64 TotalBytes() const { return u64{NumPages} << PageSizeShift; }
};

constexpr std::size_t kFastParaBytes = 56;
constexpr std::size_t kFastParaExBytes = 64;

// Unpacks and checks a block of 56 or, for the extended form, 64 bytes. Empty: good; else the flaw.
std::string ParseFastPara(const u8* pBlock, bool isExtended, FastPara* pPara);

// What a probe's firmware does in fast mode: it queues requests and works them off by itself. Here
// the queue moves on whenever the client asks how far it is.
// Requests are done in the order in which they came. The first one that fails ends the job: what
// waits behind it is dropped, new ones are refused, and the address stays until the client has
// fetched it.
class FastMode {
 public:
  explicit FastMode(Bus& bus) : m_Bus(bus) {}

  void Enter(const FastPara& para);
  // Drops what waits: a client that wants it done waits for it first, one that leaves early was
  // cancelled, and its user is waiting. False: something was dropped, or a failure never fetched.
  bool Leave();
  bool IsOn() const { return m_IsOn; }

  // False: refused, or a failure waits to be fetched. A request that was refused makes the job
  // fail: a client may stop at it and ask for nothing but the outcome.
  bool Program(u64 addr, std::span<const u8> data);
  bool Verify(u64 addr, std::span<const u8> data);
  bool Erase(u64 addr, u64 numBytes);
  // A request was lost on its way here: the job must not end well.
  void Fail(u64 addr);
  // Forgets what waits, failures included.
  void Abandon();

  // 0 done, 1 busy, -1 failed at the address; the failure is forgotten then.
  int Wait(u32* pFailAddr);

 private:
  enum class Kind : u8 { Program, Verify, Erase };
  struct Request {
    Kind What;
    u64 Addr;
    u64 NumBytes;
    std::vector<u8> Data;
    u64 NumDone;
  };

  bool Queue(Kind kind, u64 addr, u64 numBytes, std::span<const u8> data);
  void Step();
  bool StepProgram(Request& request);
  bool StepVerify(Request& request);
  bool StepErase(Request& request);
  bool SendCommand(u8 cmd);
  bool SendPage(u64 addr, std::span<const u8> data);
  bool SendPageQuad(u64 addr, std::span<const u8> data);
  bool ReadBlock(u64 addr, std::span<u8> data);
  // *pStatus gets the last status byte.
  bool WaitReady(u32 timeoutMs, u8* pStatus);
  bool IsReady(u8 status) const;
  bool WasCarriedOut(u8 status) const;
  bool IsErased(u64 addr);
  // A stretch of work on the bus, between two answers to the client. False: the chip is not, or no
  // longer, the one that it was.
  bool BeginStretch();
  bool EndStretch();
  u8 ReadRegister(u8 cmd);
  std::array<u8, 3> ReadId();
  bool IsLatchSet();
  std::span<const u8> StoreAddr(u64 addr);

  Bus& m_Bus;
  FastPara m_Para = {};
  bool m_IsOn = false;
  std::array<u8, 3> m_aId{};  // when fast mode was entered; all zeros: the part has none
  bool m_HasLatch = false;    // write enable shows in the status register
  bool m_WasArmed = false;    // the latch was set when the job began
  bool m_IsArmed = false;     // the latch was set, and nothing has used it since
  // Stays until Wait or Abandon; nothing is taken or done meanwhile.
  bool m_HasFailed = false;
  u64 m_FailAddr = 0;
  u64 m_LastAddr = 0;  // of the request that was worked on last
  std::deque<Request> m_Queue;
  // Data and bookkeeping of what waits.
  u64 m_QueuedBytes = 0;
  // Scratch for one frame or one block that was read.
  std::vector<u8> m_Frame;
  u8 m_aAddr[4] = {};
};

}  // namespace vortic
