#include "ui/hex/memory_dialog.h"

#include "ui/common/icons.h"
#include "ui/common/qt_helper.h"

namespace {

constexpr u32 kMaxPath = 512;
constexpr int kWidthDigits = 55;
constexpr int kMinEditHeight = 17;
constexpr int kLabelSpace = 10;

constexpr char kSaveFilters[] =
    "Motorola S file (*.mot);;Motorola S file (*.srec);;Motorola S file (*.s19);;Motorola S file "
    "(*.s28);;Motorola S file (*.s37);;Motorola S file (*.s);;Intel Hex file (*.hex);;Intel MCS-86 "
    "Hex file (*.mcs);;Binary file (*.bin);;Binary file (*.raw);;ANSI \"C\" file (*.c);;TI-TXT "
    "file (*.txt)";
constexpr char kLoadFilters[] =
    "Data files (*.mot *.srec *.s19 *.s28 *.s37 *.s *.hex *.mcs *.txt *.bin *.raw *.elf *.axf "
    "*.out);;Motorola S files (*.mot *.srec *.s19 *.s28 *.37 *.s);;Intel Hex files (*.hex "
    "*.mcs);;TI-TXT file (*.txt);;Binary files (*.bin *raw);;ELF files (*.elf *.axf);;OUT files "
    "(*.out)";

struct MODE_TEXTS {
  const char* sTitle;
  const char* sOk;
  const char* sLabel;
  UI_ICON Icon;
};
constexpr MODE_TEXTS kModes[] = {
    {"Load Memory Data", "Load", "File:", UI_ICON::LoadMemory},
    {"Save Memory Data", "Save", "File:", UI_ICON::SaveMemory},
    {"Fill Memory", "Fill", "Fill Value:", UI_ICON::Fill},
};

// What doesn't parse would count as address 0: it can't be typed.
QValidator* MakeHexValidator(QLineEdit* pEdit) {
  return new QRegularExpressionValidator(QRegularExpression("(0[xX])?[0-9A-Fa-f]{0,16}"), pEdit);
}

}  // namespace

CMemDialog::CMemDialog(QWidget* pParent, int Mode, const QString& sFile)
    : QDialog(pParent), m_Mode(Mode) {
  setObjectName("HexEditorMemDialog");
  setModal(true);
  QTHelper_HideHelpButton(this);
  m_pVLayout = new QVBoxLayout(this);
  m_pVLayout->setObjectName("pVLayout");
  m_pEditBoxGenVal = AddRow("pFrameGenericValue", "pLabelFile", "File:  ", "pEditBoxGenVal");
  m_pLabelFile = m_Labels.last();
  m_pButtonSelectFile =
      QTHelper_CreateSmallButton(this, "...", [this] { OnButtonSelectFileClicked(); });
  m_pButtonSelectFile->setObjectName("pButtonSelectFile");
  m_pButtonSelectFile->setIcon(UI_GetIcon(UI_ICON::Open));
  m_pButtonSelectFile->setMinimumWidth(m_pButtonSelectFile->sizeHint().width());
  m_pButtonSelectFile->setAccessibleName("Select file");
  m_pButtonSelectFile->setAutoDefault(false);
  m_pEditBoxGenVal->parentWidget()->layout()->addWidget(m_pButtonSelectFile);
  m_pEditBoxAddr = AddRow("pFrameAddr", "pLabelAddr", "Start Address: ", "pEditBoxAddr");
  m_pEditBoxEndAddr = AddRow("pFrameEndAddr", "pLabelEndAddr", "End Address: ", "pEditBoxEndAddr");
  m_pEditBoxSize = AddRow("pFrameSize", "pLabelSize", "Size:  ", "pEditBoxSize");
  m_pButtonBox = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  m_pButtonBox->setObjectName("pButtonBox");
  m_pButtonBox->button(QDialogButtonBox::Ok)->setDefault(true);
  m_pVLayout->addWidget(m_pButtonBox);
  connect(m_pButtonBox, &QDialogButtonBox::accepted, this, &CMemDialog::OnButtonLoadSaveClicked);
  connect(m_pButtonBox, &QDialogButtonBox::rejected, this, &CMemDialog::OnButtonCancelClicked);
  connect(m_pEditBoxGenVal, &QLineEdit::textChanged, this,
          &CMemDialog::OnEditboxGenericValTextChanged);
  connect(m_pEditBoxAddr, &QLineEdit::textEdited, this, &CMemDialog::OnEditboxStartAddrTextChanged);
  connect(m_pEditBoxEndAddr, &QLineEdit::textEdited, this,
          &CMemDialog::OnEditboxEndAddrTextChanged);
  connect(m_pEditBoxSize, &QLineEdit::textEdited, this, &CMemDialog::OnEditboxNumBytesTextChanged);
  for (QLineEdit* pEdit : {m_pEditBoxAddr, m_pEditBoxEndAddr, m_pEditBoxSize}) {
    pEdit->setValidator(MakeHexValidator(pEdit));
  }
  SetMode();
  SetGenericValue(Mode == MEM_DIALOG_FILL ? QString("0") : sFile);
}

