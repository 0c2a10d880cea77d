#pragma once

#include <array>
#include <atomic>

#include "sys/types.h"

// What the application thread tells the GUI thread in order, without a lock: creating and closing
// progress dialogs. One ring for both, so that a close can't overtake its create.
struct GUI_MAIL {
  void* pData;
  u64 FreeData;  // non-zero frees pData (a block of SYS_MEM_Alloc) after dispatch
  u64 Type;      // GUI_MAIL_...
};
constexpr u64 GUI_MAIL_CREATE_PROGRESS = 0;
constexpr u64 GUI_MAIL_CLOSE_PROGRESS = 1;

// One producer, one consumer. An item is copied before the index that hands it over is published
// (release), and seen (acquire) before it is copied out. One slot stays empty: equal indices mean
// an empty ring.
class GUI_MAIL_RING {
 public:
  static constexpr u32 NumItems = 16;

  // Producer. False when the ring is full.
  bool Put(const GUI_MAIL& mail);
  // Consumer. False when the ring is empty.
  bool Get(GUI_MAIL* pMail);

 private:
  std::array<GUI_MAIL, NumItems> m_aBuffer{};
  std::atomic<u32> m_RdIdx{0};  // written by the consumer
  std::atomic<u32> m_WrIdx{0};  // written by the producer
};
