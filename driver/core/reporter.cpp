#include "driver/core/reporter.h"

#include <cerrno>
#include <cstring>

#include "driver/core/text.h"

namespace vortic {

namespace {

// A log that is left on must not fill the disk.
constexpr u64 kMaxLogBytes = u64{16} << 20;

}  // namespace

void Reporter::Error(const std::string& text) {
  Trace("ERROR: " + text);
  if (m_pfError != nullptr) {
    m_pfError(text.c_str());
  }
}

void Reporter::Log(const std::string& text) {
  Trace(text);
  if (m_pfLog != nullptr) {
    m_pfLog(text.c_str());
  }
}

bool Reporter::SetLogFile(const char* sFileName) {
  if (sFileName != nullptr && m_pFile && m_FileName == sFileName) {
    return true;  // set again before every connect: goes on in the same file
  }
  m_pFile.reset();
  m_FileBytes = 0;
  if (sFileName == nullptr || *sFileName == '\0') {
    return true;
  }
  m_pFile.reset(std::fopen(sFileName, "ae"));
  if (!m_pFile) {
    const int error = errno;
    Error(Format("Could not open the driver log file \"%s\": %s.", Printable(sFileName).c_str(),
                 std::strerror(error)));
    return false;
  }
  m_FileName = sFileName;
  return true;
}

void Reporter::Trace(const std::string& text) {
  if (!m_pFile || m_FileBytes > kMaxLogBytes) {
    return;
  }
  m_FileBytes += text.size() + 1;
  const char* sLine = m_FileBytes > kMaxLogBytes ? "(the log is full)" : text.c_str();
  // A log that can't be written is given up: it must never fail the work that it describes.
  if (std::fprintf(m_pFile.get(), "%s\n", sLine) < 0 || std::fflush(m_pFile.get()) != 0) {
    m_pFile.reset();
  }
}

}  // namespace vortic
