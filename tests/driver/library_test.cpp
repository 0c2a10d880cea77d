#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

constexpr const char* kNames[] = {
    "VORTICARM_SelectUSB",
    "VORTICARM_EMU_SelectByUSBSN",
    "VORTIC_EMU_SelectByUSBNickname",
    "VORTICARM_SelectIP",
    "VORTICARM_OpenEx",
    "VORTICARM_Close",
    "VORTICARM_SetErrorOutHandler",
    "VORTICARM_SetLogFile",
    "VORTICARM_EMU_GetProductId",
    "VORTICARM_GetSN",
    "VORTIC_GetHardwareVersion",
    "VORTICARM_EMU_HasCapEx",
    "VORTICARM_GetDLLVersion",
    "VORTICARM_GetCompileDateTime",
    "VORTICARM_ReadEmuConfigMem",
    "VORTICARM_TIF_GetAvailable",
    "VORTICARM_TIF_Select",
    "VORTICARM_SetSpeed",
    "VORTICARM_GetSpeed",
    "VORTICARM_GetHWStatus",
    "VORTICARM_ExecCommand",
    "VORTICARM_ClrRESET",
    "VORTICARM_SetRESET",
    "VORTICARM_ClrTMS",
    "VORTICARM_SetTMS",
    "VORTIC_SPI_Transfer",
    "VORTICARM_EMU_FILE_Write",
    "VORTICARM_EMU_FILE_Read",
    "VORTICARM_EMU_FILE_GetSize",
    "VORTICARM_EMU_FILE_Delete",
    "VORTIC_GetpFunc",
};

struct CloseLibrary {
  void operator()(void* pLibrary) const { dlclose(pLibrary); }
};

TEST(LibraryTest, ExportsItsCallsAndNothingElse) {
  const std::unique_ptr<void, CloseLibrary> library(
      dlopen(KORVANE_DRIVER_FILE, RTLD_NOW | RTLD_LOCAL));
  ASSERT_NE(library, nullptr) << dlerror();
  for (const char* sName : kNames) {
    EXPECT_NE(dlsym(library.get(), sName), nullptr) << sName;
  }
  // Names with external linkage inside that must stay there.
  for (const char* sName : {"FLASH_GetDeviceRow", "SPI_StripIdBytes", "_ZN6vortic7Session3GetEv",
                            "_ZN6vortic11MakeBackendERKNS_11ProbeConfigERNS_8ReporterE"}) {
    EXPECT_EQ(dlsym(library.get(), sName), nullptr) << sName;
  }
}

}  // namespace
