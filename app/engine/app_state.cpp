#include "app/engine/app_state.h"

#include "sys/util_format.h"

namespace {

constexpr u32 NAME_SIZE = 64;
constexpr const char* PRODUCT_NAME = "Korvane SPI";
constexpr const char* VENDOR_NAME = "TARVEX";

// The name strings are put together once, whichever thread asks first.
struct NameStrings {
  char acVersion[NAME_SIZE];
  char acTitle[NAME_SIZE];
  char acShortTitle[NAME_SIZE];
  char acRegistryRoot[NAME_SIZE];

  NameStrings() {
    UTIL_snprintf(acVersion, NAME_SIZE, "V%d.%.2d", APP_VERSION_MAJOR, APP_VERSION_MINOR);
    UTIL_snprintf(acShortTitle, NAME_SIZE, "%s %s", PRODUCT_NAME, acVersion);
    UTIL_snprintf(acTitle, NAME_SIZE, "%s %s", VENDOR_NAME, acShortTitle);
    UTIL_snprintf(acRegistryRoot, NAME_SIZE, "Software\\%s\\%s", VENDOR_NAME, PRODUCT_NAME);
  }
};

const NameStrings& Names() {
  static const NameStrings names;
  return names;
}

}  // namespace

APP_STATE& APP_State() {
  static APP_STATE state;
  return state;
}

void APP_ResetState() {
  APP_STATE& state = APP_State();
  state.ExitState = 0;
  state.ExitCode = 0;
  state.SuppressGUI = 0;
  state.IsEndAsked = false;
  state.ExitRequested = 0;
  state.OpenPrjGiven = 0;
  state.OpenDataGiven = 0;
  state.VisibilityForced = 0;
}

const char* APP_GetName() {
  return PRODUCT_NAME;
}

const char* APP_GetVersion() {
  return Names().acVersion;
}

const char* APP_GetTitle() {
  return Names().acTitle;
}

const char* APP_GetShortTitle() {
  return Names().acShortTitle;
}

const char* APP_GetRegistryRoot() {
  return Names().acRegistryRoot;
}
