#pragma once

#include <string>
#include <vector>

#include "ui/hex/hex_view.h"

enum class HEX_COPY {
  Hex,      // the selected rows as items, a line a row
  Text,     // the selected characters, one line
  Binary,   // the selected bytes
  IntList,  // numbers of a C initializer
};

// A copy of the selection in the making. It is read afresh, in pieces, so that a large one leaves
// the thread to others in between. GUI thread only; the view has to outlive it.
class HexCopy {
 public:
  HexCopy(HexView* pView, HEX_COPY Format);

  // Above this a copy is refused: texts are several times as long as their bytes.
  static constexpr u64 GetMaxBytes(HEX_COPY Format) {
    return Format == HEX_COPY::Binary ? 64 << 20 : 4 << 20;
  }

  enum class STEP { Done, More, Busy };
  STEP Step();
  HEX_COPY GetFormat() const { return m_Format; }
  // Bytes, or text in ISO 8859-1.
  const std::string& GetResult() const { return m_Result; }

 private:
  void Finish();

  HexView* m_pView;
  HEX_COPY m_Format;
  HexGeometry m_Geometry;
  u64 m_First = 0;  // of the selection, both inclusive
  u64 m_Last = 0;
  u64 m_FirstRow = 0;
  u64 m_Addr = 0;  // what is read next, and where that ends
  u64 m_End = 0;
  std::vector<u8> m_aData;
  std::vector<u8> m_aState;
  std::vector<std::string> m_aRows;
  std::string m_Result;
};
