#include "sys/registry.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <set>
#include <string>

#include "sys/file.h"
#include "sys/memory.h"
#include "sys/object.h"
#include "sys/os_error.h"
#include "sys/path.h"
#include "sys/registry_text.h"

namespace {

constexpr u32 kNoHandle = 1;
constexpr u32 kNoSuchValue = 2;
constexpr u32 kMoreData = 234;
constexpr char kMachineFile[] = "/etc/xdg/TARVEX/registry.txt";

class KeyObject : public SysObject {
 public:
  KeyObject(u32 Hive, std::string Key)
      : SysObject(SysKind::RegistryKey), m_Hive(Hive), m_Key(std::move(Key)) {}
  const u32 m_Hive;
  const std::string m_Key;
};

// Looked up at each access: the environment may name another directory by then.
std::string HiveFile(u32 Hive) {
  if (Hive == SYS_REG_MACHINE) {
    return kMachineFile;
  }
  std::array<char, SYS_MAX_PATH> acDir{};
  return SYS_GetAppDataDir(acDir.data(), acDir.size()) == 0
             ? std::string(acDir.data()) + "/registry.txt"
             : std::string();
}

// Says once in the life of the process that a line makes no sense.
void ReportLine(const std::string& File, u32 Number, std::string_view Text) {
  static std::mutex Lock;  // guards Reported
  static std::set<std::string> Reported;
  const std::string message =
      "Line " + std::to_string(Number) + " of " + File + " is ignored: " + std::string(Text);
  {
    const std::lock_guard lock(Lock);
    if (!Reported.insert(message).second) {
      return;
    }
  }
  SYS_ShowMessage("Registry", message.c_str());
}

// 0 or an error number. A missing file is an empty hive; one that cannot be read is not, or a
// change would throw away what it holds.
u32 ReadHive(const std::string& File, std::string* pText) {
  const SYS_HANDLE h = SYS_FILE_Open(File.c_str(), SYS_FILE_READ | SYS_FILE_SHARE_READ);
  if (h == SYS_INVALID_FILE) {
    const u32 error = SYS_GetLastError();
    const bool isMissing = error == SYS_ERROR_FILE_NOT_FOUND || error == SYS_ERROR_PATH_NOT_FOUND;
    return isMissing ? SYS_ERROR_NONE : error;
  }
  std::array<char, 4096> acBlock{};
  i64 n = 0;
  while ((n = SYS_FILE_Read(h, acBlock.data(), acBlock.size())) > 0) {
    pText->append(acBlock.data(), static_cast<std::size_t>(n));
  }
  const u32 error = n < 0 ? SYS_GetLastError() : SYS_ERROR_NONE;
  SYS_FILE_Close(h);
  return error;
}

u32 LoadHive(const std::string& File, std::unique_ptr<RegistryText>* ppText) {
  std::string content;
  const u32 error = ReadHive(File, &content);
  *ppText = std::make_unique<RegistryText>(
      content, [&File](u32 Number, std::string_view Text) { ReportLine(File, Number, Text); });
  return error;
}

u32 WriteHive(const std::string& File, const std::string& Text) {
  const SYS_HANDLE h = SYS_FILE_BeginReplace(File.c_str(), true);
  if (h == SYS_INVALID_FILE) {
    return SYS_GetLastError();
  }
  const i64 n = SYS_FILE_Write(h, Text.data(), Text.size());
  const bool isWhole = n == static_cast<i64>(Text.size());
  return SYS_FILE_EndReplace(h, true) == 0 && isWhole ? SYS_ERROR_NONE : SYS_GetLastError();
}

// Held from reading a hive to replacing it, so that of two processes none loses its change. The
// lock is on a file of its own: the hive's is another one after each change.
class HiveLock {
 public:
  explicit HiveLock(const std::string& File) {
    const std::string name = File + ".lock";
    if (SYS_DIR_CreatePath(name.c_str()) != 0) {
      return;
    }
    m_Fd = open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    int result = m_Fd;
    while (result >= 0 && (result = flock(m_Fd, LOCK_EX)) < 0 && errno == EINTR) {
      result = 0;
    }
    if (result < 0) {
      SysNoteError(errno, name.c_str());
    }
    m_IsHeld = result >= 0;
  }
  ~HiveLock() {
    if (m_Fd >= 0) {
      close(m_Fd);
    }
  }
  HiveLock(const HiveLock&) = delete;
  HiveLock& operator=(const HiveLock&) = delete;