QLineEdit* CMemDialog::AddRow(const char* sFrame, const char* sLabelName, const char* sLabel,
                              const char* sEdit) {
  auto* pFrame = new QFrame(this);
  pFrame->setObjectName(sFrame);
  pFrame->setFrameShape(QFrame::NoFrame);
  pFrame->setToolTip(sLabel);
  auto* pRow = new QHBoxLayout(pFrame);
  pRow->setContentsMargins(0, 0, 0, 0);
  QLabel* pLabel = QTHelper_CreateLabel(pFrame, sLabel);
  pLabel->setObjectName(sLabelName);
  QLineEdit* pEdit = QTHelper_CreateLineEdit(pFrame, {});
  pEdit->setObjectName(sEdit);
  pEdit->setMinimumHeight(kMinEditHeight);
  pEdit->setAccessibleName(QString(sLabel).trimmed());
  pLabel->setBuddy(pEdit);
  pRow->addWidget(pLabel);
  pRow->addWidget(pEdit, 1);
  m_pVLayout->addWidget(pFrame);
  m_Labels.append(pLabel);
  return pEdit;
}

void CMemDialog::SetMode() {
  const MODE_TEXTS& texts = kModes[m_Mode];
  setWindowTitle(texts.sTitle);
  setWindowIcon(UI_GetIcon(texts.Icon));
  m_pLabelFile->setText(texts.sLabel);
  m_pButtonBox->button(QDialogButtonBox::Ok)->setText(texts.sOk);
  m_pButtonSelectFile->setVisible(m_Mode != MEM_DIALOG_FILL);
  const bool isRangeFree = m_Mode != MEM_DIALOG_LOAD;
  m_pEditBoxEndAddr->setEnabled(isRangeFree);
  m_pEditBoxSize->setEnabled(isRangeFree);
  int labelWidth = 0;
  for (const QLabel* pLabel : std::as_const(m_Labels)) {
    labelWidth = std::max(labelWidth, QTHelper_GetTextWidth(pLabel, pLabel->text()));
  }
  for (QLabel* pLabel : std::as_const(m_Labels)) {
    pLabel->setFixedWidth(labelWidth + kLabelSpace);
  }
  resize(kWidthDigits * QTHelper_GetTextWidth(this, "0"), sizeHint().height());
  if (m_Mode == MEM_DIALOG_FILL) {
    m_pEditBoxGenVal->setValidator(MakeHexValidator(m_pEditBoxGenVal));
  }
}

void CMemDialog::SetRange(u64 Addr, u64 NumBytes) {
  m_Fields.SetRange(Addr, NumBytes);
  ShowFields();
  UpdateDialog();
}

// The size of a file to load is the size of the range.
void CMemDialog::SetGenericValue(const QString& sValue) {
  m_pEditBoxGenVal->setText(sValue);
  OnEditboxGenericValTextChanged(sValue);
}

void CMemDialog::UpdateDialog() {
  m_pEditBoxGenVal->setToolTip(m_pEditBoxGenVal->text());
  const QFileInfo file(m_pEditBoxGenVal->text());
  m_pButtonBox->button(QDialogButtonBox::Ok)
      ->setEnabled(m_Mode != MEM_DIALOG_LOAD || (file.exists() && file.isFile()));
}

// The field that is being typed into holds its text already.
void CMemDialog::ShowFields() {
  const auto show = [](QLineEdit* pEdit, const std::string& text) {
    const QString shown = QString::fromStdString(text);
    if (pEdit->text() != shown) {
      pEdit->setText(shown);
    }
  };
  show(m_pEditBoxAddr, m_Fields.Start);
  show(m_pEditBoxEndAddr, m_Fields.End);
  show(m_pEditBoxSize, m_Fields.Size);
}

void CMemDialog::OnEditboxGenericValTextChanged(const QString& sText) {
  const QFileInfo file(sText);
  if (m_Mode == MEM_DIALOG_LOAD && file.isFile()) {
    m_Fields.SetRange(m_Fields.GetStart(), static_cast<u64>(file.size()));
    ShowFields();
  }
  UpdateDialog();
}

void CMemDialog::OnEditboxStartAddrTextChanged(const QString& sText) {
  m_Fields.SetStart(sText.toStdString());
  ShowFields();
}

void CMemDialog::OnEditboxEndAddrTextChanged(const QString& sText) {
  m_Fields.SetEnd(sText.toStdString());
  ShowFields();
}

void CMemDialog::OnEditboxNumBytesTextChanged(const QString& sText) {
  m_Fields.SetSize(sText.toStdString());
  ShowFields();
}

void CMemDialog::OnButtonLoadSaveClicked() {
  if (m_Mode != MEM_DIALOG_FILL && m_pEditBoxGenVal->text().isEmpty()) {
    return;
  }
  accept();
}

void CMemDialog::OnButtonCancelClicked() {
  reject();
}

void CMemDialog::OnButtonSelectFileClicked() {
  const QPointer<CMemDialog> guard(this);  // the editor may be closed meanwhile
  char acFile[kMaxPath];
  const QByteArray present = m_pEditBoxGenVal->text().toLocal8Bit();
  const bool isSave = m_Mode == MEM_DIALOG_SAVE;
  const int result =
      isSave ? QTHelper_GetSaveFileName(this, acFile, sizeof(acFile), "Save Memory Data to...",
                                        present.constData(), kSaveFilters, nullptr)
             : QTHelper_GetOpenFileName(this, acFile, sizeof(acFile), "Load Memory Data from...",
                                        present.constData(), kLoadFilters, nullptr);
  if (guard == nullptr) {
    return;
  }
  m_pEditBoxGenVal->setFocus();
  if (result == 0) {
    SetGenericValue(QTHelper_FromLocal8Bit(acFile));
  }
}

void CMemDialog::showEvent(QShowEvent* pEvent) {
  QDialog::showEvent(pEvent);
  if (parentWidget() != nullptr) {
    const QPoint centre = parentWidget()->mapToGlobal(parentWidget()->rect().center());
    move(centre - rect().center());
  }
  m_pEditBoxGenVal->selectAll();
}
