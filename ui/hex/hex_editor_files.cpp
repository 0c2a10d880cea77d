// Fill, Load and Save of the hex editor.
#include <algorithm>
#include <cstring>

#include "image/datafile.h"
#include "sys/file.h"
#include "ui/common/own_dialog.h"
#include "ui/common/qt_helper.h"
#include "ui/hex/addr_history.h"
#include "ui/hex/hex_copy.h"
#include "ui/hex/hex_editor.h"
#include "ui/hex/hex_view.h"
#include "ui/hex/mem_write.h"
#include "ui/hex/memory_dialog.h"

namespace {

constexpr u32 ERROR_SIZE = 256;

// Closes its file with the last copy of the write that reads from it.
class InputFile {
 public:
  explicit InputFile(const QString& sFile) {
    char acName[SYS_MAX_PATH];
    QTHelper_ToLocal8Bit(sFile, acName, sizeof(acName));
    m_Handle = SYS_FILE_Open(acName, SYS_FILE_READ | SYS_FILE_SHARE_READ);
  }
  ~InputFile() {
    if (IsOpen()) {
      SYS_FILE_Close(m_Handle);
    }
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  bool IsOpen() const { return m_Handle != SYS_INVALID_FILE; }
  // A file that shrank meanwhile ends the write.
  bool Read(u64 offset, std::span<u8> buffer) const {
    return SYS_FILE_Seek(m_Handle, static_cast<i64>(offset), 0) == static_cast<i64>(offset) &&
           SYS_FILE_Read(m_Handle, buffer.data(), buffer.size()) == static_cast<i64>(buffer.size());
  }

 private:
  SYS_HANDLE m_Handle;
};

enum class WRITER { None, Motorola, Hex, Binary, CSource };

// Fewer than the dialog offers: the others are refused by name.
WRITER FindWriter(const QString& sSuffix) {
  static const struct {
    const char* sExt;
    WRITER Writer;
  } ROWS[] = {
      {"mot", WRITER::Motorola}, {"srec", WRITER::Motorola}, {"s19", WRITER::Motorola},
      {"s28", WRITER::Motorola}, {"s37", WRITER::Motorola},  {"s", WRITER::Motorola},
      {"hex", WRITER::Hex},      {"bin", WRITER::Binary},    {"raw", WRITER::Binary},
      {"c", WRITER::CSource},
  };
  for (const auto& row : ROWS) {
    if (sSuffix.compare(QLatin1String(row.sExt), Qt::CaseInsensitive) == 0) {
      return row.Writer;
    }
  }
  return WRITER::None;
}

// Keeps the first error's words.
void KeepError(void* pContext, int Level, const char* pText) {
  auto* psError = static_cast<std::string*>(pContext);
  if (Level == FILE_REPORT_ERROR && psError->empty()) {
    *psError = std::string(pText).substr(0, ERROR_SIZE - 1);
  }
}

int RunWriter(WRITER writer, MEMAREA* pArea, const char* sName, u64 first, u64 last,
              std::string* psError) {
  switch (writer) {
    case WRITER::Motorola:
      return MEMAREA_SaveMot(pArea, sName, KeepError, psError);
    case WRITER::Hex:
      return MEMAREA_SaveHex(pArea, sName, KeepError, psError);
    case WRITER::Binary:
      return MEMAREA_SaveBin(pArea, sName, first, last, KeepError, psError);
    default:
      return MEMAREA_SaveC(pArea, sName, first, last, KeepError, psError);
  }
}

// The selection, or what is on the screen.
void ProposeRange(CMemDialog* pDialog, const HexView& view) {
  if (view.GetSelLen() != 0) {
    pDialog->SetRange(view.GetSelFirst(), view.GetSelLen());
  } else {
    pDialog->SetRange(view.GetBaseAddr(), view.GetCache().GetNumBytes());
  }
}

}  // namespace

// No buffer of the whole range is made: a size typed wrong would be one of many gigabytes. The
// range is checked before the first byte goes out.
void CHexEditor::OnActionFillTriggered() {
  OWN_DIALOG<CMemDialog> dialog(this, MEM_DIALOG_FILL, QString());
  ProposeRange(dialog.Get(), *m_pView);
  if (m_IsReadOnly || !dialog.Exec() || m_IsReadOnly || dialog->GetNumBytes() == 0) {
    return;  // a job may have made it read only meanwhile
  }
  const u8 value = static_cast<u8>(HEX_ParseField(dialog->GetGenericValue().toStdString()) & 0xFF);
  OnEditUpdateTimerTimeout();
  m_pWriteQueue->Add(dialog->GetAddr(), dialog->GetNumBytes(), [value](u64, std::span<u8> buffer) {
    std::fill(buffer.begin(), buffer.end(), value);
    return true;
  });
  RunWrites();
}

// Raw bytes, whatever the file's type is. The file is read piece by piece while it is written.
void CHexEditor::OnActionLoadTriggered() {
  OWN_DIALOG<CMemDialog> dialog(this, MEM_DIALOG_LOAD, m_sLastLoadFile);
  dialog->SetRange(GetEditAddr(), dialog->GetNumBytes());
  if (m_IsReadOnly || !dialog.Exec() || m_IsReadOnly) {
    return;
  }
  m_sLastLoadFile = dialog->GetGenericValue();
  auto pFile = std::make_shared<InputFile>(m_sLastLoadFile);
  if (!pFile->IsOpen()) {
    m_pView->GetSource().Report("Could not open file for reading", true);
    return;
  }
  if (dialog->GetNumBytes() == 0) {
    return;
  }
  OnEditUpdateTimerTimeout();
  m_pWriteQueue->Add(
      dialog->GetAddr(), dialog->GetNumBytes(),
      [pFile](u64 offset, std::span<u8> buffer) { return pFile->Read(offset, buffer); });
  RunWrites();
}

void CHexEditor::OnActionSaveTriggered() {
  OWN_DIALOG<CMemDialog> dialog(this, MEM_DIALOG_SAVE, m_sLastSaveFile);
  ProposeRange(dialog.Get(), *m_pView);
  if (!dialog.Exec()) {
    return;
  }
  const QString sFile = dialog->GetGenericValue();
  if (!sFile.isEmpty()) {
    m_sLastSaveFile = sFile;
  }
  SaveRange(sFile, dialog->GetAddr(), dialog->GetNumBytes());
}

// By way of an area of its own, so that the file's writers can be used as they are. Bytes that
// can't be read are 0 in the file.
void CHexEditor::SaveRange(const QString& sFile, u64 Addr, u64 NumBytes) {
  MemSource& source = m_pView->GetSource();
  const MEMAREA_PTR pArea(MEMAREA_Create());
  std::vector<u8> bytes;
  std::vector<u8> state;
  bool isRoom = pArea != nullptr && NumBytes <= HEX_ADDR_LIMIT;
  try {
    bytes.assign(isRoom ? NumBytes : 0, 0);
    state.assign(isRoom ? NumBytes : 0, MEM_STATE_UNREAD);
  } catch (const std::bad_alloc&) {
    isRoom = false;
  }
  if (!isRoom) {
    source.Report("Could not create memory area to save data to file.", true);
    return;
  }
  if (NumBytes == 0) {
    return;
  }
  const MEM_RESULT result =
      source.Read(Addr, NumBytes, m_pView->GetGeometry().BytesPerRow, bytes.data(), state.data());
  if (result == MEM_RESULT::Busy) {
    source.Report("Failed to read target memory", true);  // only a failure tells by itself
  }
  if (result != MEM_RESULT::Done ||
      MEMAREA_AddRange(pArea.get(), Addr, NumBytes, bytes.data()) < 0) {
    return;
  }
  const QFileInfo info(sFile);
  const WRITER writer = FindWriter(info.suffix());
  if (writer == WRITER::None) {
    const QString sExt = info.fileName().contains('.') ? "." + info.suffix() : QString();
    source.Report("Unsupported file type (*" + sExt.toStdString() + ")", true);
    return;
  }
  char acName[SYS_MAX_PATH];
  QTHelper_ToLocal8Bit(sFile, acName, sizeof(acName));
  std::string error;
  if (RunWriter(writer, pArea.get(), acName, Addr, Addr + NumBytes - 1, &error) < 0) {
    source.Report(error.empty() ? "Failed to save data to file." : error, true);
  }
}
