#include "driver/abi/call_guard.h"
#include "driver/abi/exports_files.h"
#include "driver/abi/vortic.h"

// Calls that move data on the SPI bus, and the functions that are handed out by index.

using vortic::Backend;
using vortic::FailArgument;
using vortic::Guard;
using vortic::GuardOpen;
using vortic::Reporter;
using vortic::Session;

namespace {

// A count beyond this is garbage, and the memory behind the list not the caller's.
constexpr uint32_t kMaxRecords = 1U << 20;
constexpr uint32_t kMaxFastBytes = 0x10000;

// Counts are checked against garbage; that the memory is there the client has to know.
int RunListCall(VORTIC_SPI_CMD* pList, uint32_t NumRecords) {
  return GuardOpen("RunList", VORTIC_ERR_GENERAL, [=](Backend& probe, Reporter& reporter) {
    if ((pList == nullptr && NumRecords != 0) || NumRecords > kMaxRecords) {
      return FailArgument(reporter, "RunList", "no list, or too many records");
    }
    return probe.RunList({pList, NumRecords});
  });
}

// Both forms of the block have a fixed length that the pointer has to reach.
int EnterFastForm(const void* pPara, bool isExtended) {
  return GuardOpen("EnterFastMode", VORTIC_ERR_GENERAL, [=](Backend& probe, Reporter& reporter) {
    if (pPara == nullptr) {
      return FailArgument(reporter, "EnterFastMode", "no parameters");
    }
    vortic::FastPara para;
    const std::string flaw =
        vortic::ParseFastPara(static_cast<const u8*>(pPara), isExtended, &para);
    if (!flaw.empty()) {
      // The client goes on without the fast mode: nothing failed.
      reporter.Trace("Fast mode refused: " + flaw);
      return VORTIC_ERR_GENERAL;
    }
    return probe.EnterFast(para) ? VORTIC_OK : VORTIC_ERR_GENERAL;
  });
}

int EnterFastCall(const void* pPara) {
  return EnterFastForm(pPara, false);
}

int EnterFastExCall(const void* pPara) {
  return EnterFastForm(pPara, true);
}

int LeaveFastCall() {
  return GuardOpen("LeaveFastMode", VORTIC_ERR_GENERAL, [](Backend& probe, Reporter&) {
    return probe.LeaveFast() ? VORTIC_OK : VORTIC_ERR_GENERAL;
  });
}

int FastProgramCall(uint32_t Addr, uint32_t NumBytes, const uint8_t* pData) {
  return GuardOpen("FastProgram", VORTIC_ERR_GENERAL, [=](Backend& probe, Reporter& reporter) {
    if (pData == nullptr || NumBytes > kMaxFastBytes) {
      return FailArgument(reporter, "FastProgram", "no data, or too much of it");
    }
    return probe.FastProgram(Addr, {pData, NumBytes}) ? VORTIC_OK : VORTIC_ERR_GENERAL;
  });
}

int FastVerifyCall(uint32_t Addr, uint32_t NumBytes, const uint8_t* pData) {
  return GuardOpen("FastVerify", VORTIC_ERR_GENERAL, [=](Backend& probe, Reporter& reporter) {
    if (pData == nullptr || NumBytes > kMaxFastBytes) {
      return FailArgument(reporter, "FastVerify", "no data, or too much of it");
    }
    return probe.FastVerify(Addr, {pData, NumBytes}) ? VORTIC_OK : VORTIC_ERR_GENERAL;
  });
}

int FastEraseCall(uint32_t Addr, uint32_t NumBytes) {
  return GuardOpen("FastErase", VORTIC_ERR_GENERAL, [=](Backend& probe, Reporter&) {
    return probe.FastErase(Addr, NumBytes) ? VORTIC_OK : VORTIC_ERR_GENERAL;
  });
}

int WaitCall(uint32_t* pFailAddr) {
  return GuardOpen("FastWait", VORTIC_ERR_GENERAL, [=](Backend& probe, Reporter&) {
    if (pFailAddr != nullptr) {
      *pFailAddr = 0;
    }
    return probe.FastWait(pFailAddr);
  });
}

// The assignments check the signatures that the header promises; a lookup loses them.
VORTIC_RUN_LIST* const kRunList = RunListCall;
VORTIC_WAIT* const kWait = WaitCall;
VORTIC_LEAVE_FAST* const kLeaveFast = LeaveFastCall;
VORTIC_ENTER_FAST* const kEnterFast = EnterFastCall;
VORTIC_ENTER_FAST* const kEnterFastEx = EnterFastExCall;
VORTIC_FAST_PROGRAM* const kFastProgram = FastProgramCall;
VORTIC_FAST_VERIFY* const kFastVerify = FastVerifyCall;
VORTIC_FAST_ERASE* const kFastErase = FastEraseCall;

VORTIC_FUNC FunctionAt(int32_t index) {
  switch (index) {
    case VORTIC_FUNC_RUN_LIST:
      return reinterpret_cast<VORTIC_FUNC>(kRunList);
    case VORTIC_FUNC_WAIT:
      return reinterpret_cast<VORTIC_FUNC>(kWait);
    case VORTIC_FUNC_LEAVE_FAST:
      return reinterpret_cast<VORTIC_FUNC>(kLeaveFast);
    case VORTIC_FUNC_ENTER_FAST:
      return reinterpret_cast<VORTIC_FUNC>(kEnterFast);
    case VORTIC_FUNC_FAST_PROGRAM:
      return reinterpret_cast<VORTIC_FUNC>(kFastProgram);
    case VORTIC_FUNC_FAST_VERIFY:
      return reinterpret_cast<VORTIC_FUNC>(kFastVerify);
    case VORTIC_FUNC_FAST_ERASE:
      return reinterpret_cast<VORTIC_FUNC>(kFastErase);
    case VORTIC_FUNC_ENTER_FAST_EX:
      return reinterpret_cast<VORTIC_FUNC>(kEnterFastEx);
    default:
      return vortic::FileFunctionAt(index);
  }
}

}  // namespace

VORTIC_EXPORT int VORTIC_SPI_Transfer(const uint8_t* pWrite, uint8_t* pRead, uint32_t NumBits,
                                      uint32_t Flags) {
  return GuardOpen(__func__, -1, [=](Backend& probe, Reporter& reporter) {
    if (!vortic::AreFlagsKnown(Flags) || NumBits > vortic::kMaxPhaseBits) {
      return FailArgument(reporter, "VORTIC_SPI_Transfer", "unknown flags, or too many bits");
    }
    return probe.Transfer({pWrite, pRead, NumBits, Flags}) ? 0 : -1;
  });
}

// Without a probe there are no functions; that is an answer, not a failure.
VORTIC_EXPORT VORTIC_FUNC VORTIC_GetpFunc(int32_t Index) {
  return Guard(__func__, VORTIC_FUNC{nullptr}, [Index](Session& session) {
    const Backend* pProbe = session.OpenProbe();
    return pProbe != nullptr && pProbe->HasFunction(Index) ? FunctionAt(Index) : nullptr;
  });
}
