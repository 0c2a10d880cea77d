#include "ui/common/qt_helper.h"

#include "sys/util_format.h"
#include "ui/common/cust_widgets.h"
#include "ui/common/dock_title_bar.h"

namespace {

// In device independent pixels.
constexpr int kMinEditWidth = 150;
constexpr int kMinBarWidth = 350;
constexpr int kMinIconSize = 8;  // nothing can be told on a smaller picture
constexpr int kSmallButtonSpace = 12;

void FixSize(QWidget* pWidget) {
  pWidget->setFixedSize(pWidget->sizeHint());
}

// Empty is allowed: it comes up while typing.
QRegularExpressionValidator* MakeHexValidator(QWidget* pParent, bool AllowNegative) {
  const char* sPattern = AllowNegative ? "[-]{0,1}[A-Fa-f0-9]{0,8}" : "[A-Fa-f0-9]{0,8}";
  return new QRegularExpressionValidator(QRegularExpression(sPattern), pParent);
}

}  // namespace

QPushButton* QTHelper_CreateButton(QWidget* pParent, const char* sText, QT_SLOT slot) {
  auto* pButton = new QPushButton(sText, pParent);
  pButton->setAutoDefault(true);
  if (slot) {
    QObject::connect(pButton, &QPushButton::released, pParent, std::move(slot));
  }
  return pButton;
}

QPushButton* QTHelper_CreateFixedButton(QWidget* pParent, const char* sText, QT_SLOT slot) {
  QPushButton* pButton = QTHelper_CreateButton(pParent, sText, std::move(slot));
  FixSize(pButton);
  return pButton;
}

// Beside a field: not wider than its text needs, at any style's idea of a button.
QPushButton* QTHelper_CreateSmallButton(QWidget* pParent, const char* sText, QT_SLOT slot) {
  QPushButton* pButton = QTHelper_CreateButton(pParent, sText, std::move(slot));
  pButton->setFixedWidth(QTHelper_GetTextWidth(pButton, sText) + kSmallButtonSpace);
  pButton->setStyleSheet("padding: 4px;");
  return pButton;
}

QCheckBox* QTHelper_CreateCheckBox(QWidget* pParent, const char* sText, QT_BOOL_SLOT slot) {
  auto* pBox = new QCheckBox(sText, pParent);
  if (slot) {
    QObject::connect(pBox, &QCheckBox::toggled, pParent, std::move(slot));
  }
  return pBox;
}

QRadioButton* QTHelper_CreateRadioButton(QWidget* pParent, const char* sText, bool IsChecked,
                                         QT_BOOL_SLOT slot) {
  auto* pButton = new QRadioButton(sText, pParent);
  pButton->setChecked(IsChecked);
  if (slot) {
    QObject::connect(pButton, &QRadioButton::toggled, pParent, std::move(slot));
  }
  return pButton;
}

QComboBox* QTHelper_CreateComboBox(QWidget* pParent, const QT_ITEM* pItems) {
  auto* pBox = new QComboBox(pParent);
  for (; pItems != nullptr && pItems->sText != nullptr; ++pItems) {
    pBox->addItem(pItems->sText, pItems->Value);
  }
  return pBox;
}

int APP_FindItemIndex(const QT_ITEM* pItems, u32 Value, int Default) {
  for (int i = 0; pItems != nullptr && pItems[i].sText != nullptr; ++i) {
    if (pItems[i].Value == Value) {
      return i;
    }
  }
  return Default;
}

QGridLayout* QTHelper_CreateGrid(QWidget* pParent) {
  return new QGridLayout(pParent);
}

QGridLayout* QTHelper_CreateGridEx(QWidget* pParent, int Left, int Top, int Right, int Bottom) {
  auto* pGrid = new QGridLayout(pParent);
  pGrid->setContentsMargins(Left, Top, Right, Bottom);
  return pGrid;
}

QGroupBox* QTHelper_CreateGroupBox(QWidget* pParent, const char* sTitle, QLayout* pLayout) {
  auto* pBox = new QGroupBox(sTitle, pParent);
  pBox->setLayout(pLayout);
  return pBox;
}

QGroupBox* QTHelper_CreateCheckGroupBox(QWidget* pParent, const char* sTitle, QLayout* pLayout,
                                        QT_BOOL_SLOT slot) {
  QGroupBox* pBox = QTHelper_CreateGroupBox(pParent, sTitle, pLayout);
  pBox->setCheckable(true);
  if (slot) {
    QObject::connect(pBox, &QGroupBox::toggled, pParent, std::move(slot));
  }
  return pBox;
}

