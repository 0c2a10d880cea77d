#pragma once

#include <QtWidgets>
#include <vector>

#include "app/engine/frontend.h"

// Asks for hexadecimal values, one row each. The rows must live as long as the dialog; their
// values are written when it is accepted.
class EditValueDialog : public QDialog {
  Q_OBJECT

 public:
  EditValueDialog(QWidget* pParent, const char* sTitle, EDIT_VALUE_ITEM* pItems, u32 NumItems);
  ~EditValueDialog() override;

 private Q_SLOTS:
  void _SlotOnBtnOK();
  void _SlotOnHexEdit();

 private:
  EDIT_VALUE_ITEM* m_pItems;
  std::vector<QLineEdit*> m_Edits;
};
