#pragma once

#include <mutex>

#include "app/engine/frontend.h"

class CHexEditor;

// What the core knows of a data window. The editor dies as soon as the user closes it; the handle
// lives until the core has forgotten the window, so that a job may go on with it meanwhile.
class DataWindowHandle : public APP_DATA_WINDOW {
 public:
  explicit DataWindowHandle(CHexEditor* pEditor) : m_pEditor(pEditor) {}

  // GUI thread, before the editor goes: no call reaches it from then on.
  void Detach();
  // Null once detached. Only the GUI thread may use what it gets.
  CHexEditor* GetEditor() const;

  // Application thread. A window without an editor ignores them.
  void RequestReload() override;
  void RequestBigEndian(bool OnOff) override;
  void RequestReadOnly(bool OnOff) override;
  void RequestWindowName(const char* sName) override;
  int IsModified() override;

 private:
  mutable std::mutex m_Lock;  // guards it; held while the application thread calls the editor
  CHexEditor* m_pEditor;
};
