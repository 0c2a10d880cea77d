#include "ui/common/msg_box.h"

#include "ui/common/qt_helper.h"
#include "ui/common/rich_text.h"

namespace {

constexpr int kIconSize = 64;
constexpr int kTitleSpace = 150;
constexpr int kTimerMs = 10;
constexpr int kMaxTextWidth = 640;
constexpr size_t kMaxRichText = 32767;
constexpr size_t kMaxCopyText = 2047;

// The style's picture for the kind of message; -1 for none.
int GetStandardIcon(u32 Icon) {
  switch (Icon) {
    case APP_ICON_CRITICAL:
      return QStyle::SP_MessageBoxCritical;
    case APP_ICON_QUESTION:
      return QStyle::SP_MessageBoxQuestion;
    case APP_ICON_WARNING:
      return QStyle::SP_MessageBoxWarning;
    case APP_ICON_INFORMATION:
      return QStyle::SP_MessageBoxInformation;
    default:
      return -1;
  }
}

}  // namespace

DIALOG_CustMsgBox::DIALOG_CustMsgBox(QWidget* pParent, MSGBOX_INFO* pInfo)
    : QDialog(pParent), m_pInfo(pInfo) {
  setObjectName("DIALOG_CustMsgBox");
  setAttribute(Qt::WA_DeleteOnClose);
  m_sTitle = QTHelper_FromLocal8Bit(pInfo->sTitle != nullptr ? pInfo->sTitle : "");
  setWindowTitle(m_sTitle);
  pInfo->Result = pInfo->DefaultBtn;
  pInfo->Rejected = 0;
  QGridLayout* pGrid = QTHelper_CreateGrid(this);
  AddIcon(pGrid);
  AddText(pGrid);
  if (pInfo->sCheckBox != nullptr) {
    m_pCheckBox = QTHelper_CreateCheckBox(this, pInfo->sCheckBox);
    m_pCheckBox->setObjectName("CheckBox");
    m_pCheckBox->setChecked(pInfo->CheckState != 0);
    pGrid->addWidget(m_pCheckBox, 1, 1);
  }
  AddButtons(pGrid);
  QTHelper_SetStayOnTop(this, true);
  QTHelper_HideHelpButton(this);
  setModal(true);
  if (pInfo->TimeoutMs > 0) {
    m_pTimer = new QTimer(this);
    connect(m_pTimer, &QTimer::timeout, this, &DIALOG_CustMsgBox::_SlotOnTimer);
    m_pTimer->start(kTimerMs);
  }
  auto* pCopy = new QShortcut(QKeySequence::Copy, this);
  connect(pCopy, &QShortcut::activated, this, &DIALOG_CustMsgBox::_SlotOnCopy);
  FitTitle();
  show();
}

void DIALOG_CustMsgBox::AddIcon(QGridLayout* pGrid) {
  const int icon = GetStandardIcon(m_pInfo->Icon);
  QPixmap pixmap;
  if (icon >= 0 &&
      QTHelper_FitIcon(style()->standardIcon(static_cast<QStyle::StandardPixmap>(icon)),
                       QSize(kIconSize, kIconSize), &pixmap) == 0) {
    auto* pLabel = QTHelper_CreateLabel(this, {});
    pLabel->setPixmap(pixmap);
    pGrid->addWidget(pLabel, 0, 0, Qt::AlignTop);
  }
}

void DIALOG_CustMsgBox::AddText(QGridLayout* pGrid) {
  const std::string text =
      UI_MakeRichText(m_pInfo->sText != nullptr ? m_pInfo->sText : "", kMaxRichText);
  m_pText = QTHelper_CreateLabel(this, {});
  m_pText->setObjectName("Text");
  QTHelper_SetRichText(m_pText);
  m_pText->setText(QTHelper_FromLocal8Bit(text.c_str()));
  m_pText->setTextInteractionFlags(
      Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard |
      (m_pInfo->TextSelectable != 0 ? Qt::TextSelectableByMouse : Qt::NoTextInteraction));
  // A long line breaks instead of leaving the screen.
  if (m_pText->sizeHint().width() > kMaxTextWidth) {
    m_pText->setWordWrap(true);
    m_pText->setFixedWidth(kMaxTextWidth);
  }
  pGrid->addWidget(m_pText, 0, 1);
}

