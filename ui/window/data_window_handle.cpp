#include "ui/window/data_window_handle.h"

#include "ui/hex/hex_editor.h"

void DataWindowHandle::Detach() {
  const std::lock_guard guard(m_Lock);
  m_pEditor = nullptr;
}

CHexEditor* DataWindowHandle::GetEditor() const {
  const std::lock_guard guard(m_Lock);
  return m_pEditor;
}

void DataWindowHandle::RequestReload() {
  const std::lock_guard guard(m_Lock);
  CHexEditor::RequestReload(m_pEditor);
}

void DataWindowHandle::RequestBigEndian(bool OnOff) {
  const std::lock_guard guard(m_Lock);
  CHexEditor::RequestBigEndian(m_pEditor, OnOff ? 1 : 0);
}

void DataWindowHandle::RequestReadOnly(bool OnOff) {
  const std::lock_guard guard(m_Lock);
  CHexEditor::RequestReadOnly(m_pEditor, OnOff ? 1 : 0);
}

void DataWindowHandle::RequestWindowName(const char* sName) {
  const std::lock_guard guard(m_Lock);
  CHexEditor::RequestWindowName(m_pEditor, sName);
}

int DataWindowHandle::IsModified() {
  const std::lock_guard guard(m_Lock);
  return CHexEditor::IsModified(m_pEditor) > 0 ? 1 : 0;
}
