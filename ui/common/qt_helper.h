#pragma once

#include <QtWidgets>
#include <functional>

#include "sys/types.h"

// The functions with which every dialog builds its widgets: each creates the widget with the given
// parent, which owns it, sets it up and returns it. Texts are ASCII. A slot may be empty. GUI
// thread only.

using QT_SLOT = std::function<void()>;
using QT_BOOL_SLOT = std::function<void(bool)>;

// A row with a null text ends a table.
struct QT_ITEM {
  const char* sText;
  u32 Value;
};

struct QT_COLUMN {
  const char* sTitle;
  Qt::Alignment Alignment;
};

// ---- Buttons ----
QPushButton* QTHelper_CreateButton(QWidget* pParent, const char* sText, QT_SLOT slot);
QPushButton* QTHelper_CreateFixedButton(QWidget* pParent, const char* sText, QT_SLOT slot);
QPushButton* QTHelper_CreateSmallButton(QWidget* pParent, const char* sText, QT_SLOT slot);
QCheckBox* QTHelper_CreateCheckBox(QWidget* pParent, const char* sText, QT_BOOL_SLOT slot = {});
QRadioButton* QTHelper_CreateRadioButton(QWidget* pParent, const char* sText, bool IsChecked,
                                         QT_BOOL_SLOT slot = {});
// The value of an item is its data.
QComboBox* QTHelper_CreateComboBox(QWidget* pParent, const QT_ITEM* pItems);
// Position of the value in the table, or Default.
int APP_FindItemIndex(const QT_ITEM* pItems, u32 Value, int Default);

// ---- Layouts and frames ----
QGridLayout* QTHelper_CreateGrid(QWidget* pParent);
QGridLayout* QTHelper_CreateGridEx(QWidget* pParent, int Left, int Top, int Right, int Bottom);
QGroupBox* QTHelper_CreateGroupBox(QWidget* pParent, const char* sTitle, QLayout* pLayout);
QGroupBox* QTHelper_CreateCheckGroupBox(QWidget* pParent, const char* sTitle, QLayout* pLayout,
                                        QT_BOOL_SLOT slot);
QWidget* QTHelper_CreateContainer(QWidget* pParent, QLayout* pLayout);
QFrame* QTHelper_CreateFrame(QWidget* pParent, QFrame::Shape Shape);

// ---- Texts and values ----
QLabel* QTHelper_CreateLabel(QWidget* pParent, const QString& sText);
QLabel* QTHelper_CreateFixedLabel(QWidget* pParent, const QString& sText);
// Percent 0 and 100 keep the size. A null style sheet gives a white background.
QLabel* QTHelper_CreateImageLabel(QWidget* pParent, const void* pData, u32 NumBytes, u32 Percent,
                                  const char* sStyleSheet = nullptr);
QLineEdit* QTHelper_CreateLineEdit(QWidget* pParent, const QString& sText, bool IsReadOnly = false);
// Up to eight digits, with a minus sign in front if negative values are allowed.
QLineEdit* QTHelper_CreateHexEdit(QWidget* pParent, bool AllowNegative, QT_SLOT slot);
QPlainTextEdit* QTHelper_CreateTextEdit(QWidget* pParent, bool IsReadOnly);
QProgressBar* QTHelper_CreateProgressBar(QWidget* pParent);
QSpinBox* QTHelper_CreateSpinBox(QWidget* pParent, int Min, int Max,
                                 std::function<void(int)> slot = {});
QTableWidget* QTHelper_CreateTable(QWidget* pParent, const QT_COLUMN* pColumns, u32 NumColumns);

// ---- Menus and docks ----
QMenu* QTHelper_CreateMenu(QMenuBar* pBar, const char* sText);
QMenu* QTHelper_CreateSubMenu(QMenu* pMenu, const char* sText);
QAction* QTHelper_CreateAction(QMenu* pMenu, const char* sText, const char* sShortcut,
                               QT_SLOT slot);
// The status tip is the action's tool tip.
QAction* QTHelper_CreateActionTip(QMenu* pMenu, const char* sText, const char* sShortcut,
                                  const char* sTip, QT_SLOT slot);
QDockWidget* QTHelper_AddDock(QMainWindow* pWindow, const QString& sTitle, QWidget* pWidget,
                              Qt::DockWidgetArea Area);

// ---- Looks ----
void QTHelper_SetStayOnTop(QWidget* pWidget, bool OnOff);
void QTHelper_HideHelpButton(QWidget* pWidget);
void QTHelper_SetReadOnlyLook(QWidget* pWidget);
void QTHelper_SetFixedFont(QWidget* pWidget);
int QTHelper_GetFontHeight(const QWidget* pWidget);
int QTHelper_GetTextWidth(const QWidget* pWidget, const QString& sText);
// A pixmap of the icon not above the size: 0, or -1 when there is none of 8 by 8 or more.
int QTHelper_FitIcon(const QIcon& icon, const QSize& size, QPixmap* pPixmap);
void QTHelper_SetRichText(QLabel* pLabel);

// ---- Files and addresses ----
// Opens with the platform's program: 0 or -1.
int QTHelper_OpenUrl(const QString& sUrl);
// Between the toolkit's texts and the system code page, bounded by the buffer.
void QTHelper_ToLocal8Bit(const QString& sText, char* pBuf, u32 BufSize);
QString QTHelper_FromLocal8Bit(const char* sText);
// 0 chosen, -1 none; the name goes to pBuf, with native separators. sSelected may be null.
int QTHelper_SelectDir(QWidget* pParent, char* pBuf, u32 BufSize, const char* sTitle,
                       const char* sStartPath);
int QTHelper_GetOpenFileName(QWidget* pParent, char* pBuf, u32 BufSize, const char* sTitle,
                             const char* sStartPath, const char* sFilters, const char* sSelected);
// A name without an extension gets that of the chosen filter.
int QTHelper_GetSaveFileName(QWidget* pParent, char* pBuf, u32 BufSize, const char* sTitle,
                             const char* sStartPath, const char* sFilters, const char* sSelected);
