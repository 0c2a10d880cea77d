#include "image/patch_list.h"

bool PatchList::FindPos(u64 Addr, Pos* pPos) const {
  *pPos = m_ByAddr.LowerBound(Addr);
  return !m_ByAddr.IsEnd(*pPos) && m_ByAddr.At(*pPos).Addr == Addr;
}

bool PatchList::Find(u64 Addr, u8* pValue) const {
  Pos pos;
  if (IsEmpty() || !FindPos(Addr, &pos)) {
    return false;
  }
  *pValue = m_ByAddr.At(pos).Value;
  return true;
}

bool PatchList::Add(u64 Addr, u8 Value) {
  if (m_Entries.size() >= NONE) {
    return false;
  }
  const u32 index = static_cast<u32>(m_Entries.size());
  try {
    m_Entries.push_back({Addr, NONE, Value, true});
  } catch (const std::bad_alloc&) {
    return false;
  }
  Pos pos;
  if (FindPos(Addr, &pos)) {
    NEWEST& newest = m_ByAddr.At(pos);
    m_Entries.back().Older = newest.Index;
    newest = {Addr, index, Value};
  } else if (!m_ByAddr.Insert(&pos, {Addr, index, Value})) {
    m_Entries.pop_back();
    return false;
  }
  ++m_NumAlive;
  return true;
}

void PatchList::UndoLast() {
  Pos pos;
  if (IsEmpty() || !FindPos(m_Entries.back().Addr, &pos)) {
    return;
  }
  const u32 older = m_Entries.back().Older;
  if (older == NONE) {
    m_ByAddr.Erase(pos, m_ByAddr.Next(pos));
  } else {
    NEWEST& newest = m_ByAddr.At(pos);
    newest.Index = older;
    newest.Value = m_Entries[older].Value;
  }
  m_Entries.pop_back();
  --m_NumAlive;
  DropDeadTail();
}

void PatchList::RevertAddr(u64 Addr) {
  Pos pos;
  if (IsEmpty() || !FindPos(Addr, &pos)) {
    return;
  }
  for (u32 i = m_ByAddr.At(pos).Index; i != NONE; i = m_Entries[i].Older) {
    m_Entries[i].IsAlive = false;
    --m_NumAlive;
  }
  m_ByAddr.Erase(pos, m_ByAddr.Next(pos));
  DropDeadTail();
  if (m_Entries.size() > 2 * m_NumAlive + 64) {
    Sweep();
  }
}

void PatchList::DropDeadTail() {
  while (!m_Entries.empty() && !m_Entries.back().IsAlive) {
    m_Entries.pop_back();
  }
}

// Closes the gaps that dead entries left. All patches at an address die together, so the chains of
// the others stay whole and only their indices change.
void PatchList::Sweep() {
  std::vector<u32> newIndex;
  try {
    newIndex.resize(m_Entries.size());
  } catch (const std::bad_alloc&) {
    return;  // dead entries do no harm
  }
  u32 count = 0;
  for (std::size_t i = 0; i < m_Entries.size(); ++i) {
    ENTRY entry = m_Entries[i];
    if (entry.IsAlive) {
      if (entry.Older != NONE) {
        entry.Older = newIndex[entry.Older];
      }
      newIndex[i] = count;
      m_Entries[count++] = entry;
    }
  }
  m_Entries.resize(count);
  m_ByAddr.ForEach([&newIndex](NEWEST& newest) { newest.Index = newIndex[newest.Index]; });
}

void PatchList::Clear() {
  m_Entries.clear();
  m_Entries.shrink_to_fit();
  m_ByAddr.Clear();
  m_NumAlive = 0;
}

bool PatchList::PrepareRelocate(u64 Offset) {
  return m_ByAddr.SplitAt(m_ByAddr.LowerBound(0 - Offset));
}

void PatchList::Relocate(u64 Offset) {
  if (Offset == 0) {
    return;
  }
  const Pos wrapped = m_ByAddr.LowerBound(0 - Offset);
  if (!m_ByAddr.IsEnd(wrapped)) {
    m_ByAddr.Rotate(wrapped);
  }
  m_ByAddr.ForEach([Offset](NEWEST& newest) { newest.Addr += Offset; });
  for (ENTRY& entry : m_Entries) {
    entry.Addr += Offset;
  }
}
