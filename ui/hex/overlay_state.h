#pragma once

#include <string>

#include "ui/hex/hex_geometry.h"

// The editor of one item that is typed over, without its widget.
//
// The box holds the digits of the item. When the last one has been typed, the item is complete
// (Overflowed) and the cursor stays on that digit; the digit typed next belongs to the next item:
// it closes the box and is kept in OverflowText.
class OverlayState {
 public:
  // What the box shall show after an event.
  struct BOX {
    std::string Text;
    u32 Cursor;
  };

  // ItemText: the digits of the item as they stand, or empty when they aren't known. Place: that of
  // the digit that Typed replaces.
  BOX Open(u64 ItemAddr, u32 NumDigits, std::string ItemText, u32 Place, char Typed);
  void OnShown() { m_IsClosing = false; }
  // The cursor was moved; false leaves it there, true puts it back on the last digit.
  bool OnCursorMoved(u32 OldPlace, u32 NewPlace, const std::string& Text);
  // The text was edited. True closes the box, which shall show GetSavedText before.
  bool OnTextEdited(u32 Cursor, const std::string& Text);
  void Discard();  // Escape, and keys that leave the item
  void Accept();   // Return
  // True if the end of the edit is news; it is told once.
  bool BeginClose();
  // Closes without an end of the edit.
  void Reset();

  u64 GetItemAddr() const { return m_ItemAddr; }
  bool IsClosing() const { return m_IsClosing; }
  bool IsToBeWritten() const { return m_IsAccepted || m_IsOverflowed; }
  // The digit that goes to the next item, 0 for none.
  char GetNextDigit() const;
  const std::string& GetSavedText() const { return m_SavedText; }

 private:
  u64 m_ItemAddr = 0;
  u32 m_NumDigits = 0;
  bool m_IsAccepted = false;
  bool m_IsOverflowed = false;
  bool m_IsClosing = true;
  std::string m_SavedText;
  std::string m_OverflowText;
};

// The bytes of a typed item, low byte first. Text that is no number gives all ones.
std::string HEX_ItemBytes(const std::string& Text, u32 ItemSize);
// The digits of an item from its bytes in memory.
std::string HEX_ItemText(const HexGeometry& Geometry, const u8* pItem);
