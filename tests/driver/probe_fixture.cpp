#include "tests/driver/probe_fixture.h"

#include <stdlib.h>

#include <fstream>
#include <sstream>

#include "driver/core/text.h"

using vortic::Format;

std::vector<std::string> ProbeFixture::s_Errors;
std::vector<std::string> ProbeFixture::s_Log;

void ProbeFixture::SetUp() {
  std::string name = (std::filesystem::temp_directory_path() / "vortic-XXXXXX").string();
  ASSERT_NE(mkdtemp(name.data()), nullptr);
  m_Dir = name;
  ASSERT_EQ(setenv("VORTIC_CONFIG", Path("Vortic.ini").c_str(), 1), 0);
  s_Errors.clear();
  s_Log.clear();
  VORTICARM_SetErrorOutHandler([](const char* sText) { s_Errors.emplace_back(sText); });
  VORTICARM_SelectUSB(0);
}

void ProbeFixture::TearDown() {
  VORTICARM_Close();
  VORTICARM_SetLogFile(nullptr);
  VORTICARM_SetErrorOutHandler(nullptr);
  std::error_code error;
  std::filesystem::remove_all(m_Dir, error);
}

void ProbeFixture::WriteFile(const std::string& name, const std::string& text) const {
  std::ofstream file(Path(name), std::ios::binary);
  file << text;
  ASSERT_TRUE(file.good());
}

std::string ProbeFixture::ReadFile(const std::string& name) const {
  std::ifstream file(Path(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string ProbeFixture::TryOpen(const std::string& chip, const std::string& lines) {
  WriteFile("Vortic.ini", "[Probe0]\nBackend = sim\nChip = " + chip + "\n" + lines + "\n");
  const char* sError =
      VORTICARM_OpenEx(nullptr, [](const char* sText) { s_Log.emplace_back(sText); });
  return sError == nullptr ? "" : sError;
}

void ProbeFixture::Open(const std::string& chip, const std::string& lines) {
  ASSERT_EQ(TryOpen(chip, lines), "");
  VORTICARM_SetSpeed(8000);
}

std::string ProbeFixture::CloseFaults() {
  s_Log.clear();
  VORTICARM_Close();
  std::string all;
  for (const std::string& line : s_Log) {
    all += (all.empty() ? "" : "; ") + line.substr(line.find(": ") + 2);
  }
  return all;
}

void ProbeFixture::WaitReady(u8 cmd) {
  const u8 mask = cmd == 0x05 ? 0x01 : 0x80;
  const u8 expected = cmd == 0x05 ? 0x00 : 0x80;
  for (m_NumPolls = 1; m_NumPolls < 1000; ++m_NumPolls) {
    u8 status = 0;
    VORTIC_SPI_Transfer(&cmd, nullptr, 8, VORTIC_SPI_CS_ACTIVE);
    VORTIC_SPI_Transfer(nullptr, &status, 8, VORTIC_SPI_CS_INACTIVE);
    if ((status & mask) == expected) {
      return;
    }
  }
}

std::string ProbeFixture::RunFrame(const std::string& frame) {
  std::string shown;
  std::istringstream parts(frame);
  VORTICARM_ClrTMS();
  for (std::string part; parts >> part;) {
    u32 lanes = 0;
    if (part[0] == 'q') {
      lanes = VORTIC_SPI_LANES_QUAD | VORTIC_SPI_DATA_QUAD;
      part.erase(0, 1);
    }
    std::vector<u8> data(64, 0);
    if (part[0] == 'd' || part[0] == 'b') {
      VORTIC_SPI_Transfer(data.data(), nullptr, static_cast<u32>(std::stoul(part.substr(1))),
                          part[0] == 'd' ? VORTIC_SPI_LANES_SINGLE | VORTIC_SPI_DUMMY : 0);
    } else if (part[0] == '>') {
      data.resize(std::stoul(part.substr(1)));
      VORTIC_SPI_Transfer(nullptr, data.data(), static_cast<u32>(data.size()) * 8, lanes);
      for (u8 byte : data) {
        shown += Format("%02X", byte);
      }
    } else {
      data.clear();
      for (std::size_t i = 0; i + 1 < part.size(); i += 2) {
        data.push_back(static_cast<u8>(std::stoul(part.substr(i, 2), nullptr, 16)));
      }
      VORTIC_SPI_Transfer(data.data(), nullptr, static_cast<u32>(data.size()) * 8, lanes);
    }
  }
  VORTICARM_SetTMS();
  return shown;
}

std::string ProbeFixture::Run(const std::string& frames) {
  std::string shown;
  std::istringstream stream(frames);
  for (std::string frame; std::getline(stream, frame, '|');) {
    const std::string_view text = vortic::Trim(frame);
    if (text.starts_with('~')) {
      WaitReady(static_cast<u8>(std::stoul(std::string(text.substr(1)), nullptr, 16)));
    } else {
      shown += RunFrame(frame);
    }
  }
  return shown;
}

u64 ProbeFixture::Figure(const std::string& name) const {
  char text[256] = "";
  EXPECT_EQ(VORTICARM_ExecCommand("SimGetStats", text, sizeof(text)), 0);
  const std::string all = std::string(" ") + text;
  const std::size_t at = all.find(" " + name + "=");
  EXPECT_NE(at, std::string::npos) << name;
  return at == std::string::npos ? 0 : std::stoull(all.substr(at + name.size() + 2));
}
