#pragma once

#include <functional>
#include <span>
#include <string>

#include "sys/types.h"

namespace vortic {

// The file that holds a simulated chip's contents between runs. Locked against a second opener for
// as long as it is open. Never mapped into memory: a file that somebody cuts short meanwhile would
// take the process with it.
class ImageFile {
 public:
  ImageFile() = default;
  ~ImageFile() { Close(); }
  ImageFile(const ImageFile&) = delete;
  ImageFile& operator=(const ImageFile&) = delete;

  using Sink = std::function<void(u64 addr, std::span<const u8> data)>;

  // Opens the file, which is created blank when it is missing, and hands its contents over block by
  // block. Empty: done; else the reason.
  // Blocks come in rising order and leave no gap. A file of another size is refused: it belongs to
  // another chip, and cutting or filling it would spoil it for that one.
  std::string Open(const std::string& fileName, u64 size, const Sink& sink);
  bool IsOpen() const { return m_Fd >= 0; }
  // Empty: done; else the reason.
  std::string Write(u64 addr, std::span<const u8> data);
  void Close();

 private:
  std::string Create(u64 size);
  std::string Load(u64 size, const Sink& sink);

  int m_Fd = -1;
  std::string m_FileName;
};

}  // namespace vortic
