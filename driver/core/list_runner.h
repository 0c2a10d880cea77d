#pragma once

#include <span>
#include <string>

#include "driver/abi/vortic.h"
#include "driver/core/bus.h"

namespace vortic {

// Runs the records of a list in one go. Malformed records are refused before anything reaches the
// bus: then the result is negative and pError says why. A record that fails on the bus has a
// negative Result, as all behind it, which are not run; the list itself has been run.
// Malformed is what can be seen without touching the client's data: type, flags, length, missing
// poll parameters. Buffers can't be checked.
int RunList(Bus& bus, std::span<VORTIC_SPI_CMD> list, std::string* pError);

}  // namespace vortic
