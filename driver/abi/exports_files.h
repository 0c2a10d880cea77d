#pragma once

#include "driver/abi/vortic.h"
#include "sys/types.h"

namespace vortic {

// The lookups that concern files; null for any other index.
VORTIC_FUNC FileFunctionAt(i32 index);

}  // namespace vortic
