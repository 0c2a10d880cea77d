#pragma once

#include <ctime>

#include "sys/time.h"

// The platform's broken-down time as a SYS_TIME. Internal to this layer.
SYS_TIME SysMakeTime(const tm& Parts, long Nanoseconds);
SYS_TIME SysToUtc(const timespec& Time);
