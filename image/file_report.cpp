#include "image/file_report.h"

#include "sys/util_format.h"
#include "text/file_error.h"

void FileReport::OpenError(const char* sFileName) const {
  char text[FILE_TEXT_SIZE];
  APP_FormatOpenError(sFileName, text, sizeof(text));
  Error(text);
}

void FileReport::ReadError(const char* sFileName) const {
  char text[FILE_TEXT_SIZE];
  UTIL_snprintf(text, sizeof(text), "Error reading from file [%s]", sFileName);
  Error(text);
}

void FileReport::ShrunkError(const char* sFileName) const {
  char text[FILE_TEXT_SIZE];
  UTIL_snprintf(text, sizeof(text), "File [%s] became shorter while it was read.", sFileName);
  Error(text);
}
