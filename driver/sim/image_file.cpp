#include "driver/sim/image_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "driver/core/text.h"

namespace vortic {

namespace {

constexpr u64 kBlockBytes = u64{1} << 20;

}  // namespace

void ImageFile::Close() {
  if (m_Fd >= 0) {
    close(m_Fd);  // lets go of the lock as well
    m_Fd = -1;
  }
}

std::string ImageFile::Open(const std::string& fileName, u64 size, const Sink& sink) {
  Close();
  m_FileName = fileName;
  // Not blocking: the name may be that of a pipe.
  constexpr int flags = O_RDWR | O_CLOEXEC | O_NONBLOCK;
  m_Fd = open(fileName.c_str(), flags | O_CREAT | O_EXCL, 0644);
  const bool isNew = m_Fd >= 0;
  if (!isNew && errno == EEXIST) {
    m_Fd = open(fileName.c_str(), flags);
  }
  if (m_Fd < 0) {
    return Format("Could not open the chip image \"%s\": %s.", fileName.c_str(),
                  std::strerror(errno));
  }
  std::string reason;
  struct flock lock = {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  // Owned by the open file, not by the process: a second probe of this process is kept out too.
  if (fcntl(m_Fd, F_OFD_SETLK, &lock) != 0) {
    reason = errno == EAGAIN || errno == EACCES
                 ? Format("The chip image \"%s\" is in use by another simulated probe.",
                          fileName.c_str())
                 : Format("Could not lock the chip image \"%s\": %s.", fileName.c_str(),
                          std::strerror(errno));
  } else if (isNew) {
    reason = Create(size);
  } else {
    reason = Load(size, sink);
  }
  if (!reason.empty()) {
    Close();
  }
  return reason;
}

// Written out instead of left as a hole: a full disk shows now, not in the middle of a job.
std::string ImageFile::Create(u64 size) {
  const std::vector<u8> blank(std::min(size, kBlockBytes), 0xFF);
  for (u64 addr = 0; addr < size; addr += blank.size()) {
    std::string reason =
        Write(addr, std::span(blank).first(std::min<u64>(blank.size(), size - addr)));
    if (!reason.empty()) {
      unlink(m_FileName.c_str());  // a short file would be refused from now on
      return reason;
    }
  }
  return {};
}

std::string ImageFile::Load(u64 size, const Sink& sink) {
  struct stat info = {};
  if (fstat(m_Fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    return Format("The chip image \"%s\" is not a regular file.", m_FileName.c_str());
  }
  if (static_cast<u64>(info.st_size) != size) {
    return Format("The chip image \"%s\" has %lld bytes, the chip has %llu.", m_FileName.c_str(),
                  static_cast<long long>(info.st_size), static_cast<unsigned long long>(size));
  }
  std::vector<u8> block(std::min(size, kBlockBytes));
  for (u64 addr = 0; addr < size;) {
    const ssize_t numRead = pread(m_Fd, block.data(), std::min<u64>(block.size(), size - addr),
                                  static_cast<off_t>(addr));
    if (numRead < 0 && errno == EINTR) {
      continue;
    }
    if (numRead <= 0) {
      return Format("Could not read the chip image \"%s\": %s.", m_FileName.c_str(),
                    numRead < 0 ? std::strerror(errno) : "it became shorter meanwhile");
    }
    sink(addr, std::span(block).first(static_cast<std::size_t>(numRead)));
    addr += static_cast<u64>(numRead);
  }
  return {};
}

std::string ImageFile::Write(u64 addr, std::span<const u8> data) {
  while (!data.empty()) {
    const ssize_t numWritten = pwrite(m_Fd, data.data(), data.size(), static_cast<off_t>(addr));
    if (numWritten < 0 && errno == EINTR) {
      continue;
    }
    if (numWritten <= 0) {
      return Format("Could not write the chip image \"%s\": %s.", m_FileName.c_str(),
                    numWritten < 0 ? std::strerror(errno) : "the disk is full");
    }
    addr += static_cast<u64>(numWritten);
    data = data.subspan(static_cast<std::size_t>(numWritten));
  }
  return {};
}

}  // namespace vortic