QWidget* QTHelper_CreateContainer(QWidget* pParent, QLayout* pLayout) {
  auto* pWidget = new QWidget(pParent);
  pWidget->setLayout(pLayout);
  return pWidget;
}

QFrame* QTHelper_CreateFrame(QWidget* pParent, QFrame::Shape Shape) {
  auto* pFrame = new QFrame(pParent);
  pFrame->setFrameShape(Shape);
  pFrame->setFrameShadow(QFrame::Sunken);
  return pFrame;
}

QLabel* QTHelper_CreateLabel(QWidget* pParent, const QString& sText) {
  return new QLabel(sText, pParent);
}

QLabel* QTHelper_CreateFixedLabel(QWidget* pParent, const QString& sText) {
  QLabel* pLabel = QTHelper_CreateLabel(pParent, sText);
  FixSize(pLabel);
  return pLabel;
}

// Bytes that are no picture leave the label empty.
QLabel* QTHelper_CreateImageLabel(QWidget* pParent, const void* pData, u32 NumBytes, u32 Percent,
                                  const char* sStyleSheet) {
  auto* pLabel = new QLabel(pParent);
  QPixmap pixmap;
  pixmap.loadFromData(static_cast<const uchar*>(pData), NumBytes);
  if (!pixmap.isNull() && Percent != 0 && Percent != 100) {
    const int width = static_cast<int>(pixmap.width() * static_cast<i64>(Percent) / 100);
    pixmap = pixmap.scaledToWidth(width, Qt::SmoothTransformation);
  }
  pLabel->setPixmap(pixmap);
  pLabel->setFrameStyle(static_cast<int>(QFrame::Panel) | static_cast<int>(QFrame::Sunken));
  pLabel->setLineWidth(2);
  pLabel->setStyleSheet(sStyleSheet != nullptr ? sStyleSheet
                                               : "QLabel { background-color : white }");
  return pLabel;
}

QLineEdit* QTHelper_CreateLineEdit(QWidget* pParent, const QString& sText, bool IsReadOnly) {
  auto* pEdit = new CustLineEdit(sText, pParent);
  pEdit->setMinimumWidth(kMinEditWidth);
  if (IsReadOnly) {
    pEdit->setReadOnly(true);
    QTHelper_SetReadOnlyLook(pEdit);
  }
  return pEdit;
}

QLineEdit* QTHelper_CreateHexEdit(QWidget* pParent, bool AllowNegative, QT_SLOT slot) {
  auto* pEdit = new CustLineEdit(pParent);
  pEdit->setValidator(MakeHexValidator(pEdit, AllowNegative));
  if (slot) {
    QObject::connect(pEdit, &QLineEdit::editingFinished, pParent, std::move(slot));
  }
  return pEdit;
}

QPlainTextEdit* QTHelper_CreateTextEdit(QWidget* pParent, bool IsReadOnly) {
  auto* pEdit = new QPlainTextEdit(pParent);
  if (IsReadOnly) {
    pEdit->setReadOnly(true);
    QTHelper_SetReadOnlyLook(pEdit);
  }
  return pEdit;
}

// The text keeps the style's colours, which differ on the filled and the empty part and with a dark
// desktop.
QProgressBar* QTHelper_CreateProgressBar(QWidget* pParent) {
  auto* pBar = new CustProgBar(pParent);
  pBar->setMinimumWidth(kMinBarWidth);
  pBar->setAlignment(Qt::AlignCenter);
  pBar->setTextVisible(true);
  return pBar;
}

// The arrow keys and the wheel still step.
QSpinBox* QTHelper_CreateSpinBox(QWidget* pParent, int Min, int Max,
                                 std::function<void(int)> slot) {
  auto* pBox = new QSpinBox(pParent);
  pBox->setRange(Min, Max);
  pBox->setButtonSymbols(QAbstractSpinBox::NoButtons);
  if (slot) {
    QObject::connect(pBox, &QSpinBox::valueChanged, pParent, std::move(slot));
  }
  return pBox;
}

// A list to choose a row from.
QTableWidget* QTHelper_CreateTable(QWidget* pParent, const QT_COLUMN* pColumns, u32 NumColumns) {
  auto* pTable = new QTableWidget(0, static_cast<int>(NumColumns), pParent);
  for (u32 i = 0; i < NumColumns; ++i) {
    auto* pItem = new QTableWidgetItem(pColumns[i].sTitle);
    pItem->setTextAlignment(pColumns[i].Alignment);
    pTable->setHorizontalHeaderItem(static_cast<int>(i), pItem);
  }
  pTable->setEditTriggers(QAbstractItemView::NoEditTriggers);
  pTable->setSelectionBehavior(QAbstractItemView::SelectRows);
  pTable->setSelectionMode(QAbstractItemView::SingleSelection);
  pTable->setShowGrid(false);
  pTable->verticalHeader()->hide();
  pTable->horizontalHeader()->setMinimumSectionSize(1);
  pTable->horizontalHeader()->setHighlightSections(false);
  pTable->setFont(QApplication::font());
  return pTable;
}

