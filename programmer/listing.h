#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "driver/abi/vortic.h"
#include "sys/types.h"

// Folder listings of a programmer. Nothing in one can be trusted: neither the count, nor that a
// name ends within its field, nor that it is a name at all.

// As the driver library fills it: 276 bytes, little-endian.
//
//     0  256  acName, ended by NUL
//   256    4  Size in bytes
//   260    4  Attributes; bit 0: a folder
//   264   12  Year, Month, Day, Hour, Minute, Second, 16 bits each and any value in them
using ZELMONT_DIR_ENTRY = VORTIC_DIR_ENTRY;
static_assert(sizeof(ZELMONT_DIR_ENTRY) == 276, "layout of the driver library's interface");

constexpr u32 ZELMONT_FIRST_ENTRIES = 16;  // a folder's listing is asked for with room for these

struct ZELMONT_LISTING {
  // Every name is one that ZELMONT_IsFileName takes, with zeros behind it up to the field's end.
  std::vector<ZELMONT_DIR_ENTRY> Entries;
  // Names that none of the two file systems takes: all counted, as many named (each printable and
  // quoted, separated by commas) as a log line has room for.
  u32 NumRefused = 0;
  std::string Refused;
};

// Takes the listing apart that the library left in Raw when it answered Count, which may be
// negative or more than there is room for. Looks at whole records within Raw only; memory and time
// grow with those alone. The folder itself and the one above it ("." and "..") are left out.
// No state, any thread.
void ZELMONT_ParseListing(std::span<const u8> Raw, i32 Count, ZELMONT_LISTING* pListing);
// Adds one name to those that are refused.
void ZELMONT_RefuseName(std::string_view Name, ZELMONT_LISTING* pListing);
// Adds what another listing has refused.
void ZELMONT_MergeRefused(const ZELMONT_LISTING& From, ZELMONT_LISTING* pTo);

// Asks the open programmer for a folder, with room for Capacity entries. The number of entries that
// the folder is said to have, perhaps more than fit; negative failed. Reports nothing. Application
// thread.
i32 ZELMONT_ReadListing(const std::string& DevicePath, u32 Capacity, ZELMONT_LISTING* pListing);
