#include <algorithm>
#include <limits>

#include "driver/abi/call_guard.h"
#include "driver/abi/vortic.h"

// Calls that choose, open and describe a probe, and those that concern the target board.

using vortic::Backend;
using vortic::FailArgument;
using vortic::Guard;
using vortic::GuardOpen;
using vortic::Reporter;
using vortic::Session;

namespace {

// The interface has four USB ports, whatever the configuration lists.
constexpr int32_t kMaxPort = 3;
constexpr uint32_t kMaxConfigMem = 0x10000;

}  // namespace

VORTIC_EXPORT int VORTICARM_SelectUSB(int32_t Port) {
  return Guard(__func__, -1, [Port](Session& session) {
    if (Port < 0 || Port > kMaxPort) {
      return FailArgument(session.TheReporter(), "VORTICARM_SelectUSB", "the port is not 0 to 3");
    }
    session.SelectIndex(static_cast<u32>(Port));
    return 0;
  });
}

VORTIC_EXPORT int VORTICARM_EMU_SelectByUSBSN(uint32_t SerialNo) {
  return Guard(__func__, -1,
               [SerialNo](Session& session) { return session.SelectSerial(SerialNo) ? 0 : -1; });
}

VORTIC_EXPORT int VORTIC_EMU_SelectByUSBNickname(const char* sNickname) {
  return Guard(__func__, -1, [sNickname](Session& session) {
    return sNickname != nullptr && session.SelectNickname(sNickname) ? 0 : -1;
  });
}

VORTIC_EXPORT int VORTICARM_SelectIP(const char* sHost, int32_t Port) {
  (void)Port;  // a simulated probe answers at any
  return Guard(__func__, -1, [sHost](Session& session) {
    return sHost != nullptr && session.SelectHost(sHost) ? 0 : -1;
  });
}

VORTIC_EXPORT const char* VORTICARM_OpenEx(void* pReserved, VORTIC_TEXT_HANDLER* pfLog) {
  (void)pReserved;
  return Guard(__func__, "The probe could not be opened.",
               [pfLog](Session& session) { return session.Open(pfLog); });
}

VORTIC_EXPORT void VORTICARM_Close(void) {
  Guard(__func__, 0, [](Session& session) {
    session.Close();
    return 0;
  });
}

VORTIC_EXPORT int32_t VORTICARM_EMU_GetProductId(void) {
  return GuardOpen(__func__, int32_t{-1},
                   [](Backend& probe, Reporter&) { return probe.Identity().ProductId; });
}

VORTIC_EXPORT int32_t VORTICARM_GetSN(void) {
  return GuardOpen(__func__, int32_t{-1}, [](Backend& probe, Reporter&) {
    return static_cast<int32_t>(probe.Identity().SerialNumber);
  });
}

VORTIC_EXPORT uint32_t VORTIC_GetHardwareVersion(void) {
  return GuardOpen(__func__, uint32_t{0},
                   [](Backend& probe, Reporter&) { return probe.Identity().HardwareVersion; });
}

VORTIC_EXPORT int VORTICARM_EMU_HasCapEx(int32_t Capability) {
  return GuardOpen(__func__, 0, [Capability](Backend& probe, Reporter&) {
    const auto& all = probe.Identity().Capabilities;
    return std::find(all.begin(), all.end(), Capability) != all.end() ? 1 : 0;
  });
}

VORTIC_EXPORT int VORTICARM_ReadEmuConfigMem(uint8_t* pBuffer, uint32_t Offset, uint32_t NumBytes) {
  return GuardOpen(__func__, -1, [=](Backend& probe, Reporter& reporter) {
    if (pBuffer == nullptr || NumBytes > kMaxConfigMem) {
      return FailArgument(reporter, "VORTICARM_ReadEmuConfigMem", "bad buffer");
    }
    return probe.ReadConfigMem(Offset, {pBuffer, NumBytes}) ? 0 : -1;
  });
}

VORTIC_EXPORT int VORTICARM_TIF_GetAvailable(uint32_t* pMask) {
  return GuardOpen(__func__, -1, [pMask](Backend& probe, Reporter& reporter) {
    if (pMask == nullptr) {
      return FailArgument(reporter, "VORTICARM_TIF_GetAvailable", "no room for the result");
    }
    return probe.GetInterfaces(pMask) ? 0 : -1;
  });
}

VORTIC_EXPORT int VORTICARM_TIF_Select(int32_t Interface) {
  return GuardOpen(__func__, -1, [Interface](Backend& probe, Reporter&) {
    const i32 before = probe.SelectedInterface();
    return probe.SelectInterface(Interface) ? before : -1;
  });
}

VORTIC_EXPORT void VORTICARM_SetSpeed(uint32_t SpeedkHz) {
  GuardOpen(__func__, -1, [SpeedkHz](Backend& probe, Reporter& reporter) {
    if (SpeedkHz == 0) {
      return FailArgument(reporter, "VORTICARM_SetSpeed", "a speed of 0 kHz is none");
    }
    probe.SetSpeed(SpeedkHz);
    return 0;
  });
}

VORTIC_EXPORT uint32_t VORTICARM_GetSpeed(void) {
  return GuardOpen(__func__, uint32_t{0}, [](Backend& probe, Reporter&) {
    return std::min<uint32_t>(probe.GetSpeed(), std::numeric_limits<uint16_t>::max());
  });
}

VORTIC_EXPORT int VORTICARM_GetHWStatus(VORTIC_HW_STATUS* pStatus) {
  return GuardOpen(__func__, -1, [pStatus](Backend& probe, Reporter& reporter) {
    if (pStatus == nullptr) {
      return FailArgument(reporter, "VORTICARM_GetHWStatus", "no room for the result");
    }
    return probe.GetHwStatus(pStatus) ? 0 : -1;
  });
}

VORTIC_EXPORT void VORTICARM_ClrRESET(void) {
  GuardOpen(__func__, -1, [](Backend& probe, Reporter&) {
    probe.SetReset(true);
    return 0;
  });
}

VORTIC_EXPORT void VORTICARM_SetRESET(void) {
  GuardOpen(__func__, -1, [](Backend& probe, Reporter&) {
    probe.SetReset(false);
    return 0;
  });
}

VORTIC_EXPORT void VORTICARM_ClrTMS(void) {
  GuardOpen(__func__, -1, [](Backend& probe, Reporter&) {
    probe.SetChipSelect(true);
    return 0;
  });
}

VORTIC_EXPORT void VORTICARM_SetTMS(void) {
  GuardOpen(__func__, -1, [](Backend& probe, Reporter&) {
    probe.SetChipSelect(false);
    return 0;
  });
}
