#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "sys/file.h"
#include "text/projfile.h"
#include "text/projfile_text.h"

// The one store of the process and the entry to it. Internal to the text store.

struct ProjStore {
  char acFileName[SYS_MAX_PATH] = {};  // empty when the project has no file yet
  std::optional<ProjText> Content;
  u32 NumChanges = 0;  // since load or save
  bool IsOpen = false;
};

// Holds the store's lock for one operation. A message is shown when the lock is released: the one
// who shows it may come back for the store.
class ProjAccess {
 public:
  ProjAccess();
  ~ProjAccess();
  ProjAccess(const ProjAccess&) = delete;
  ProjAccess& operator=(const ProjAccess&) = delete;

  // Null when the store cannot be used any more.
  ProjStore* Get() const { return m_pStore; }
  // Null, with the message, when no project is open.
  ProjStore* GetOpen();
  // Shows the text at the end; -1 for the caller to return.
  int Fail(std::string Text) {
    m_Message = std::move(Text);
    return -1;
  }

 private:
  std::unique_lock<std::mutex> m_Lock;
  ProjStore* m_pStore;
  std::string m_Message;
};