void DIALOG_CustMsgBox::AddButtons(QGridLayout* pGrid) {
  auto* pRow = new QHBoxLayout;
  pRow->addStretch(1);
  const auto add = [&](const char* sText, void (DIALOG_CustMsgBox::*slot)(), u32 index) {
    if (sText != nullptr) {
      QPushButton* pButton =
          QTHelper_CreateFixedButton(this, sText, [this, slot] { (this->*slot)(); });
      pButton->setObjectName(index == 0 ? "Button0" : "Button1");
      if (index == m_pInfo->DefaultBtn) {
        pButton->setDefault(true);
        pButton->setFocus();
      }
      pRow->addWidget(pButton);
      m_Buttons.append(pButton);
    }
  };
  add(m_pInfo->sBtn0, &DIALOG_CustMsgBox::_SlotOnBtn0, 0);
  add(m_pInfo->sBtn1, &DIALOG_CustMsgBox::_SlotOnBtn1, 1);
  pGrid->addLayout(pRow, 2, 1, 1, -1);
}

// As wide as the title needs; never smaller than before, so that it doesn't jump.
void DIALOG_CustMsgBox::FitTitle() {
  const int width = QTHelper_GetTextWidth(this, windowTitle()) + kTitleSpace;
  const QSize wanted = sizeHint().expandedTo(QSize(width, 0)).expandedTo(minimumSize());
  setFixedSize(wanted);
}

void DIALOG_CustMsgBox::CloseWith(u32 Result) {
  m_pInfo->Result = Result;
  m_IsAnswered = true;
  close();
}

void DIALOG_CustMsgBox::_SlotOnBtn0() {
  CloseWith(0);
}

void DIALOG_CustMsgBox::_SlotOnBtn1() {
  CloseWith(1);
}

void DIALOG_CustMsgBox::reject() {
  close();
}

// The record is the caller's no more once this has returned.
void DIALOG_CustMsgBox::closeEvent(QCloseEvent* pEvent) {
  if (m_pInfo != nullptr) {
    if (!m_IsAnswered) {
      m_pInfo->Rejected = 1;
    }
    if (m_pCheckBox != nullptr) {
      m_pInfo->CheckResult = m_pCheckBox->isChecked() ? 1 : 0;
    }
    m_pInfo = nullptr;
  }
  if (m_pTimer != nullptr) {
    m_pTimer->stop();
  }
  pEvent->accept();
  setResult(QDialog::Accepted);
}

void DIALOG_CustMsgBox::_SlotOnTimer() {
  const bool isOver = m_pInfo->TimeoutMs <= kTimerMs;
  setWindowTitle(QString::fromStdString(UI_MakeClosingTitle(
      m_sTitle.toStdString(), isOver ? m_pInfo->TimeoutMs : m_pInfo->TimeoutMs - kTimerMs)));
  FitTitle();
  if (isOver) {
    m_pInfo->TimeoutMs = 0;
    CloseWith(m_pInfo->DefaultBtn);
  } else {
    m_pInfo->TimeoutMs -= kTimerMs;
  }
}

void DIALOG_CustMsgBox::_SlotOnCopy() {
  std::vector<std::string> buttons;
  for (const QPushButton* pButton : std::as_const(m_Buttons)) {
    buttons.push_back(pButton->text().toStdString());
  }
  const QString plain = QTextDocumentFragment::fromHtml(m_pText->text()).toPlainText();
  std::string text = UI_MakeCopyText(m_sTitle.toStdString(), plain.toStdString(), buttons);
  text.resize(std::min(text.size(), kMaxCopyText));
  QApplication::clipboard()->setText(QString::fromStdString(text));
}
