#include "image/file_types.h"

#include "image/datafile.h"
#include "sys/file.h"
#include "sys/path.h"
#include "sys/util_string.h"

namespace {

struct FILE_TYPE_ROW {
  APP_FILE_TYPE Type;
  FILE_FORMAT Format;
};

constexpr FILE_TYPE_ROW FILE_TYPES[] = {
    {{".korvane", "Korvane project files (*.korvane)", true}, FILE_FORMAT::Project},
    {{".mot", "Motorola S file (*.mot)", true}, FILE_FORMAT::MotorolaS},
    {{".srec", "Motorola S file (*.srec)", true}, FILE_FORMAT::MotorolaS},
    {{".s19", "Motorola S file (*.s19)", true}, FILE_FORMAT::MotorolaS},
    {{".s28", "Motorola S file (*.s28)", true}, FILE_FORMAT::MotorolaS},
    {{".s37", "Motorola S file (*.s37)", true}, FILE_FORMAT::MotorolaS},
    {{".s", "Motorola S file (*.s)", true}, FILE_FORMAT::MotorolaS},
    {{".hex", "Intel Hex file (*.hex)", true}, FILE_FORMAT::IntelHex},
    {{".mcs", "Intel MCS-86 Hex file (*.mcs)", true}, FILE_FORMAT::Mcs},
    {{".bin", "Binary file (*.bin)", true}, FILE_FORMAT::Binary},
    {{".raw", "Binary file (*.raw)", true}, FILE_FORMAT::Binary},
    {{".c", "ANSI \"C\" file (*.c)", false}, FILE_FORMAT::CSource},
    {{".elf", nullptr, true}, FILE_FORMAT::Elf},
    {{".axf", nullptr, true}, FILE_FORMAT::Elf},
    {{".out", nullptr, true}, FILE_FORMAT::Elf},
    {{".txt", "TI-TXT file (*.txt)", true}, FILE_FORMAT::TiTxt},
    {{"", nullptr, true}, FILE_FORMAT::ByContent},
};

const FILE_TYPE_ROW* FindRow(const char* sFileName) {
  char ext[SYS_MAX_PATH];
  SYS_PATH_GetExt(sFileName, ext, sizeof(ext));
  for (const FILE_TYPE_ROW& row : FILE_TYPES) {
    if (UTIL_stricmp(ext, row.Type.sExt) == 0) {
      return &row;
    }
  }
  return nullptr;
}

}  // namespace

bool FILE_FindFormat(const char* sFileName, FILE_FORMAT* pFormat) {
  const FILE_TYPE_ROW* row = FindRow(sFileName);
  if (row == nullptr) {
    return false;
  }
  *pFormat = row->Format;
  return true;
}

const APP_FILE_TYPE* APP_FindFileType(const char* sFileName) {
  const FILE_TYPE_ROW* row = FindRow(sFileName);
  return row != nullptr ? &row->Type : nullptr;
}

const char* APP_GetSaveFilter(const char* sFileName) {
  const APP_FILE_TYPE* type = APP_FindFileType(sFileName);
  return type != nullptr ? type->sFilter : nullptr;
}

bool APP_CanOpenExt(const char* sFileName) {
  const APP_FILE_TYPE* type = APP_FindFileType(sFileName);
  return type != nullptr && type->Openable;
}

bool DATAFILE_HasRange(const char* sFileName) {
  FILE_FORMAT format{};
  return FILE_FindFormat(sFileName, &format) &&
         (format == FILE_FORMAT::Binary || format == FILE_FORMAT::CSource);
}
