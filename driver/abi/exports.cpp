#include <cstring>

#include "driver/abi/call_guard.h"
#include "driver/abi/vortic.h"

// Calls that concern the library itself, and commands.

using vortic::FailArgument;
using vortic::Guard;
using vortic::Session;

namespace {

// Major * 10000 + minor * 100 + revision.
constexpr uint32_t kVersion = 10000;  // 1.00

// As much of the text as fits, never cut inside a character.
bool CopyText(const std::string& text, char* pDest, int32_t destSize) {
  if (pDest == nullptr || destSize <= 0) {
    return text.empty();
  }
  std::size_t count = text.size();
  if (count >= static_cast<std::size_t>(destSize)) {
    count = static_cast<std::size_t>(destSize) - 1;
    while (count > 0 && (static_cast<u8>(text[count]) & 0xC0) == 0x80) {
      --count;
    }
  }
  std::memcpy(pDest, text.data(), count);
  pDest[count] = '\0';
  return count == text.size();
}

}  // namespace

VORTIC_EXPORT void VORTICARM_SetErrorOutHandler(VORTIC_TEXT_HANDLER* pfError) {
  Guard(__func__, 0, [pfError](Session& session) {
    session.TheReporter().SetErrorHandler(pfError);
    return 0;
  });
}

VORTIC_EXPORT int VORTICARM_SetLogFile(const char* sFileName) {
  return Guard(__func__, -1, [sFileName](Session& session) {
    return session.TheReporter().SetLogFile(sFileName) ? 0 : -1;
  });
}

VORTIC_EXPORT uint32_t VORTICARM_GetDLLVersion(void) {
  return kVersion;
}

VORTIC_EXPORT const char* VORTICARM_GetCompileDateTime(void) {
  return __DATE__ " " __TIME__;
}

VORTIC_EXPORT int VORTICARM_ExecCommand(const char* sCommand, char* pError, int32_t ErrorSize) {
  return Guard(__func__, -1, [=](Session& session) {
    if (sCommand == nullptr) {
      return FailArgument(session.TheReporter(), "VORTICARM_ExecCommand", "no command");
    }
    std::string text;
    int result = vortic::ExecCommand(session, sCommand, &text);
    // A result that was cut short would be taken for a smaller number.
    if (!CopyText(text, pError, ErrorSize) && result == 0) {
      result = FailArgument(session.TheReporter(), "VORTICARM_ExecCommand", "the buffer is small");
    }
    return result;
  });
}
