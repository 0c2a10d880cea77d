#include "ui/window/mail_ring.h"

bool GUI_MAIL_RING::Put(const GUI_MAIL& mail) {
  const u32 wrIdx = m_WrIdx.load(std::memory_order_relaxed);
  const u32 next = (wrIdx + 1) % NumItems;
  if (next == m_RdIdx.load(std::memory_order_acquire)) {
    return false;
  }
  m_aBuffer[wrIdx] = mail;
  m_WrIdx.store(next, std::memory_order_release);
  return true;
}

bool GUI_MAIL_RING::Get(GUI_MAIL* pMail) {
  const u32 rdIdx = m_RdIdx.load(std::memory_order_relaxed);
  if (rdIdx == m_WrIdx.load(std::memory_order_acquire)) {
    return false;
  }
  *pMail = m_aBuffer[rdIdx];
  m_RdIdx.store((rdIdx + 1) % NumItems, std::memory_order_release);
  return true;
}
