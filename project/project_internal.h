#pragma once

#include "project/project.h"

// What the files of the project module share.

// The five blocks. Two sets exist: the one in force, and a staging area that reader and defaults
// fill and then hand to the setters, so that loading goes the way of every other change.
struct PROJECT_BLOCKS {
  bool operator==(const PROJECT_BLOCKS&) const = default;

  PROJ_GENERAL General;
  PROJ_CPU Cpu;
  SPI_FLASH_INFO Flash;
  PROJ_PRODUCTION Production;
  PROJ_PERFORMANCE Performance;
};

// Closed; open with 0 modifications; open and modified. Whether it is open is asked of the text
// store, which holds name and text.
struct PROJECT_STATE {
  u32 NumModifications;  // since load or save
  u8 HasFileName;        // the project has a file on disk
  u8 IsLoading;          // changes are counted, but shown only once it is done
  u8 IsShutDown;
};

PROJECT_STATE& PROJECT_State();
// The blocks in force.
PROJECT_BLOCKS& PROJECT_Current();
// What reader and defaults fill, cleared by this call.
PROJECT_BLOCKS& PROJECT_ClearStaging();
// 0, or -1 after telling the user that no project is open.
int PROJECT_CheckOpen();
void PROJECT_CountModification();

// How a project of that file name stores a data file of this absolute name.
std::string PROJECT_MakeStoredName(const std::string& FullName, const char* sProject);

// Values of a new project.
void PROJECT_ApplyDefaults();
// From and to the text store.
void PROJECT_ReadBlocks();
void PROJECT_WriteBlocks();
