#include "ui/hex/overlay_state.h"

#include "ui/hex/addr_history.h"

// Everything of an earlier edit is forgotten, and handlers are silent until the box is shown:
// filling it moves its cursor and edits its text.
OverlayState::BOX OverlayState::Open(u64 ItemAddr, u32 NumDigits, std::string ItemText, u32 Place,
                                     char Typed) {
  Reset();
  m_ItemAddr = ItemAddr;
  m_NumDigits = NumDigits;
  if (ItemText.size() != NumDigits || Place >= NumDigits) {
    return {std::string(1, Typed), 1};
  }
  ItemText[Place] = Typed;
  // A blank only makes room.
  if (Typed == ' ') {
    return {ItemText, Place};
  }
  // A single digit in the last place completes the item like one typed inside the box.
  if (Place + 1 == NumDigits) {
    m_IsOverflowed = true;
    m_SavedText = ItemText;
    return {ItemText, Place};
  }
  return {ItemText, Place + 1};
}

// The toolkit puts the cursor behind the last digit when that has been typed. It goes back on the
// digit, where the next one typed is recognised as one too many.
bool OverlayState::OnCursorMoved(u32 OldPlace, u32 NewPlace, const std::string& Text) {
  if (m_IsClosing) {
    return false;
  }
  if (OldPlace + 1 == m_NumDigits && NewPlace == m_NumDigits) {
    m_SavedText = Text;
    m_IsOverflowed = true;
    return true;
  }
  // Coming back from the end is the move asked for above.
  if (NewPlace > OldPlace) {
    m_IsOverflowed = false;
  }
  return false;
}

// The text is told before the cursor's new place is, but the place itself is up to date already.
// The edited text has lost the item's own last digit; the saved one has it.
bool OverlayState::OnTextEdited(u32 Cursor, const std::string& Text) {
  if (m_IsClosing || !m_IsOverflowed || Cursor != m_NumDigits) {
    return false;
  }
  m_IsAccepted = false;
  m_OverflowText = Text;
  return true;
}

void OverlayState::Discard() {
  m_IsAccepted = false;
  m_IsOverflowed = false;
  m_OverflowText.clear();
}

void OverlayState::Accept() {
  m_IsAccepted = true;
  m_OverflowText.clear();
}

// Hiding the box takes the focus from it, which is the end of an edit once more.
bool OverlayState::BeginClose() {
  const bool isNews = !m_IsClosing;
  m_IsClosing = true;
  return isNews;
}

void OverlayState::Reset() {
  Discard();
  m_SavedText.clear();
  m_ItemAddr = 0;
  m_IsClosing = true;
}

// The digit too many replaced the last one.
char OverlayState::GetNextDigit() const {
  return m_IsOverflowed && !m_OverflowText.empty() ? m_OverflowText.back() : '\0';
}

// The box may hold fewer digits than the item, or none.
std::string HEX_ItemBytes(const std::string& Text, u32 ItemSize) {
  u64 value = 0;
  if (!HEX_ParseAddr(Text, &value)) {
    value = ~u64{0};
  }
  std::string bytes;
  for (u32 i = 0; i < ItemSize; ++i) {
    bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
  }
  return bytes;
}

std::string HEX_ItemText(const HexGeometry& Geometry, const u8* pItem) {
  std::string text;
  for (u32 place = 0; place < Geometry.ItemSize; ++place) {
    const u8 value = pItem[Geometry.GetAddrInItem(0, place)];
    text.push_back("0123456789ABCDEF"[value >> 4]);
    text.push_back("0123456789ABCDEF"[value & 0xF]);
  }
  return text;
}