  bool IsHeld() const { return m_IsHeld; }

 private:
  int m_Fd = -1;
  bool m_IsHeld = false;
};

// Change returns whether there is anything to write.
template <class CHANGE>
u32 ChangeHive(u32 Hive, const CHANGE& Change) {
  const std::string file = HiveFile(Hive);
  if (file.empty()) {
    return SYS_ERROR_PATH_NOT_FOUND;
  }
  const HiveLock lock(file);
  if (!lock.IsHeld()) {
    return SYS_GetLastError();
  }
  std::unique_ptr<RegistryText> pText;
  if (const u32 error = LoadHive(file, &pText); error != SYS_ERROR_NONE) {
    return error;
  }
  return Change(*pText) ? WriteHive(file, pText->Format()) : kNoSuchValue;
}

u32 CopyOut(const RegistryValue& Value, void* pData, u32* pSize) {
  const bool isNumber = Value.Type == SYS_REG_TYPE_U32;
  const u32 size = isNumber ? u32{sizeof(u32)} : static_cast<u32>(Value.Text.size()) + 1;
  const u32 capacity = pSize != nullptr ? *pSize : 0;
  if (pSize != nullptr) {
    *pSize = size;
  }
  if (pData == nullptr) {
    return 0;
  }
  if (capacity < size) {
    return kMoreData;
  }
  const void* const pSource =
      isNumber ? static_cast<const void*>(&Value.Number) : Value.Text.c_str();
  std::memcpy(pData, pSource, size);
  return 0;
}

}  // namespace

SYS_HANDLE SYS_REG_Open(u32 Hive, const char* sKey) {
  const bool isHive = Hive == SYS_REG_CURRENT_USER || Hive == SYS_REG_MACHINE;
  if (!isHive || sKey == nullptr || !RegistryIsKeyName(sKey)) {
    SYS_SetLastError(SYS_ERROR_BAD_NAME);
    return 0;
  }
  return SysToHandle(new (std::nothrow) KeyObject(Hive, sKey));
}

void SYS_REG_Close(SYS_HANDLE h) {
  delete SysFromHandle<KeyObject>(h);
}

u32 SYS_REG_Query(SYS_HANDLE h, const char* sName, u32* pType, void* pData, u32* pSize) {
  const KeyObject* const pKey = SysFromHandle<KeyObject>(h);
  if (pKey == nullptr) {
    return kNoHandle;
  }
  const std::string file = HiveFile(pKey->m_Hive);
  std::unique_ptr<RegistryText> pText;
  if (sName == nullptr || file.empty() || LoadHive(file, &pText) != SYS_ERROR_NONE) {
    return kNoSuchValue;
  }
  const auto value = pText->Find(pKey->m_Key, sName);
  if (!value) {
    return kNoSuchValue;
  }
  if (pType != nullptr) {
    *pType = value->Type;
  }
  return CopyOut(*value, pData, pSize);
}

u32 SYS_REG_Set(SYS_HANDLE h, const char* sName, u32 Type, const void* pData, u32 Size) {
  const KeyObject* const pKey = SysFromHandle<KeyObject>(h);
  if (pKey == nullptr) {
    return kNoHandle;
  }
  if (sName == nullptr || !RegistryIsValueName(sName)) {
    return SYS_ERROR_BAD_NAME;
  }
  RegistryValue value{Type, {}, 0};
  if (Type == SYS_REG_TYPE_U32 && pData != nullptr && Size == sizeof(u32)) {
    std::memcpy(&value.Number, pData, sizeof(u32));
  } else if (Type == SYS_REG_TYPE_STRING && (pData != nullptr || Size == 0)) {
    value.Text.assign(static_cast<const char*>(pData), Size);
    if (value.Text.ends_with('\0')) {
      value.Text.pop_back();
    }
  } else {
    return SYS_ERROR_OTHER + EINVAL;
  }
  return ChangeHive(pKey->m_Hive, [&](RegistryText& Text) {
    Text.Set(pKey->m_Key, sName, value);
    return true;
  });
}

u32 SYS_REG_DeleteValue(SYS_HANDLE h, const char* sName) {
  const KeyObject* const pKey = SysFromHandle<KeyObject>(h);
  if (pKey == nullptr) {
    return kNoHandle;
  }
  if (sName == nullptr) {
    return SYS_ERROR_BAD_NAME;
  }
  return ChangeHive(pKey->m_Hive,
                    [&](RegistryText& Text) { return Text.Delete(pKey->m_Key, sName); });
}
