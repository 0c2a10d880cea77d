#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "sys/types.h"

// What was typed into the address box, the newest first. No window.
class AddrHistory {
 public:
  // The text, tidied, comes first; an equal entry or else the oldest one goes. An empty text is
  // ignored.
  void Enter(std::string_view Text);
  const std::vector<std::string>& GetEntries() const { return m_aEntries; }

 private:
  std::vector<std::string> m_aEntries;
};

// A hexadecimal number, with or without "0x" in front, and nothing else. False also when it
// doesn't fit 64 bits.
bool HEX_ParseAddr(std::string_view Text, u64* pAddr);
// Title of an editor. sName empty: no name; sInterval and sZone empty: none.
std::string HEX_MakeTitle(std::string_view Name, u64 Addr, std::string_view Interval,
                          std::string_view Zone, bool IsModified);
