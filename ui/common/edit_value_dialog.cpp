#include "ui/common/edit_value_dialog.h"

#include "sys/util_number.h"
#include "ui/common/qt_helper.h"

namespace {

constexpr int kPrefixMargin = 20;  // between a label and its "0x"
constexpr int kMaxDigits = 15;     // of a field that are looked at

// A leading minus sign gives the two's complement.
u64 ParseValue(const QString& sText) {
  const QByteArray text = sText.toLatin1().left(kMaxDigits);
  const char* pText = text.constData();
  const bool isNegative = *pText == '-';
  if (isNegative) {
    ++pText;
  }
  u64 value = 0;
  if (UTIL_ParseHex64(&pText, &value) < 0) {
    value = 0;
  }
  return isNegative ? 0 - value : value;
}

}  // namespace

EditValueDialog::EditValueDialog(QWidget* pParent, const char* sTitle, EDIT_VALUE_ITEM* pItems,
                                 u32 NumItems)
    : QDialog(pParent), m_pItems(pItems) {
  setObjectName("EditValueDialog");
  setWindowTitle(QTHelper_FromLocal8Bit(sTitle));
  QGridLayout* pGrid = QTHelper_CreateGrid(this);
  pGrid->setHorizontalSpacing(0);
  for (u32 i = 0; i < NumItems; ++i) {
    const EDIT_VALUE_ITEM& item = pItems[i];
    const int row = static_cast<int>(i);
    QLabel* pLabel = QTHelper_CreateFixedLabel(this, QTHelper_FromLocal8Bit(item.sLabel));
    QLabel* pPrefix = QTHelper_CreateLabel(this, "0x");
    pPrefix->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    pPrefix->setContentsMargins(kPrefixMargin, 0, 0, 0);
    QLineEdit* pEdit = QTHelper_CreateHexEdit(this, item.Min < 0, [this] { _SlotOnHexEdit(); });
    pEdit->setObjectName(QString("Value%1").arg(i));
    pEdit->setAccessibleName(pLabel->text());
    pEdit->setText(QString::number(static_cast<u32>(*item.pValue), 16).toUpper());
    pLabel->setBuddy(pEdit);
    pGrid->addWidget(pLabel, row, 0);
    pGrid->addWidget(pPrefix, row, 1);
    pGrid->addWidget(pEdit, row, 2);
    m_Edits.push_back(pEdit);
  }
  auto* pButtons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(pButtons, &QDialogButtonBox::accepted, this, &EditValueDialog::_SlotOnBtnOK);
  connect(pButtons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  pGrid->addWidget(pButtons, static_cast<int>(NumItems), 0, 1, 3);
  setModal(true);
  QTHelper_HideHelpButton(this);
  setFixedSize(sizeHint());
  if (!m_Edits.empty()) {
    m_Edits[0]->setFocus();
    m_Edits[0]->selectAll();
  }
}

// A field that loses the focus tells so; the list of the fields must still be there.
EditValueDialog::~EditValueDialog() {
  hide();
}

// When editing of a field has finished. The validator lets nothing and a lone sign pass, since they
// come up while typing.
void EditValueDialog::_SlotOnHexEdit() {
  for (QLineEdit* pEdit : m_Edits) {
    if (pEdit->text().isEmpty() || pEdit->text() == "-") {
      pEdit->setText("0");
    }
  }
}

// The values belong to a job that waits for the end of the dialog; a rejected one leaves them.
void EditValueDialog::_SlotOnBtnOK() {
  for (size_t i = 0; i < m_Edits.size(); ++i) {
    *m_pItems[i].pValue = ParseValue(m_Edits[i]->text());
  }
  accept();
}
