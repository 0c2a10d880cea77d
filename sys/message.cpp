#include <atomic>
#include <cstdio>

#include "sys/memory.h"

namespace {

// No allocation here: it has to work when memory is out.
void WriteToStandardError(const char* sTitle, const char* sText) {
  static_cast<void>(std::fprintf(stderr, "%s: %s\n", sTitle, sText));
}

std::atomic<SYS_MESSAGE_HANDLER*> g_pfHandler = &WriteToStandardError;

}  // namespace

void SYS_ShowMessage(const char* sTitle, const char* sText) {
  g_pfHandler.load()(sTitle, sText);
}

void SYS_SetMessageHandler(SYS_MESSAGE_HANDLER* pfHandler) {
  g_pfHandler = pfHandler != nullptr ? pfHandler : &WriteToStandardError;
}
