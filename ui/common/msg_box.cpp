#include "ui/common/msg_box.h"

#include "ui/common/qt_helper.h"
#include "ui/common/rich_text.h"

namespace {

constexpr int kIconSize = 64;  // at most, both ways
// Window buttons and the frame beside the title's text.
constexpr int kTitleSpace = 150;
constexpr int kTimerMs = 10;
constexpr int kMaxTextWidth = 640;  // longer lines are hard to read
// Bytes of the text on screen and in the clipboard: what goes beyond is cut.
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

// A style without such a picture leaves the place empty.
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

// Selecting with the keyboard is always possible by way of Ctrl+C, which takes the whole box.
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
  pGrid->addWidget(FitText(), 0, 1);
}

// A long line breaks at its blanks. What is still too large for the screen scrolls, since a box
// whose buttons lie outside couldn't be answered.
QWidget* DIALOG_CustMsgBox::FitText() {
  QTextDocument document;
  document.setDocumentMargin(0);
  document.setDefaultFont(m_pText->font());
  document.setDefaultTextOption(QTextOption(m_pText->alignment()));  // breaks at words, like labels
  document.setHtml(m_pText->text());
  // Icon, buttons, margins and the window's frame have the rest of the screen.
  const QSize room = screen()->availableSize() * 2 / 3;
  const int width = std::min(kMaxTextWidth, room.width());
  if (document.idealWidth() > width) {
    document.setTextWidth(width);
    m_pText->setWordWrap(true);
    m_pText->setFixedWidth(std::max(width, qCeil(document.idealWidth())));
    document.setTextWidth(m_pText->width());
  }
  const QSize size = document.size().toSize();
  if (size.width() <= room.width() && size.height() <= room.height()) {
    return m_pText;
  }
  auto* pScroll = new QScrollArea(this);
  pScroll->setObjectName("TextArea");
  pScroll->setFrameShape(QFrame::NoFrame);
  pScroll->setWidgetResizable(true);
  pScroll->setWidget(m_pText);
  const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent) + 2;
  pScroll->setFixedSize((size + QSize(bar, bar)).boundedTo(room));
  return pScroll;
}

// Return presses the default button, which is also the answer of a box that times out.
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
  if (m_pInfo == nullptr) {
    return;  // closed already, about to be deleted
  }
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

// A dialog that opens later blocks this box; the box must not hide it meanwhile, or neither could
// be answered.
bool DIALOG_CustMsgBox::event(QEvent* pEvent) {
  const QEvent::Type type = pEvent->type();
  if ((type == QEvent::WindowBlocked || type == QEvent::WindowUnblocked) &&
      windowHandle() != nullptr) {
    windowHandle()->setFlag(Qt::WindowStaysOnTopHint, type == QEvent::WindowUnblocked);
  }
  return QDialog::event(pEvent);
}

// Esc. The answer is the caller's business: Rejected is set, Result stays the default.
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

// Counts by ticks, not by the clock: a box that could not be painted meanwhile doesn't vanish
// unseen.
void DIALOG_CustMsgBox::_SlotOnTimer() {
  const bool isOver = m_pInfo->TimeoutMs <= kTimerMs;
  setWindowTitle(
      QString::fromStdString(UI_MakeClosingTitle(m_sTitle.toStdString(), m_pInfo->TimeoutMs)));
  FitTitle();
  if (isOver) {
    m_pInfo->TimeoutMs = 0;
    CloseWith(m_pInfo->DefaultBtn);
  } else {
    m_pInfo->TimeoutMs -= kTimerMs;
  }
}

// The text is taken back from the rich text, so that links stand as they are read.
void DIALOG_CustMsgBox::_SlotOnCopy() {
  std::vector<std::string> buttons;
  for (const QPushButton* pButton : std::as_const(m_Buttons)) {
    buttons.push_back(pButton->text().toStdString());
  }
  const QString plain = QTextDocumentFragment::fromHtml(m_pText->text()).toPlainText();
  const std::string text = UI_MakeCopyText(m_sTitle.toStdString(), plain.toStdString(), buttons);
  QApplication::clipboard()->setText(QString::fromStdString(UI_CutText(text, kMaxCopyText)));
}
