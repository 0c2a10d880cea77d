#include <algorithm>
#include <cstring>
#include <memory>

#include "fuzz/entries.h"
#include "fuzz/promise.h"
#include "project/project_internal.h"
#include "project/project_keys.h"
#include "project/settings_text.h"
#include "tests/support/engine_scope.h"
#include "text/projfile.h"
#include "text/projfile_text.h"

// Project and settings files.

namespace {

constexpr const char* kSections[] = {"GENERAL", "CPU", "FLASH", "", "A]B"};
constexpr const char* kKeys[] = {"USBPort", "InitStep0_Action", "abID", "Zz", "A"};

// The text is kept byte for byte, and a written key is found without moving any other.
void CheckProjectText(const std::string& Text) {
  ProjText text;
  text.Parse(Text);
  Check(text.Format() == Text.substr(0, Text.find('\0')), "a text is kept as it is");
  for (const char* sSection : kSections) {
    for (const char* sKey : kKeys) {
      ProjText changed;
      changed.Parse(Text);
      const std::string line = std::string("  ") + sKey + " = 7";
      changed.WriteKey(sSection, sKey, line);
      if (std::strchr(sSection, ']') == nullptr) {
        Check(changed.FindKey(sSection, sKey, 0) == line + "\r\n", "a written key is found");
      }
      ProjText again;
      again.Parse(changed.Format());
      for (const char* sOther : kKeys) {
        const std::string found = again.FindKey("CPU", sOther, 0);
        Check(found == changed.FindKey("CPU", sOther, 0), "the index is that of the text");
        const bool isOther = sOther != sKey || std::strcmp(sSection, "CPU") != 0;
        const std::string old = text.FindKey("CPU", sOther, 0);
        // The last line may have got its end.
        Check(!isOther || old.empty() || found == old || found == old + "\r\n",
              "other keys stay as they are");
      }
    }
  }
}

void Blank(char* sText, std::size_t Size) {
  std::replace(sText, sText + Size, '\r', ' ');
  std::replace(sText, sText + Size, '\n', ' ');
}

void ClearUnsaved(std::vector<CUSTOM_STEP>& steps) {
  for (CUSTOM_STEP& step : steps) {
    Blank(step.acComment, sizeof(step.acComment));
    if (CUSTOM_IsByteStream(step.ActionIndex)) {
      std::fill(step.abData + step.Value0, std::end(step.abData), u8{0});
    }
  }
}

// What a file cannot keep: line breaks in texts, an ID that is read from the chip anyway,
// instructions that are not sent, bytes behind those of a step.
void ClearUnsaved(PROJECT_BLOCKS* pBlocks) {
  Blank(pBlocks->General.CurrentFile, sizeof(pBlocks->General.CurrentFile));
  Blank(pBlocks->General.HostName, sizeof(pBlocks->General.HostName));
  Blank(pBlocks->Production.SerialFile, sizeof(pBlocks->Production.SerialFile));
  Blank(pBlocks->Production.SNListFile, sizeof(pBlocks->Production.SNListFile));
  SPI_FLASH_INFO& flash = pBlocks->Flash;
  if (flash.AutoDetect != 0) {
    std::fill(std::begin(flash.abID), std::end(flash.abID), u8{0});
  }
  if (flash.SendInitCommands == 0) {
    flash.CmdInitPageProg = flash.CmdInitErase = 0;
  }
  ClearUnsaved(flash.aQuadEnableInitSteps);
  ClearUnsaved(pBlocks->Cpu.aInitSteps);
  ClearUnsaved(pBlocks->Cpu.aExitSteps);
}

void CheckLimits(PROJECT_KEYS keys, const void* pBlock) {
  for (const PROJECT_KEY& key : keys) {
    const u32 value = PROJECT_GetField(key, pBlock);
    Check(value >= key.Min && value <= key.Max, "values are within their limits");
  }
}

// The blocks by value: comparing must not see what the next load leaves.
std::unique_ptr<PROJECT_BLOCKS> Load(const std::string& Name) {
  Check(PROJFILE_Open(Name.c_str()) == 0, "a file opens");
  PROJECT_ReadBlocks();
  auto pBlocks = std::make_unique<PROJECT_BLOCKS>(PROJECT_Current());
  CheckLimits(PROJECT_GeneralKeys(), &pBlocks->General);
  CheckLimits(PROJECT_JtagKeys(), &pBlocks->Cpu);
  CheckLimits(PROJECT_ProductionKeys(), &pBlocks->Production);
  for (PROJECT_KEYS keys :
       {PROJECT_FlashKeys(), PROJECT_SpiKeys(), PROJECT_SpiAddrKeys(), PROJECT_QspiKeys()}) {
    CheckLimits(keys, &pBlocks->Flash);
  }
  return pBlocks;
}

std::string Save(const std::string& Name) {
  PROJECT_WriteBlocks();
  Check(PROJFILE_Save(Name.c_str()) == 0, "a project can be saved");
  return Name;
}

// What one look sees of a key: its value up to the line's end.
std::string GetValue(SettingsText* pText, const char* sSection, const char* sKey) {
  const char* sValue = pText->FindValue(sSection, sKey);
  return sValue != nullptr ? std::string("=") + std::string(sValue, std::strcspn(sValue, "\r\n"))
                           : "";
}

}  // namespace

int FUZZ_Project(const u8* pData, std::size_t NumBytes) {
  static const ScratchFolder scratch;
  CheckProjectText(std::string(AsText(pData, NumBytes)));
  const EngineScope engine;
  const std::string name = scratch.Write("read.korvane", AsText(pData, NumBytes));
  if (PROJFILE_Open(name.c_str()) != 0) {
    return 0;  // no text
  }
  const auto pRead = Load(name);
  const auto pSaved = Load(Save(scratch.GetName("saved.korvane")));
  const std::string text = scratch.Read("saved.korvane");
  ClearUnsaved(pRead.get());
  Check(*pRead == *pSaved, "what is saved is what was read");
  Save(scratch.GetName("again.korvane"));
  Check(scratch.Read("again.korvane") == text, "a second save changes nothing");
  PROJECT_Reset();
  return 0;
}

int FUZZ_Settings(const u8* pData, std::size_t NumBytes) {
  constexpr const char* sections[] = {"OPERATION", "PROJECT", "LOG"};
  constexpr const char* keys[] = {"AutoMode", "Auto", "Current", "X"};
  const std::string content(AsText(pData, NumBytes));
  SettingsText old;
  old.Assign(content);
  for (const char* sSection : sections) {
    for (const char* sKey : keys) {
      SettingsText text;
      text.Assign(content);
      text.WriteLine(sSection, sKey, std::string(sKey) + " = 2");
      for (const char* sOtherSection : sections) {
        for (const char* sOther : keys) {
          const bool isSame = sSection == sOtherSection && sKey == sOther;
          const std::string expected = isSame ? "== 2" : GetValue(&old, sOtherSection, sOther);
          Check(GetValue(&text, sOtherSection, sOther) == expected, "only the key changes");
        }
      }
      // The second write takes the empty lines behind the key, the third finds none.
      text.WriteLine(sSection, sKey, std::string(sKey) + " = 2");
      const std::string twice = text.Text();
      text.WriteLine(sSection, sKey, std::string(sKey) + " = 2");
      Check(text.Text() == twice, "writing again changes nothing");
    }
  }
  return 0;
}
