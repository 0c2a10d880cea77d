#include "ui/window/proj_info_tree.h"

#include <string>

#include "project/proj_info.h"
#include "ui/common/qt_helper.h"
#include "ui/window/proj_info_rows.h"

namespace {

constexpr int kColumnSetting = 0;
constexpr int kColumnValue = 1;
constexpr int kUsualChars = 42;  // of both columns

}  // namespace

ProjInfoTree::ProjInfoTree(QWidget* pParent) : QTreeWidget(pParent) {
  setObjectName("ProjInfoTree");
  setAccessibleName("Project information");
  setColumnCount(2);
  setHeaderLabels({"Setting", "Value"});
  setSelectionBehavior(QAbstractItemView::SelectRows);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  setUniformRowHeights(false);
  header()->setSectionResizeMode(QHeaderView::Interactive);
  header()->setStretchLastSection(true);
  QTHelper_SetFixedFont(this);
  for (u32 group = 0; group < PROJ_INFO_NUM_GROUPS; ++group) {
    auto* pGroup = new QTreeWidgetItem(this, {PROJ_INFO_GetGroupText(group)});
    pGroup->setFlags(Qt::ItemIsEnabled);
    QFont font = pGroup->font(kColumnSetting);
    font.setBold(true);
    pGroup->setFont(kColumnSetting, font);
  }
  for (const PROJ_INFO_ROW& row : PROJ_INFO_GetRows()) {
    new QTreeWidgetItem(topLevelItem(static_cast<int>(row.Group)), {row.sText});
  }
  // Queued: the tree tells of an expanded row in the middle of its layout, and measuring a column
  // would lay it out anew below that.
  connect(this, &QTreeWidget::itemExpanded, this, &ProjInfoTree::FitColumns, Qt::QueuedConnection);
  connect(this, &QTreeWidget::itemCollapsed, this, &ProjInfoTree::FitColumns, Qt::QueuedConnection);
  const PROJ_INFO none = {};
  Update(&none);
}

void ProjInfoTree::Update(const PROJ_INFO* pInfo) {
  const bool isOpen = pInfo->IsProjectOpen != 0;
  setEnabled(isOpen);
  setUpdatesEnabled(false);
  int numInGroup[PROJ_INFO_NUM_GROUPS] = {};
  for (const PROJ_INFO_ROW& row : PROJ_INFO_GetRows()) {
    QTreeWidgetItem* pGroup = topLevelItem(static_cast<int>(row.Group));
    QTreeWidgetItem* pItem = pGroup->child(numInGroup[row.Group]++);
    std::string value;
    const bool isShown = isOpen && row.pfGetValue(*pInfo, &value);
    pItem->setHidden(!isShown);
    pItem->setText(kColumnValue, isShown ? QTHelper_FromLocal8Bit(value.c_str()) : QString());
  }
  for (int group = 0; group < topLevelItemCount(); ++group) {
    topLevelItem(group)->setHidden(!isOpen);
  }
  expandAll();
  setUpdatesEnabled(true);
  FitColumns();
}

// The data windows would lose that room when a project opens.
QSize ProjInfoTree::sizeHint() const {
  const QSize hint = QTreeWidget::sizeHint();
  return hint.expandedTo(QSize(kUsualChars * fontMetrics().averageCharWidth(), 0));
}

// The dock is as narrow as the contents allow and never cuts them.
void ProjInfoTree::FitColumns() {
  int width = 0;
  for (int column = 0; column < columnCount(); ++column) {
    resizeColumnToContents(column);
    width += sizeHintForColumn(column) + 1;
  }
  if (verticalScrollBar()->isVisible()) {
    width += horizontalScrollBar()->sizeHint().height();
  }
  // A host name of a hundred characters must not take the window away.
  setMinimumWidth(std::min(width, 48 * fontMetrics().averageCharWidth()));
}

void ProjInfoTree::drawBranches(QPainter* pPainter, const QRect& rect,
                                const QModelIndex& index) const {
  pPainter->fillRect(rect, palette().base());
  const QTreeWidgetItem* pItem = itemFromIndex(index);
  if (pItem != nullptr && pItem->childCount() > 0) {
    pPainter->setPen(palette().color(QPalette::Text));
    pPainter->drawText(rect, Qt::AlignRight | Qt::AlignVCenter,
                       pItem->isExpanded() ? "[-]" : "[+]");
  }
}