QMenu* QTHelper_CreateMenu(QMenuBar* pBar, const char* sText) {
  return pBar->addMenu(sText);
}

QMenu* QTHelper_CreateSubMenu(QMenu* pMenu, const char* sText) {
  return pMenu->addMenu(sText);
}

QAction* QTHelper_CreateAction(QMenu* pMenu, const char* sText, const char* sShortcut,
                               QT_SLOT slot) {
  QAction* pAction = pMenu->addAction(sText);
  if (sShortcut != nullptr) {
    pAction->setShortcut(QKeySequence(sShortcut));
  }
  if (slot) {
    QObject::connect(pAction, &QAction::triggered, pMenu, std::move(slot));
  }
  return pAction;
}

QAction* QTHelper_CreateActionTip(QMenu* pMenu, const char* sText, const char* sShortcut,
                                  const char* sTip, QT_SLOT slot) {
  QAction* pAction = QTHelper_CreateAction(pMenu, sText, sShortcut, std::move(slot));
  pAction->setToolTip(sTip);
  return pAction;
}

QDockWidget* QTHelper_AddDock(QMainWindow* pWindow, const QString& sTitle, QWidget* pWidget,
                              Qt::DockWidgetArea Area) {
  auto* pDock = new QDockWidget(sTitle, pWindow);
  pDock->setAllowedAreas(Qt::AllDockWidgetAreas);
  pDock->setWidget(pWidget);
  auto* pTitleBar = new CustDockWidgetTitleBar(pDock);
  pTitleBar->SetTitle(sTitle);
  pDock->setTitleBarWidget(pTitleBar);
  pWindow->addDockWidget(Area, pDock);
  return pDock;
}

// Hides a window that is shown: to be called ahead of show.
void QTHelper_SetStayOnTop(QWidget* pWidget, bool OnOff) {
  pWidget->setWindowFlag(Qt::WindowStaysOnTopHint, OnOff);
}

void QTHelper_HideHelpButton(QWidget* pWidget) {
  pWidget->setWindowFlag(Qt::WindowContextHelpButtonHint, false);
}

// What can be read but not changed stands on the window's colour, and can still be copied.
void QTHelper_SetReadOnlyLook(QWidget* pWidget) {
  QPalette colors = pWidget->palette();
  colors.setColor(QPalette::Base, Qt::transparent);
  pWidget->setPalette(colors);
}

// The family is rare outside of one platform: the desktop's own fixed font stands in.
void QTHelper_SetFixedFont(QWidget* pWidget) {
  QFont font = pWidget->font();
  font.setFamilies({"Consolas", QFontDatabase::systemFont(QFontDatabase::FixedFont).family()});
  font.setStyleHint(QFont::TypeWriter);
  pWidget->setFont(font);
}

int QTHelper_GetFontHeight(const QWidget* pWidget) {
  return pWidget->fontMetrics().height();
}

int QTHelper_GetTextWidth(const QWidget* pWidget, const QString& sText) {
  return pWidget->fontMetrics().horizontalAdvance(sText);
}

// Some styles and icon themes give their one size whatever was asked for; a smaller question may
// lead to a smaller picture.
int QTHelper_FitIcon(const QIcon& icon, const QSize& size, QPixmap* pPixmap) {
  for (QSize asked = size; asked.width() >= kMinIconSize && asked.height() >= kMinIconSize;
       asked /= 2) {
    const QPixmap pixmap = icon.pixmap(asked);
    const QSize shown = pixmap.deviceIndependentSize().toSize();
    if (!pixmap.isNull() && shown.width() <= size.width() && shown.height() <= size.height()) {
      *pPixmap = pixmap;
      return 0;
    }
  }
  return -1;
}

void QTHelper_SetRichText(QLabel* pLabel) {
  pLabel->setTextFormat(Qt::RichText);
  pLabel->setOpenExternalLinks(true);
}

int QTHelper_OpenUrl(const QString& sUrl) {
  return QDesktopServices::openUrl(QUrl(sUrl)) ? 0 : -1;
}
