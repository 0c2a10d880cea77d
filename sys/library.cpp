#include "sys/library.h"

#include <dlfcn.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "sys/util_string.h"

namespace {

struct LibCloser {
  void operator()(void* pLib) const { dlclose(pLib); }
};

using LibPtr = std::unique_ptr<void, LibCloser>;

// Every load counts once, so each entry is released by its own dlclose.
struct LibTable {
  std::mutex Lock;  // guards Libs
  std::vector<LibPtr> Libs;
  std::atomic<u32> Generation{0};
};

LibTable& Table() {
  static LibTable Instance;
  return Instance;
}

auto FindLib(std::vector<LibPtr>& Libs, SYS_HANDLE hLib) {
  return std::find_if(Libs.begin(), Libs.end(), [hLib](const LibPtr& pLib) {
    return reinterpret_cast<SYS_HANDLE>(pLib.get()) == hLib;
  });
}

}  // namespace

SYS_HANDLE SYS_LIB_Load(const char* sFileName, char* pError, u32 ErrorSize) {
  UTIL_strcpy(pError, "", ErrorSize);
  if (sFileName == nullptr || *sFileName == '\0') {
    UTIL_strcpy(pError, "No file name given", ErrorSize);
    return 0;
  }
  // All names are resolved now: a missing one must not end the program later.
  LibPtr pLib(dlopen(sFileName, RTLD_NOW | RTLD_LOCAL));
  if (pLib == nullptr) {
    const char* const sReason = dlerror();
    UTIL_strcpy(pError, sReason != nullptr ? sReason : "Unknown reason", ErrorSize);
    return 0;
  }
  const auto h = reinterpret_cast<SYS_HANDLE>(pLib.get());
  const std::lock_guard lock(Table().Lock);
  Table().Libs.push_back(std::move(pLib));
  return h;
}

void* SYS_LIB_GetFunction(SYS_HANDLE hLib, const char* sName) {
  const std::lock_guard lock(Table().Lock);
  const auto it = FindLib(Table().Libs, hLib);
  return it == Table().Libs.end() || sName == nullptr ? nullptr : dlsym(it->get(), sName);
}

void SYS_LIB_Free(SYS_HANDLE hLib) {
  LibPtr pLib;  // released behind the lock: a library may run code of its own when it goes
  const std::lock_guard lock(Table().Lock);
  const auto it = FindLib(Table().Libs, hLib);
  if (it != Table().Libs.end()) {
    pLib = std::move(*it);
    Table().Libs.erase(it);
  }
}

void SYS_UnloadLibraries() {
  std::vector<LibPtr> libs;
  const std::lock_guard lock(Table().Lock);
  libs.swap(Table().Libs);
  ++Table().Generation;
}

u32 SYS_LIB_GetGeneration() {
  return Table().Generation;
}
