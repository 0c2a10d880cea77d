#include "sys/registry.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "sys/memory.h"
#include "tests/support/temp_dir.h"

namespace {

int g_NumMessages = 0;
std::string g_LastMessage;

// A registry of its own in a temporary directory.
class SysRegistry : public testing::Test {
 protected:
  SysRegistry() {
    setenv("XDG_CONFIG_HOME", m_Dir.path().c_str(), 1);
    g_NumMessages = 0;
    SYS_SetMessageHandler([](const char*, const char* sText) {
      ++g_NumMessages;
      g_LastMessage = sText;
    });
  }
  ~SysRegistry() override {
    SYS_SetMessageHandler(nullptr);
    unsetenv("XDG_CONFIG_HOME");
  }

  static u32 Set(const char* sKey, const char* sName, u32 Type, const void* p, std::size_t Size) {
    const SYS_HANDLE h = SYS_REG_Open(SYS_REG_CURRENT_USER, sKey);
    const u32 result = SYS_REG_Set(h, sName, Type, p, static_cast<u32>(Size));
    SYS_REG_Close(h);
    return result;
  }
  static u32 Set(const char* sKey, const char* sName, const std::string& Text) {
    return Set(sKey, sName, SYS_REG_TYPE_STRING, Text.c_str(), Text.size() + 1);
  }
  static u32 SetU32(const char* sKey, const char* sName, u32 Value) {
    return Set(sKey, sName, SYS_REG_TYPE_U32, &Value, sizeof(Value));
  }
  // "-" when there is none.
  static std::string Get(const char* sKey, const char* sName) {
    const SYS_HANDLE h = SYS_REG_Open(SYS_REG_CURRENT_USER, sKey);
    char acData[64];
    u32 size = sizeof(acData), type = 0, value = 0;
    const u32 result = SYS_REG_Query(h, sName, &type, acData, &size);
    SYS_REG_Close(h);
    std::memcpy(&value, acData, sizeof(value));
    return result != 0                ? "-"
           : type == SYS_REG_TYPE_U32 ? std::to_string(value)
                                      : std::string(acData, size - 1);
  }
  std::string File() const { return m_Dir / "TARVEX/registry.txt"; }

  const TempDir m_Dir;
};

TEST_F(SysRegistry, RoundTrip) {
  const std::string odd("C:\\a\r\n[x]=\0;\xC3\xA4", 14);
  EXPECT_EQ(Get("Software\\TARVEX", "File1"), "-");
  EXPECT_EQ(Set("Software\\TARVEX", "File1", odd), 0u);
  EXPECT_EQ(SetU32("Software\\TARVEX", "Flag", 0xFFFFFFFF), 0u);
  EXPECT_EQ(Set("Other", "File1", ""), 0u);
  EXPECT_EQ(Get("software\\tarvex", "FILE1"), odd);
  EXPECT_EQ(Get("Software\\TARVEX", "Flag"), "4294967295");
  EXPECT_EQ(Get("Other", "File1"), "");
  EXPECT_EQ(SetU32("SOFTWARE\\TARVEX", "FLAG", 1), 0u);
  EXPECT_EQ(Get("Software\\TARVEX", "Flag"), "1");
  EXPECT_EQ(g_NumMessages, 0);
}

TEST_F(SysRegistry, QueryTellsSizes) {
  Set("K", "Text", "four");
  const SYS_HANDLE h = SYS_REG_Open(SYS_REG_CURRENT_USER, "K");
  u32 type = 0, size = 0;
  char acBuf[5] = {};
  EXPECT_EQ(SYS_REG_Query(h, "Text", &type, nullptr, &size), 0u);
  EXPECT_EQ(type, SYS_REG_TYPE_STRING);
  EXPECT_EQ(size, 5u);
  size = 4;
  EXPECT_EQ(SYS_REG_Query(h, "Text", nullptr, acBuf, &size), 234u);
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(SYS_REG_Query(h, "Text", nullptr, acBuf, &size), 0u);
  EXPECT_STREQ(acBuf, "four");
  EXPECT_EQ(SYS_REG_Query(h, "None", &type, nullptr, &size), 2u);
  EXPECT_EQ(SYS_REG_Query(0, "Text", &type, nullptr, &size), 1u);
  EXPECT_EQ(SYS_REG_DeleteValue(h, "text"), 0u);
  EXPECT_EQ(SYS_REG_DeleteValue(h, "text"), 2u);
  EXPECT_EQ(SYS_REG_Query(h, "Text", &type, nullptr, &size), 2u);
  EXPECT_NE(SYS_REG_Set(h, "a=b", SYS_REG_TYPE_STRING, "", 1), 0u);
  EXPECT_NE(SYS_REG_Set(h, "n", SYS_REG_TYPE_U32, "", 1), 0u);
  SYS_REG_Close(h);
  EXPECT_EQ(SYS_REG_Open(7, "K"), 0u);
  EXPECT_EQ(SYS_REG_Open(SYS_REG_CURRENT_USER, "a\nb"), 0u);
}

TEST_F(SysRegistry, MalformedLinesAreReportedOnceAndKept) {
  const std::string text =
      "stray\n[K]\r\na=s:1\nb=x:2\nc=d:4294967296\nd=s:\\q\n=s:x\n\n; note\n[open\nf=d:7";
  WriteFile(File(), text);
  EXPECT_EQ(Get("K", "a") + Get("K", "b") + Get("K", "c") + Get("K", "d") + Get("K", "f"), "1---7");
  EXPECT_EQ(g_NumMessages, 6);
  EXPECT_EQ(g_LastMessage, "Line 10 of " + File() + " is ignored: [open");
  EXPECT_EQ(Set("K", "a", "2"), 0u);
  EXPECT_EQ(Set("K", "new", "3"), 0u);
  EXPECT_EQ(ReadFile(File()),
            "stray\n[K]\r\na=s:2\nb=x:2\nc=d:4294967296\nd=s:\\q\n=s:x\n\n; note\n[open\nf=d:7\n"
            "new=s:3\n");
}

TEST_F(SysRegistry, UnreadableStoreIsNotReplaced) {
  std::filesystem::create_directories(File());
  EXPECT_EQ(Set("K", "a", "2"), 5u);
  EXPECT_TRUE(std::filesystem::is_directory(File()));
}

TEST_F(SysRegistry, NoChangeIsLostBetweenWriters) {
  const auto writeAll = [](char Prefix) {
    for (char c = 'a'; c < 'i'; ++c) {
      EXPECT_EQ(SetU32("K", std::string{Prefix, c}.c_str(), 1), 0u);
    }
  };
  std::thread other(writeAll, 'x');
  writeAll('y');
  other.join();
  for (char c = 'a'; c < 'i'; ++c) {
    EXPECT_EQ(Get("K", std::string{'x', c}.c_str()), "1");
    EXPECT_EQ(Get("K", std::string{'y', c}.c_str()), "1");
  }
}

}  // namespace
