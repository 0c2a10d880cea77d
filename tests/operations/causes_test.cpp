// Each cause of the enumeration, from a command line, a file, a probe or a chip that has it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <set>

#include "app/engine/log.h"
#include "app/operations/cmdline.h"
#include "flash/connect.h"
#include "project/project.h"
#include "tests/operations/core_scope.h"
#include "tests/support/fake_time.h"

namespace {

constexpr char kHex[] = ":0400100001020304E2\n:00000001FF\n";

// Runs the words and gathers the causes of all errors, section by section.
void RunWords(std::vector<std::string> words, std::set<APP_CAUSE>* pSeen) {
  for (std::string& word : words) {
    std::string name = "korvane";
    char* argv[] = {name.data(), word.data()};
    APP_ForgetErrors();
    static_cast<void>(CMDLINE_Parse(2, argv, CMDLINE_PASS_EXECUTE));
    pSeen->insert(APP_GetRunCause());
    for (const APP_ERROR& error : APP_GetOutcome().Errors) {
      pSeen->insert(error.Cause);
    }
  }
}

struct ROW {
  APP_CAUSE Cause;
  std::map<std::string, std::string> Probe;
  std::string Flash;  // of the project
  std::vector<std::string> Words;
};

TEST(Causes, EachIsGivenWhereItBelongs) {
  const std::string byHand =
      "AutoDetect = 0\nNumPages = 0x800\nPageSizeShift = 8\nSectorSizeShift = 16\n"
      "abID[3] = 0x1F,0x84,0x01\n";
  const std::vector<std::string> read = {"-readrange0,FF"};
  const std::vector<ROW> rows = {
      {APP_CAUSE::Usage, {}, "", {"-readrangexyz"}},
      {APP_CAUSE::FileNotFound, {}, "", {"-opennone.hex"}},
      {APP_CAUSE::FileNotRead, {}, "", {"-openzero.bin"}},
      {APP_CAUSE::FileDamaged, {}, "", {"-openbad.hex"}},
      {APP_CAUSE::FileNotWritten, {}, "", {"-opena.hex", "-saveasfolder.bin"}},
      {APP_CAUSE::Project,
       {{"Chip", "AT25SF041"}},
       "AutoDetect = 0\nNumPages = 0\nabID[3] = 0x1F,0x84,0x01\n",
       {"-erasesectors"}},
      {APP_CAUSE::NoProbe, {{"Interfaces", "14"}}, "", read},
      {APP_CAUSE::ProbeBusy, {{"ImageFile", "held.bin"}}, "", read},
      {APP_CAUSE::NoTargetVoltage, {{"TargetMilliVolts", "900"}}, "", read},
      {APP_CAUSE::NoChip, {{"Fault", "id=FF FF FF"}}, "", read},
      {APP_CAUSE::WrongChip, {}, byHand, read},
      {APP_CAUSE::UnknownChip, {{"Fault", "id=12 34 56"}}, "", read},
      {APP_CAUSE::Protected,
       {{"Chip", "AT25SF041"}, {"StatusRegister", "0x1C"}},
       byHand + "[SPI]\nStatusRegFormat = 9\n",
       {"-erasesectors"}},
      {APP_CAUSE::DoesNotFit, {{"Chip", "AT25SF041"}}, "", {"-readrange0,FFFFFF"}},
      {APP_CAUSE::NoData, {}, "", {"-program"}},
      {APP_CAUSE::NotBlank, {{"Fault", "flip=0x10:3"}}, "", {"-opena.hex", "-erasechip"}},
      {APP_CAUSE::EraseFailed, {{"Fault", "busy=forever@30"}}, "", {"-erasesectors"}},
      {APP_CAUSE::ProgramFailed, {{"Fault", "busy=forever@26"}}, "", {"-opena.hex", "-program"}},
      {APP_CAUSE::ReadFailed, {{"Fault", "disconnect@25"}}, "", read},
      {APP_CAUSE::VerifyDiffers, {}, "", {"-opena.hex", "-verify"}},
      {APP_CAUSE::Timeout,
       {{"Fault", "busy=forever@20"}, {"DisableFunctions", "45,72"}},
       "",
       {"-erasesectors"}},
      {APP_CAUSE::LinkLost, {{"Fault", "disconnect@25"}}, "", {"-opena.hex", "-verify"}},
      {APP_CAUSE::DriverLibrary, {{"Fault", "disconnect@16"}}, "", read},
  };
  const FakeTime time(1000000);
  std::set<APP_CAUSE> all;
  for (const ROW& row : rows) {
    SCOPED_TRACE(APP_GetCauseName(row.Cause));
    CORE_SCOPE core;
    std::filesystem::current_path(core.Path(""));
    WriteFile(core.Path("a.hex"), kHex);
    WriteFile(core.Path("bad.hex"), ":0400100001020304E3\n");
    std::filesystem::create_directory(core.Path("folder.bin"));
    std::filesystem::create_symlink("/dev/zero", core.Path("zero.bin"));
    WriteFile(core.Path("held.bin"), std::string(0x1000000, '\xFF'));
    const int held = open(core.Path("held.bin").c_str(), O_RDWR);
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    ASSERT_EQ(fcntl(held, F_OFD_SETLK, &lock), 0);
    if (row.Cause == APP_CAUSE::Protected) {
      WriteFile(core.Path("chip.bin"), std::string(0x80000, '\0'));  // what can't be erased
    }
    WriteFile(core.Path("p.korvane"),
              "[GENERAL]\nUSBPort = 0\n[FLASH]\n" + row.Flash +
                  "[PRODUCTION]\nOverrideTimeouts = 1\nTimeoutEraseSect = 50\n"
                  "TimeoutEraseChip = 500\nTimeoutProgPage = 50\nTimeoutVerify = 50\n");
    core.SetProbe(row.Probe);
    ASSERT_EQ(PROJECT_Open(core.Path("p.korvane").c_str()), 0);
    std::set<APP_CAUSE> seen;
    RunWords(row.Words, &seen);
    EXPECT_TRUE(seen.contains(row.Cause)) << core.FrontEnd().GetLog();
    all.merge(seen);
    FLASH_Disconnect();
    close(held);
  }
  // What no command line reaches by itself.
  CORE_SCOPE core;
  APP_ForgetErrors();
  core.FrontEnd().CancelOnText("Sector 2 of");
  core.SetProbe({});
  ASSERT_EQ(PROJECT_New(nullptr), 0);
  RunWords({"-erasesectors"}, &all);
  WriteFile(core.Path("p_Serial.txt"), "no number");
  ASSERT_EQ(PROJECT_SaveAs(core.Path("p.korvane").c_str()), 0);
  PROJ_PRODUCTION production{};
  PROJECT_GetProduction(&production);
  production.ProgramSN = 1;
  production.SNLen = 4;
  PROJECT_SetProduction(&production);
  WriteFile(core.Path("a.hex"), kHex);
  RunWords({"-open" + core.Path("a.hex"), "-auto", "-download"}, &all);
  for (const APP_CAUSE cause :
       {APP_CAUSE::Canceled, APP_CAUSE::SerialNumber, APP_CAUSE::Programmer}) {
    EXPECT_TRUE(all.contains(cause)) << APP_GetCauseName(cause);
  }
}

}  // namespace
