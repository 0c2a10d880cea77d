#pragma once

#include <QtWidgets>

#include "ui/hex/memory_fields.h"

constexpr int MEM_DIALOG_LOAD = 0;
constexpr int MEM_DIALOG_SAVE = 1;
constexpr int MEM_DIALOG_FILL = 2;

// Asks for a file or a fill value and for a range of memory. Run with exec; GUI thread only.
class CMemDialog : public QDialog {
  Q_OBJECT

 public:
  // File: the one remembered from last time, may be empty; without meaning for MEM_DIALOG_FILL.
  CMemDialog(QWidget* pParent, int Mode, const QString& sFile);

  void SetRange(u64 Addr, u64 NumBytes);
  // The file name, or the text of the fill value.
  QString GetGenericValue() const { return m_pEditBoxGenVal->text(); }
  u64 GetAddr() const { return m_Fields.GetStart(); }
  u64 GetNumBytes() const { return m_Fields.GetSize(); }

 protected:
  void showEvent(QShowEvent* pEvent) override;

 private Q_SLOTS:
  void OnButtonLoadSaveClicked();
  void OnButtonCancelClicked();
  void OnButtonSelectFileClicked();
  void OnEditboxGenericValTextChanged(const QString& sText);
  void OnEditboxStartAddrTextChanged(const QString& sText);
  void OnEditboxEndAddrTextChanged(const QString& sText);
  void OnEditboxNumBytesTextChanged(const QString& sText);

 private:
  QLineEdit* AddRow(const char* sFrame, const char* sLabelName, const char* sLabel,
                    const char* sEdit);
  void SetGenericValue(const QString& sValue);
  void SetMode();
  void UpdateDialog();
  void ShowFields();

  int m_Mode;
  MEMORY_FIELDS m_Fields;
  QVBoxLayout* m_pVLayout;
  QList<QLabel*> m_Labels;
  QLabel* m_pLabelFile = nullptr;
  QLineEdit* m_pEditBoxGenVal;
  QLineEdit* m_pEditBoxAddr;
  QLineEdit* m_pEditBoxEndAddr;
  QLineEdit* m_pEditBoxSize;
  QPushButton* m_pButtonSelectFile;
  QDialogButtonBox* m_pButtonBox;
};
