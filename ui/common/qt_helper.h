#pragma once

#include <QtWidgets>

#include "sys/types.h"

// The functions with which every dialog builds its widgets. GUI thread only.

// Between the toolkit's texts and the system code page, bounded by the buffer.
void QTHelper_ToLocal8Bit(const QString& sText, char* pBuf, u32 BufSize);
QString QTHelper_FromLocal8Bit(const char* sText);
