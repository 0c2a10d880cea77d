#include "driver/file_area.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <limits>

#include "driver/text.h"

namespace vortic {

namespace {

constexpr u32 kMaxMove = static_cast<u32>(std::numeric_limits<i32>::max());
constexpr std::size_t kMaxName = 1024;

// Closes the file on every way out.
class Descriptor {
 public:
  explicit Descriptor(int fd) : m_Fd(fd) {}
  ~Descriptor() {
    if (m_Fd >= 0) {
      close(m_Fd);
    }
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int Get() const { return m_Fd; }

 private:
  const int m_Fd;
};

i32 Fail(const char* sWhat, const char* sFile, std::string* pError) {
  *pError = Format("Could not %s the programmer's file \"%s\": %s.", sWhat,
                   Printable(sFile).c_str(), std::strerror(errno));
  return -1;
}

// A colon would be a drive; a slash another separator of the host.
bool IsSafePart(std::string_view part) {
  if (part.empty() || part == "." || part == "..") {
    return false;
  }
  for (char c : part) {
    if (static_cast<u8>(c) < 0x20 || c == 0x7F || c == '/' || c == ':') {
      return false;
    }
  }
  return true;
}

}  // namespace

bool FileArea::Resolve(const char* sFile, std::string* pPath, std::string* pError) const {
  if (m_Folder.empty()) {
    *pError = "The simulated probe has no file system (key FileSystem of its section).";
    return false;
  }
  std::string_view name = sFile;
  bool isSafe = !name.empty() && name.size() <= kMaxName;
  std::string path = m_Folder;
  while (isSafe && !name.empty()) {
    const std::size_t end = name.find('\\');
    const std::string_view part = name.substr(0, end);
    isSafe = IsSafePart(part) && end != name.size() - 1;
    path.append("/").append(part);
    name.remove_prefix(end == std::string_view::npos ? name.size() : end + 1);
  }
  if (!isSafe) {
    *pError = Format("\"%s\" is not a file name of the programmer.", Printable(sFile).c_str());
    return false;
  }
  *pPath = path;
  return true;
}

i32 FileArea::Write(const char* sFile, const u8* pData, u32 offset, u32 numBytes,
                    std::string* pError) {
  std::string path;
  if (!Resolve(sFile, &path, pError)) {
    return -1;
  }
  const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0644));
  if (file.Get() < 0) {
    return Fail("write", sFile, pError);
  }
  if (pData == nullptr || numBytes == 0) {
    // Makes a file of that many bytes, so that the room is there before the first piece comes.
    return ftruncate(file.Get(), static_cast<off_t>(offset)) == 0 ? 0
                                                                  : Fail("write", sFile, pError);
  }
  if (numBytes > kMaxMove) {
    errno = EFBIG;
    return Fail("write", sFile, pError);
  }
  for (u32 done = 0; done < numBytes;) {
    const ssize_t count =
        pwrite(file.Get(), pData + done, numBytes - done, static_cast<off_t>(u64{offset} + done));
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count <= 0) {
      return Fail("write", sFile, pError);
    }
    done += static_cast<u32>(count);
  }
  return static_cast<i32>(numBytes);
}

i32 FileArea::Read(const char* sFile, u8* pData, u32 offset, u32 numBytes, std::string* pError) {
  std::string path;
  if (!Resolve(sFile, &path, pError)) {
    return -1;
  }
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (file.Get() < 0) {
    return errno == ENOENT ? -1 : Fail("read", sFile, pError);
  }
  if (pData == nullptr || numBytes > kMaxMove) {
    errno = EINVAL;
    return Fail("read", sFile, pError);
  }
  u32 done = 0;
  while (done < numBytes) {
    const ssize_t count =
        pread(file.Get(), pData + done, numBytes - done, static_cast<off_t>(u64{offset} + done));
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0) {
      return Fail("read", sFile, pError);
    }
    if (count == 0) {
      break;
    }
    done += static_cast<u32>(count);
  }
  return static_cast<i32>(done);
}

i32 FileArea::GetSize(const char* sFile, std::string* pError) {
  std::string path;
  if (!Resolve(sFile, &path, pError)) {
    return -1;
  }
  struct stat info = {};
  if (stat(path.c_str(), &info) != 0) {
    return errno == ENOENT || errno == ENOTDIR ? -1 : Fail("find", sFile, pError);
  }
  if (!S_ISREG(info.st_mode) || info.st_size > std::numeric_limits<i32>::max()) {
    return -1;
  }
  return static_cast<i32>(info.st_size);
}

i32 FileArea::Delete(const char* sFile, std::string* pError) {
  std::string path;
  if (!Resolve(sFile, &path, pError)) {
    return -1;
  }
  if (unlink(path.c_str()) == 0) {
    return 0;
  }
  return errno == ENOENT || errno == ENOTDIR ? -1 : Fail("delete", sFile, pError);
}

}  // namespace vortic
