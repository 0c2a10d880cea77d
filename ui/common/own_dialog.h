#pragma once

#include <QtWidgets>

#include <utility>

// A dialog that a child of the main window runs. A job may close that widget meanwhile, and the
// dialog with it, since the event loop goes on: on the stack it would then be deleted twice.
// GUI thread only.
template <class DIALOG>
class OWN_DIALOG {
 public:
  template <class... ARGS>
  explicit OWN_DIALOG(ARGS&&... args) : m_pDialog(new DIALOG(std::forward<ARGS>(args)...)) {}
  ~OWN_DIALOG() { delete m_pDialog.data(); }
  OWN_DIALOG(const OWN_DIALOG&) = delete;
  OWN_DIALOG& operator=(const OWN_DIALOG&) = delete;

  // True when it was accepted. False also when it is gone, and with it perhaps the caller's object:
  // neither may be used any more.
  bool Exec() {
    const bool isAccepted = m_pDialog->exec() == QDialog::Accepted;
    return isAccepted && m_pDialog != nullptr;
  }
  DIALOG* operator->() const { return m_pDialog.data(); }
  DIALOG* Get() const { return m_pDialog.data(); }

 private:
  QPointer<DIALOG> m_pDialog;
};
