#pragma once

#include <string>
#include <vector>

#include "programmer/transfer.h"

// What the files of the transfer share; nobody else includes this.

std::vector<std::string> ZELMONT_SplitNames(const char* pNames, u32 NumNames);
// A name in a folder of this computer.
inline std::string ZELMONT_Join(std::string_view Dir, std::string_view Name) {
  std::string path(Dir);
  path += '/';
  path += Name;
  return path;
}
// Both log an error. A null record was never cancelled.
bool ZELMONT_IsCanceled(PROGRESS_INFO* pProgress);
bool ZELMONT_CheckCapability(i32 Capability);
// A path of this computer for a log line, as ZELMONT_PrintName but not cut.
std::string ZELMONT_PrintPath(std::string_view Path);
