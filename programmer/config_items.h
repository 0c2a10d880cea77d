#pragma once

#include <span>

#include "programmer/dynbuffer.h"
#include "project/project.h"

// The items of the config file. Internal to this folder.

struct CONFIG_BLOCKS {
  PROJ_CPU Cpu;
  SPI_FLASH_INFO Flash;
  PROJ_PRODUCTION Production;
  PROJ_PERFORMANCE Performance;
};

// Appends all items in the order that programmers expect. 0, or -1 with the reason logged.
int ZELMONT_AppendItems(DYNBUFFER* pBuffer, const CONFIG_BLOCKS& blocks);
