#pragma once

#include "sys/thread.h"

// What a SYS_HANDLE points to. Internal to this layer.

enum class SysKind : u8 { File, Event, Thread, RegistryKey };

class SysObject {
 public:
  explicit SysObject(SysKind Kind) : m_Kind(Kind) {}
  virtual ~SysObject() = default;
  SysObject(const SysObject&) = delete;
  SysObject& operator=(const SysObject&) = delete;

  SysKind Kind() const { return m_Kind; }

 private:
  const SysKind m_Kind;
};

// The handle of an object is its address; ownership goes to the holder of the handle.
inline SYS_HANDLE SysToHandle(SysObject* pObject) {
  return reinterpret_cast<SYS_HANDLE>(pObject);
}

// Null for 0, for the handle of a failed open and for an object of another kind.
template <class T>
T* SysFromHandle(SYS_HANDLE h) {
  if (h == 0 || h == ~SYS_HANDLE{0}) {
    return nullptr;
  }
  return dynamic_cast<T*>(reinterpret_cast<SysObject*>(h));
}
