#include "ui/common/qt_helper.h"

#include "sys/util_format.h"

void QTHelper_ToLocal8Bit(const QString& sText, char* pBuf, u32 BufSize) {
  UTIL_snprintf(pBuf, BufSize, "%s", sText.toLocal8Bit().constData());
}

QString QTHelper_FromLocal8Bit(const char* sText) {
  return QString::fromLocal8Bit(sText);
}
