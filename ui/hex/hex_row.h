#pragma once

#include <span>
#include <string_view>

#include "ui/hex/hex_geometry.h"
#include "ui/hex/hex_types.h"

// One row of the hex editor as text. The characters are ISO 8859-1.
class HexRow {
 public:
  // pData, pState: BytesPerRow each, from address Addr on.
  void Format(const HexGeometry& Geometry, u64 Addr, const u8* pData, const u8* pState);

  std::string_view GetText() const { return {m_acText, m_Length}; }
  // The items without the blank behind the last one.
  std::string_view GetItems() const;
  std::string_view GetChars() const;

  // A stretch of cells that shows how recently its bytes changed: 1 is fresh, 3 fades.
  struct RUN {
    u32 Column;
    u32 Length;
    u8 Age;
  };
  // pAge: BytesPerRow ages, 0 for bytes that didn't change. An item is as fresh as its freshest
  // byte. Ages above 3 aren't shown.
  void NoteAges(const HexGeometry& Geometry, const u8* pAge);
  std::span<const RUN> GetRuns() const { return {m_aRuns, m_NumRuns}; }

 private:
  void Append(char c) { m_acText[m_Length++] = c; }
  void AppendHex(u32 Value, u32 NumDigits);
  void AppendByte(u8 Value, u8 State, bool IsPartOfItem);
  void AddRun(u32 Column, u32 Length, u8 Age);

  static constexpr u32 MAX_RUNS = 256;
  char m_acText[HEX_MAX_ROW_TEXT];
  u32 m_Length = 0;
  u32 m_HexWidth = 0;
  RUN m_aRuns[MAX_RUNS];
  u32 m_NumRuns = 0;
};

// Whether the text column shows a byte as itself.
bool HEX_IsShownAsChar(u8 Value, u8 State);
