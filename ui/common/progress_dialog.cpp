#include "ui/common/progress_dialog.h"

#include <cstring>

#include "app/engine/progress_text.h"
#include "ui/common/qt_helper.h"

namespace {

// Window buttons and the frame beside the title's text.
constexpr int kTitleSpace = 150;

// The bar takes numbers of 31 bits: larger ranges are shown in units of 2.
int ToBar(u32 Value, u32 Max) {
  return static_cast<int>(Max > 0x7FFFFFFF ? Value >> 1 : Value);
}

}  // namespace

ProgressDialog::ProgressDialog(QWidget* pParent, PROGRESS_INFO* pInfo)
    : QDialog(pParent), m_pInfo(pInfo) {
  hide();
  setResult(QDialog::Accepted);
  setObjectName("ProgressDialog");
  m_pText = QTHelper_CreateLabel(this, {});
  m_pText->setObjectName("Text");
  m_pText->setTextFormat(Qt::PlainText);
  m_pText->setAlignment(Qt::AlignCenter);  // each of several lines
  m_pSubText = QTHelper_CreateLabel(this, {});
  m_pSubText->setObjectName("SubText");
  m_pSubText->setTextFormat(Qt::PlainText);
  m_pSubText->setAlignment(Qt::AlignCenter);
  m_pBar = QTHelper_CreateProgressBar(this);
  m_pBar->setObjectName("Bar");
  m_pBar->setAccessibleName("Progress");
  QPushButton* pCancel = QTHelper_CreateFixedButton(this, "Cancel", [this] { reject(); });
  pCancel->setObjectName("Cancel");
  QGridLayout* pGrid = QTHelper_CreateGrid(this);
  pGrid->addWidget(m_pText, 0, 0, Qt::AlignCenter);
  pGrid->addWidget(m_pSubText, 1, 0, Qt::AlignCenter);
  pGrid->addWidget(m_pBar, 2, 0);
  pGrid->addWidget(pCancel, 3, 0, Qt::AlignCenter);
  setModal(true);
  QTHelper_HideHelpButton(this);
  SYS_MUTEX_Lock(pInfo->Lock, SYS_INFINITE);
  setWindowTitle(QTHelper_FromLocal8Bit(pInfo->sTitle));
  const u32 flags = pInfo->Flags;
  SYS_MUTEX_Unlock(pInfo->Lock);
  m_SinceStart.start();
  m_Largest = QSize(QTHelper_GetTextWidth(this, windowTitle()) + kTitleSpace, 0);
  connect(this, &ProgressDialog::_SignalUpdateGUI, this, &ProgressDialog::_SlotOnUpdateGUI,
          Qt::QueuedConnection);
  connect(this, &QDialog::rejected, this, &ProgressDialog::_SlotOnRejected);
  PROGRESS_SetRefresh(pInfo, OnRefresh, this);
  _SlotOnUpdateGUI();
  if ((flags & PROGRESS_MINIMIZED) != 0) {
    showMinimized();
  } else if ((flags & PROGRESS_HIDDEN) == 0) {
    show();
  }
}

// The job that changes the record is the one that asked for the end, so no refresh is under way.
ProgressDialog::~ProgressDialog() {
  PROGRESS_SetRefresh(m_pInfo, nullptr, nullptr);
  PROGRESS_Free(m_pInfo);
}

// On the thread of the change. A job changes its progress faster than it can be shown.
void ProgressDialog::OnRefresh(PROGRESS_INFO* /*pInfo*/, void* pContext) {
  auto* pDialog = static_cast<ProgressDialog*>(pContext);
  if (!pDialog->m_IsAsked.exchange(true)) {
    Q_EMIT pDialog->_SignalUpdateGUI();
  }
}

// The lock is held for the copy only: the job never waits for layout or painting.
void ProgressDialog::_SlotOnUpdateGUI() {
  // First, so that a change behind the copy asks again.
  m_IsAsked = false;
  SYS_MUTEX_Lock(m_pInfo->Lock, SYS_INFINITE);
  std::memcpy(m_Shown.sText, m_pInfo->sText, sizeof(m_Shown.sText));
  std::memcpy(m_Shown.sSubText, m_pInfo->sSubText, sizeof(m_Shown.sSubText));
  const u32 oldValue = m_Shown.Value;
  const bool isNewRange = m_Shown.Min != m_pInfo->Min || m_Shown.Max != m_pInfo->Max;
  m_Shown.Value = m_pInfo->Value;
  m_Shown.Min = m_pInfo->Min;
  m_Shown.Max = m_pInfo->Max;
  m_Shown.Flags = m_pInfo->Flags;
  SYS_MUTEX_Unlock(m_pInfo->Lock);
  if (isNewRange || m_Shown.Value < oldValue) {
    m_SinceStart.start();
  }
  m_pText->setText(QTHelper_FromLocal8Bit(m_Shown.sText));
  m_pText->setHidden(m_Shown.sText[0] == 0);
  m_pSubText->setText(QTHelper_FromLocal8Bit(m_Shown.sSubText));
  m_pSubText->setHidden(m_Shown.sSubText[0] == 0);
  ShowBar();
  // The dialog only grows, so that changing texts don't make it jitter.
  m_Largest = m_Largest.expandedTo(sizeHint());
  setFixedSize(m_Largest);
}

// The record may hold a value outside the range; the bar would ignore it.
void ProgressDialog::ShowBar() {
  const u32 max = m_Shown.Max;
  const u32 value = std::clamp(m_Shown.Value, std::min(m_Shown.Min, max), max);
  // A range of nothing would show the bar as busy without end.
  const int min = std::min(ToBar(m_Shown.Min, max), 0x7FFFFFFE);
  m_pBar->setRange(min, std::max(ToBar(max, max), min + 1));
  m_pBar->setValue(ToBar(value, max));
  const std::string rate = PROGRESS_FormatRate(value - std::min(m_Shown.Min, value), max - value,
                                               static_cast<u32>(m_SinceStart.elapsed()),
                                               (m_Shown.Flags & PROGRESS_BYTES) != 0);
  m_pBar->setFormat(rate.empty() ? QString("%p%") : "%p%    " + QString::fromStdString(rate));
}

// The job polls; it ends at its next look, and closes the dialog then.
void ProgressDialog::_SlotOnRejected() {
  PROGRESS_Cancel(m_pInfo);
}
