#pragma once

#include <gtest/gtest.h>

#include "tests/support/temp_dir.h"
#include "text/projfile.h"

// A text store of its own, in a temporary directory, with its messages gathered.
class ProjFile : public testing::Test {
 protected:
  ProjFile() {
    PROJFILE_Reset();
    s_Shown.clear();
    m_OldHooks = PROJFILE_Hooks;
    PROJFILE_Hooks.pfShowError = [](const char* sText) {
      // What is wrong, and apart from it where in the file.
      const std::string text = sText;
      const std::size_t where = text.find("\nFile [");
      s_Where = where != std::string::npos ? text.substr(where + 1) : std::string();
      s_Shown.push_back(text.substr(0, where));
    };
  }
  ~ProjFile() override {
    PROJFILE_Reset();
    PROJFILE_Hooks = m_OldHooks;
  }

  void Open(const std::string& Text) {
    WriteFile(Name(), Text);
    ASSERT_EQ(PROJFILE_Open(Name().c_str()), 0);
  }
  std::string Saved() const {
    EXPECT_EQ(PROJFILE_Save(nullptr), 0);
    return ReadFile(Name());
  }
  std::string Name() const { return m_Dir / "p.korvane"; }
  // The messages since the last call, joined.
  static std::string ShownWhere() { return s_Where; }
  static std::string Shown() {
    std::string all;
    for (const std::string& text : s_Shown) {
      all += (all.empty() ? "" : "&") + text;
    }
    s_Shown.clear();
    return all;
  }

  const TempDir m_Dir;

 private:
  static inline std::vector<std::string> s_Shown;
  static inline std::string s_Where;
  PROJFILE_HOOKS m_OldHooks{};
};
