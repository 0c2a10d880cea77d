#include "tests/image/elf_builder.h"

#include <stdexcept>

namespace {

class Writer {
 public:
  Writer(bool isElf64, bool isBigEndian) : m_IsElf64(isElf64), m_IsBigEndian(isBigEndian) {}
  void Put(u64 value, u32 numBytes) {
    for (u32 i = 0; i < numBytes; ++i) {
      Text += static_cast<char>(value >> 8 * (m_IsBigEndian ? numBytes - 1 - i : i));
    }
  }
  void Native(u64 value) { Put(value, m_IsElf64 ? 8 : 4); }
  std::string Text;

 private:
  bool m_IsElf64;
  bool m_IsBigEndian;
};

struct FIELD {
  const char* sName;
  u32 NumBytes;  // 0: 4 or 8 by the class
};

constexpr FIELD FIELDS[] = {
    {"class", 1},       {"data", 1},      {"ident", 1},      {"pad", 8},         {"pad", 1},
    {"e_type", 2},      {"e_machine", 2}, {"e_version", 4},  {"e_entry", 0},     {"e_phoff", 0},
    {"e_shoff", 0},     {"e_flags", 4},   {"e_ehsize", 2},   {"e_phentsize", 2}, {"e_phnum", 2},
    {"e_shentsize", 2}, {"e_shnum", 2},   {"e_shstrndx", 2},
};

std::string MakeHeader(bool isElf64, bool isBig, const std::vector<ELF_TEST_FIELD>& fields) {
  Writer out(isElf64, isBig);
  out.Text =
      "\x7F"
      "ELF";
  for (const FIELD& field : FIELDS) {
    u64 value = 0;
    for (const ELF_TEST_FIELD& set : fields) {
      value = set.Name == field.sName ? set.Value : value;
    }
    field.NumBytes != 0 ? out.Put(value, field.NumBytes) : out.Native(value);
  }
  return out.Text;
}

void PutSection(Writer& out, const ELF_TEST_SECTION& s, u64 name, u64 offset) {
  out.Put(name, 4);
  out.Put(s.Type, 4);
  for (const u64 value : {s.Flags, s.Addr, offset, u64{s.Data.size()}}) {
    out.Native(value);
  }
  out.Put(0, 8);
  out.Native(0);
  out.Native(s.EntrySize);
}

std::string MakeSegments(bool isElf64, bool isBig, const std::vector<ELF_TEST_SEGMENT>& segments) {
  Writer out(isElf64, isBig);
  for (const ELF_TEST_SEGMENT& s : segments) {
    out.Put(1, isElf64 ? 8 : 4);
    for (const u64 value : {u64{0}, s.VAddr, s.PAddr, s.FileSize, s.MemSize}) {
      out.Native(value);
    }
    isElf64 ? out.Native(0) : out.Put(0, 8);
  }
  return out.Text;
}

}  // namespace

std::string MakeElf(bool IsElf64, const std::vector<ELF_TEST_SECTION>& Sections,
                    const std::vector<ELF_TEST_SEGMENT>& Segments,
                    const std::vector<ELF_TEST_FIELD>& Fields) {
  const bool isBig = !Fields.empty() && Fields[0].Name == "data" && Fields[0].Value == 2;
  const u64 headerSize = IsElf64 ? 64 : 52;
  std::string body = MakeSegments(IsElf64, isBig, Segments);
  Writer table(IsElf64, isBig);
  std::string names(1, '\0');
  PutSection(table, {"", 0, "", 0, 0}, 0, 0);
  std::vector<ELF_TEST_SECTION> all = Sections;
  all.push_back({".shstrtab", 0, "", 3, 0});
  for (ELF_TEST_SECTION& section : all) {
    const u64 name = names.size();
    names += section.Name + '\0';
    section.Data = section.Type == 3 && section.Data.empty() ? names : section.Data;
    body += section.IsApart ? "--gap--" : "";
    PutSection(table, section, name, headerSize + body.size());
    body += section.Type != 8 ? section.Data : "";
  }
  std::vector<ELF_TEST_FIELD> fields = {{"class", IsElf64 ? 2U : 1U},
                                        {"data", 1},
                                        {"ident", 1},
                                        {"e_type", 2},
                                        {"e_version", 1},
                                        {"e_phoff", Segments.empty() ? 0 : headerSize},
                                        {"e_phentsize", IsElf64 ? 56U : 32U},
                                        {"e_phnum", Segments.size()},
                                        {"e_shoff", headerSize + body.size()},
                                        {"e_shentsize", IsElf64 ? 64U : 40U},
                                        {"e_shnum", all.size() + 1},
                                        {"e_shstrndx", all.size()}};
  fields.insert(fields.end(), Fields.begin(), Fields.end());
  return MakeHeader(IsElf64, isBig, fields) + body + table.Text;
}
