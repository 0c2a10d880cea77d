// File names between the toolkit's dialogs and the core's buffers.
#include "sys/util_format.h"
#include "ui/common/qt_helper.h"
#include "ui/common/rich_text.h"

namespace {

// What the dialogs give is kept only if the buffer takes all of it: a name cut short names another
// file.
int StoreName(QWidget* pParent, const QString& sTitle, const QString& sName, char* pBuf,
              u32 BufSize) {
  const QByteArray name = QDir::toNativeSeparators(sName).toLocal8Bit();
  if (static_cast<u32>(name.size()) >= BufSize) {
    QMessageBox::warning(
        pParent, sTitle,
        QString("The path is too long.\nIt has %1 bytes, the longest that can be used has %2.")
            .arg(name.size())
            .arg(BufSize - 1));
    return -1;
  }
  if (name.isEmpty()) {
    return -1;
  }
  UTIL_snprintf(pBuf, BufSize, "%s", name.constData());
  return 0;
}

// The dialog has asked about the name without the ending.
bool MayReplace(QWidget* pParent, const QString& sTitle, const QString& sName) {
  return !QFileInfo::exists(sName) ||
         QMessageBox::question(
             pParent, sTitle,
             QString("%1 already exists.\nDo you want to replace it?").arg(sName)) ==
             QMessageBox::Yes;
}

// The platform's own dialog where there is one. Without a preselected filter it takes the first,
// and tells which one the user left it on.
int AskName(QWidget* pParent, QFileDialog::AcceptMode Mode, char* pBuf, u32 BufSize,
            const char* sTitle, const char* sStartPath, const char* sFilters,
            const char* sSelected) {
  QString selected = QTHelper_FromLocal8Bit(sSelected != nullptr ? sSelected : "");
  const QString title = QTHelper_FromLocal8Bit(sTitle);
  const QString start = QTHelper_FromLocal8Bit(sStartPath != nullptr ? sStartPath : "");
  const QString filters = QTHelper_FromLocal8Bit(sFilters != nullptr ? sFilters : "");
  if (Mode == QFileDialog::AcceptOpen) {
    return StoreName(pParent, title,
                     QFileDialog::getOpenFileName(pParent, title, start, filters, &selected), pBuf,
                     BufSize);
  }
  const QString name = QFileDialog::getSaveFileName(pParent, title, start, filters, &selected);
  const std::string full = UI_AddFilterExtension(name.toStdString(), selected.toStdString());
  const QString fullName = QString::fromStdString(full);
  if (name.isEmpty() || (fullName != name && !MayReplace(pParent, title, fullName))) {
    return -1;
  }
  return StoreName(pParent, title, fullName, pBuf, BufSize);
}

}  // namespace

void QTHelper_ToLocal8Bit(const QString& sText, char* pBuf, u32 BufSize) {
  UTIL_snprintf(pBuf, BufSize, "%s", sText.toLocal8Bit().constData());
}

QString QTHelper_FromLocal8Bit(const char* sText) {
  return QString::fromLocal8Bit(sText);
}

int QTHelper_SelectDir(QWidget* pParent, char* pBuf, u32 BufSize, const char* sTitle,
                       const char* sStartPath) {
  const QString title = QTHelper_FromLocal8Bit(sTitle);
  return StoreName(
      pParent, title,
      QFileDialog::getExistingDirectory(
          pParent, title, QTHelper_FromLocal8Bit(sStartPath != nullptr ? sStartPath : ""),
          QFileDialog::ShowDirsOnly),
      pBuf, BufSize);
}

int QTHelper_GetOpenFileName(QWidget* pParent, char* pBuf, u32 BufSize, const char* sTitle,
                             const char* sStartPath, const char* sFilters, const char* sSelected) {
  return AskName(pParent, QFileDialog::AcceptOpen, pBuf, BufSize, sTitle, sStartPath, sFilters,
                 sSelected);
}

int QTHelper_GetSaveFileName(QWidget* pParent, char* pBuf, u32 BufSize, const char* sTitle,
                             const char* sStartPath, const char* sFilters, const char* sSelected) {
  return AskName(pParent, QFileDialog::AcceptSave, pBuf, BufSize, sTitle, sStartPath, sFilters,
                 sSelected);
}
