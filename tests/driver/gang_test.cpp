#include "tests/driver/probe_fixture.h"

namespace {

constexpr const char* kGang =
    "ProductId = 30\nModules = 3\nDeadModules = 2\nFileSystem = fs\nImageFile = chip.bin\n"
    "Nickname = Gang\n[Probe1]\nBackend = sim\nChip = W25Q128FV";

class GangTest : public ProbeFixture {
 protected:
  // The text of the failed command, or "".
  static std::string Select(u32 module) {
    char text[128] = "";
    const std::string command = "SelectModule = " + std::to_string(module);
    const bool isDone = VORTICARM_ExecCommand(command.c_str(), text, sizeof(text)) >= 0;
    EXPECT_EQ(isDone, text[0] == '\0');
    return text;
  }
  void TearDown() override {
    VORTICARM_Close();
    EXPECT_EQ(Select(0), "");  // the choice outlives probes
    ProbeFixture::TearDown();
  }
};

TEST_F(GangTest, EachModuleHasFilesAndAChipOfItsOwn) {
  for (u32 module : {1u, 3u}) {
    ASSERT_EQ(TryOpen("AT25080", kGang), "");
    VORTICARM_Close();
    EXPECT_EQ(Select(module), "");
    VORTICARM_SelectUSB(0);  // as a client does before each opening
    ASSERT_EQ(TryOpen("AT25080", kGang), "");
    EXPECT_EQ(s_Log.back(), "*** SIMULATED PROBE S/N 0 (Gang): no hardware is programmed. Module " +
                                std::to_string(module) + ", chip AT25080, image chip.bin." +
                                std::to_string(module) + " ***");
    EXPECT_EQ(VORTICARM_EMU_GetProductId(), 30);
    u8 name[4] = {};
    EXPECT_EQ(VORTICARM_ReadEmuConfigMem(name, 80, 4), 0);
    EXPECT_EQ(name[3], 'g');
    const u8 data = static_cast<u8>('0' + module);
    EXPECT_EQ(VORTICARM_EMU_FILE_Write("A", &data, 0, 1), 1);
    Run("06 | 02 0000 0" + std::to_string(module) + " | ~05");
    VORTICARM_Close();
  }
  EXPECT_EQ(ReadFile("fs/module1/A"), "1");
  EXPECT_EQ(ReadFile("fs/module3/A"), "3");
  EXPECT_EQ(ReadFile("chip.bin.1")[0], 1);
  EXPECT_EQ(ReadFile("chip.bin.3")[0], 3);
}

TEST_F(GangTest, TheHubHasFilesAndNoTarget) {
  ASSERT_EQ(TryOpen("W25Q128FV", kGang), "");
  EXPECT_EQ(s_Log.back(),
            "*** SIMULATED PROBE S/N 0 (Gang): no hardware is programmed. Hub of a gang programmer "
            "with 3 modules ***");
  u32 mask = 1;
  EXPECT_EQ(VORTICARM_TIF_GetAvailable(&mask), 0);
  EXPECT_EQ(mask, 0u);
  VORTICARM_ExecCommand("SupplyPower = 1", nullptr, 0);
  VORTIC_HW_STATUS status;
  ASSERT_EQ(VORTICARM_GetHWStatus(&status), 0);
  EXPECT_EQ(status.VTarget, 0);
  EXPECT_EQ(Run("9F >2"), "FFFF");
  EXPECT_EQ(VORTICARM_EMU_FILE_Write("A", nullptr, 1, 0), 0);
  EXPECT_EQ(ReadFile("fs/module0/A").size(), 1u);
  EXPECT_FALSE(std::filesystem::exists(Path("chip.bin")));
}

TEST_F(GangTest, RefusesModulesThatAreNotThere) {
  ASSERT_EQ(TryOpen("AT25080", kGang), "");
  VORTICARM_Close();
  EXPECT_EQ(Select(4), "The gang programmer has modules 1 to 3, not 4.");
  EXPECT_EQ(Select(2), "");
  EXPECT_EQ(TryOpen("AT25080", kGang), "Module 2 of the gang programmer does not answer.");
  EXPECT_EQ(Select(3), "");
  EXPECT_EQ(TryOpen("AT25080", "ProductId = 30\nModules = 2"),
            "The probe has no module 3 any more.");
  ASSERT_EQ(TryOpen("AT25080", kGang), "");
  EXPECT_EQ(Select(1), "A probe is open. Close it before selecting a module.");
  VORTICARM_Close();
  VORTICARM_SelectUSB(1);
  EXPECT_EQ(Select(1), "The probe is no gang programmer and has no modules.");
  ASSERT_EQ(TryOpen("AT25080", kGang), "");  // the choice was for the other probe
  EXPECT_EQ(Run("9F >2"), "EF40");
}

}  // namespace
