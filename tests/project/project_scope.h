#pragma once

#include <stdlib.h>

#include <memory>
#include <string>

#include "project/project.h"
#include "project/recent.h"
#include "project/settings.h"
#include "tests/support/engine_scope.h"
#include "tests/support/temp_dir.h"
#include "text/projfile.h"

// Settings, recent lists and project as at program start, with all files in a directory of the
// test's own, and a count of what the layers above are told.
class ProjectScope {
 public:
  ProjectScope() : m_SavedHooks(PROJECT_Hooks), m_SavedStoreHooks(PROJFILE_Hooks) {
    setenv("XDG_CONFIG_HOME", Dir.path().c_str(), 1);
    s_pScope = this;
    PROJFILE_Hooks.pfShowError = [](const char* sText) {
      APP_ShowError(APP_CAUSE::FileDamaged, sText);
    };
    PROJECT_Hooks.pfOnChanged = [] { ++s_pScope->NumChanged; };
    PROJECT_Hooks.pfDisconnect = [] { ++s_pScope->NumDisconnects; };
    PROJECT_Hooks.pfSetTargetPower = [](u32 Enable, u32 DelayMs) {
      s_pScope->Power = Enable * 100000 + DelayMs;
    };
    PROJECT_Hooks.pfSetFixedVTref = [](u32 Enable, u32 Millivolts) {
      s_pScope->VTref = Enable * 100000 + Millivolts;
    };
    SETUP_Init();
  }
  ~ProjectScope() {
    SETUP_Reset();
    RECENT_Reset();
    PROJECT_Reset();
    PROJECT_Hooks = m_SavedHooks;
    PROJFILE_Hooks = m_SavedStoreHooks;
    unsetenv("XDG_CONFIG_HOME");
  }
  ProjectScope(const ProjectScope&) = delete;
  ProjectScope& operator=(const ProjectScope&) = delete;

  std::string IniFile() const { return Dir.file("TARVEX/KorvaneSPI.ini"); }
  // Writes a project file of this content and opens it.
  int Open(const std::string& Content) {
    WriteFile(ProjectFile(), Content);
    return PROJECT_Open(ProjectFile().c_str());
  }
  std::string ProjectFile() const { return Dir.file("a.korvane"); }
  // Saves the project and opens it again.
  int Reopen() {
    const std::string name = ProjectFile();
    return PROJECT_SaveAs(name.c_str()) == 0 ? PROJECT_Open(name.c_str()) : -1;
  }

  EngineScope Engine;
  SCRIPTED_FRONTEND& FrontEnd = Engine.FrontEnd;
  TempDir Dir;
  u32 NumChanged = 0;
  u32 NumDisconnects = 0;
  u32 Power = 0;
  u32 VTref = 0;

 private:
  inline static ProjectScope* s_pScope = nullptr;
  PROJECT_HOOKS m_SavedHooks;
  PROJFILE_HOOKS m_SavedStoreHooks;
};

// A copy of a block of the project, zero-filled and on the heap.
template <class BLOCK>
std::unique_ptr<BLOCK> GetBlock(void (*pfGet)(BLOCK*)) {
  auto pBlock = std::make_unique<BLOCK>();
  pfGet(pBlock.get());
  return pBlock;
}
