#pragma once

#include <QtWidgets>

#include "sys/types.h"

struct PROJ_INFO;

// A read-only summary of the open project in two columns. Holds no project data: all rows are
// rewritten from one record at each change. GUI thread only.
class ProjInfoTree : public QTreeWidget {
  Q_OBJECT

 public:
  explicit ProjInfoTree(QWidget* pParent);
  // The record is only read during the call.
  void Update(const PROJ_INFO* pInfo);
  // Wide enough for the rows of a usual project before there is one.
  QSize sizeHint() const override;

 protected:
  void drawBranches(QPainter* pPainter, const QRect& rect, const QModelIndex& index) const override;

 private:
  void FitColumns();
};
