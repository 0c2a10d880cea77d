#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <random>

#include "bench/bench.h"
#include "image/access_table.h"
#include "image/crc.h"
#include "image/datafile.h"
#include "image/memarea.h"

namespace {

namespace fs = std::filesystem;

constexpr u64 IMAGE_SIZE = u64{64} << 20;
constexpr u32 NUM_PIECES = 1000000;
constexpr u64 PIECE_SIZE = 32;
constexpr int NUM_RUNS = 3;
// Peak memory: one and a half times the data and 30 MB.
constexpr double MAX_PEAK = 1.5 * 64 + 30;

std::vector<u8> MakeData(u64 NumBytes) {
  std::mt19937_64 random(1);
  std::vector<u8> data(NumBytes);
  std::generate(data.begin(), data.end(), [&random] { return static_cast<u8>(random()); });
  return data;
}

void ReportError(void*, int Level, const char* sText) {
  if (Level == FILE_REPORT_ERROR) {
    std::fprintf(stderr, "%s\n", sText);
  }
}

template <class Fn>
double Measure(Fn&& fn) {
  const double start = BENCH_GetCpuSeconds();
  fn();
  return BENCH_GetCpuSeconds() - start;
}

// Removes the directory of the data files at the end.
class WorkDir {
 public:
  WorkDir() : m_Path(fs::temp_directory_path() / "korvane_bench") {
    fs::create_directories(m_Path);
  }
  ~WorkDir() {
    std::error_code error;
    fs::remove_all(m_Path, error);
  }
  std::string File(const char* sName) const { return (m_Path / sName).string(); }

 private:
  fs::path m_Path;
};

// The tool's name for the rows is the first of its arguments.
void CompareProcesses(const std::string& name, const std::vector<std::string>& own,
                      const std::vector<std::string>& tool, double minRatio, bool isSave) {
  const std::string& toolName = tool.front();
  const BENCH_PROCESS a = BENCH_RunProcess(own, NUM_RUNS);
  const BENCH_PROCESS b = BENCH_RunProcess(tool, NUM_RUNS);
  if (!a.IsDone || !b.IsDone) {
    BENCH_Row(name + ", process failed", 0, "x", BENCH_BOUND::AtLeast, minRatio);
    return;
  }
  // A save ends when its data is on the disk, the tool's when the system has it: elapsed time says
  // as much about the disk as about either, so the bound is on processor time there.
  BENCH_Row(name + ", times " + toolName + ", processor time", b.CpuSeconds / a.CpuSeconds, "x",
            BENCH_BOUND::AtLeast, minRatio);
  if (isSave) {
    BENCH_Note(name + ", times " + toolName + ", elapsed", b.WallSeconds / a.WallSeconds, "x");
  } else {
    BENCH_Row(name + ", times " + toolName + ", elapsed", b.WallSeconds / a.WallSeconds, "x",
              BENCH_BOUND::AtLeast, minRatio);
  }
  BENCH_Note(name + ", elapsed", a.WallSeconds, "s");
  BENCH_Note(name + ", " + toolName + ", elapsed", b.WallSeconds, "s");
  BENCH_Row(name + ", peak memory", a.PeakMegabytes, "MB", BENCH_BOUND::AtMost, MAX_PEAK);
}

void BenchFiles() {
  BENCH_Section("Intel HEX, 64 MiB, whole processes");
  const WorkDir dir;
  const std::string bin = dir.File("image.bin");
  const std::string hex32 = dir.File("records32.hex");
  const std::string hex16 = dir.File("records16.hex");
  const std::string back = dir.File("back.bin");
  {
    const std::vector<u8> data = MakeData(IMAGE_SIZE);
    std::ofstream(bin, std::ios::binary)
        .write(reinterpret_cast<const char*>(data.data()),
               static_cast<std::streamsize>(data.size()));
  }
  CompareProcesses("write", {BENCH_GetSelf(), "--child-save", bin, hex32},
                   {"objcopy", "-I", "binary", "-O", "ihex", bin, hex16}, 3, true);
  for (const auto& [name, hex] :
       {std::pair{"load, 16-byte records", hex16}, std::pair{"load, 32-byte records", hex32}}) {
    CompareProcesses(name, {BENCH_GetSelf(), "--child-load", hex},
                     {"objcopy", "-I", "ihex", "-O", "binary", hex, back}, 4, false);
  }
}

bool HasTool(const std::vector<std::string>& command) {
  return BENCH_RunProcess(command, 1).IsDone;
}

void BenchOtherFiles() {
  const WorkDir dir;
  const std::string bin = dir.File("image.bin");
  const std::string mot = dir.File("image.s37");
  const std::string titxt = dir.File("image.txt");
  const std::string elf = dir.File("image.elf");
  const std::string back = dir.File("back.bin");
  {
    const std::vector<u8> data = MakeData(IMAGE_SIZE);
    std::ofstream(bin, std::ios::binary)
        .write(reinterpret_cast<const char*>(data.data()),
               static_cast<std::streamsize>(data.size()));
  }
  BENCH_Section("Motorola S and TI-TXT, 64 MiB, whole processes");
  const std::string self = BENCH_GetSelf();
  for (const std::string& name : {mot, titxt}) {
    if (!BENCH_RunProcess({self, "--child-save", bin, name}, 1).IsDone) {
      BENCH_Row("process failed, " + name, 0, "x", BENCH_BOUND::AtLeast, 1);
      return;
    }
  }
  if (!HasTool({"sh", "-c", "command -v srec_cat > /dev/null"})) {
    std::printf("  srec_cat is not installed.\n");
  } else {
    CompareProcesses("load, Motorola S", {self, "--child-load", mot},
                     {"srec_cat", mot, "-motorola", "-o", back, "-binary"}, 4, false);
    CompareProcesses("load, TI-TXT", {self, "--child-load", titxt},
                     {"srec_cat", titxt, "-ti-txt", "-o", back, "-binary"}, 4, false);
  }
  BENCH_Section("ELF, 64 MiB, whole processes");
  const std::string object = dir.File("image.o");
  if (!HasTool({"objcopy", "-I", "binary", "-O", "elf64-x86-64", "-B", "i386:x86-64",
                "--rename-section", ".data=.data,alloc,load,data,contents", bin, object}) ||
      !HasTool({"ld", "-e", "0", "-z", "noexecstack", "-Ttext=0x1000", "-Tdata=0x10000", "-o", elf,
                object})) {
    std::printf("  objcopy or ld is not installed.\n");
    return;
  }
  CompareProcesses("load, ELF", {self, "--child-load", elf}, {"objcopy", "-O", "binary", elf, back},
                   1, false);
}

double BenchAdds(const std::vector<u32>& order, u64 stride) {
  const std::vector<u8> data(PIECE_SIZE, 0x5A);
  const MEMAREA_PTR area(MEMAREA_Create());
  return Measure([&] {
    for (const u32 i : order) {
      MEMAREA_AddRange(area.get(), i * stride, PIECE_SIZE, data.data());
    }
  });
}

void BenchRanges() {
  BENCH_Section("Memory area, a million pieces of 32 bytes, processor seconds");
  std::vector<u32> order(NUM_PIECES);
  std::iota(order.begin(), order.end(), 0);
  const auto row = [](const char* sName, double seconds) {
    BENCH_Row(sName, seconds, "s", BENCH_BOUND::AtMost, 1);
  };
  row("ascending, adjacent", BenchAdds(order, PIECE_SIZE));
  row("ascending, apart", BenchAdds(order, 2 * PIECE_SIZE));
  std::reverse(order.begin(), order.end());
  row("descending, adjacent", BenchAdds(order, PIECE_SIZE));
  std::shuffle(order.begin(), order.end(), std::mt19937(2));
  BENCH_Note("any order, adjacent", BenchAdds(order, PIECE_SIZE), "s");
  BENCH_Note("any order, apart", BenchAdds(order, 2 * PIECE_SIZE), "s");

  const std::vector<u8> data(NUM_PIECES * PIECE_SIZE, 0x5A);
  const MEMAREA_PTR area(MEMAREA_Create());
  MEMAREA_AddRange(area.get(), 0, data.size(), data.data());
  row("cut into a million ranges", Measure([&] {
        for (u64 i = 0; i < NUM_PIECES; ++i) {
          MEMAREA_RemoveRange(area.get(), i * PIECE_SIZE, i * PIECE_SIZE + 7);
        }
      }));
  row("walk by index", Measure([&] {
        for (u32 i = 0; i < MEMAREA_GetNumRanges(area.get()); ++i) {
          MEMAREA_GetRange(area.get(), i, nullptr, nullptr);
        }
      }));
  row("walk by blocks", Measure([&] {
        u8 block[PIECE_SIZE];
        u64 addr = 0;
        u64 next = 0;
        while (const u64 n = MEMAREA_GetData(area.get(), next, ~u64{0}, 0, 0xFF, block, nullptr,
                                             &addr, sizeof(block), 0, 0)) {
          next = addr + n;
        }
      }));
}

void BenchPatches() {
  BENCH_Section("Memory area, a million patches over 64 MiB, processor seconds");
  const std::vector<u8> data = MakeData(IMAGE_SIZE);
  const MEMAREA_PTR area(MEMAREA_Create());
  MEMAREA_AddRange(area.get(), 0, IMAGE_SIZE, data.data());
  const MEMAREA_ACCESS_TABLE* table = MEMAREA_GetAccessTable();
  std::mt19937_64 random(3);
  const auto row = [](const char* sName, double seconds) {
    BENCH_Row(sName, seconds, "s", BENCH_BOUND::AtMost, 1);
  };
  row("patch", Measure([&] {
        for (u32 i = 0; i < NUM_PIECES; ++i) {
          table->WriteU8(area.get(), random() % IMAGE_SIZE, static_cast<u8>(i));
        }
      }));
  row("a million bytes read", Measure([&] {
        u8 value = 0;
        for (u32 i = 0; i < NUM_PIECES; ++i) {
          table->ReadU8(area.get(), random() % IMAGE_SIZE, &value);
        }
      }));
  row("all read in blocks of 64 KiB", Measure([&] {
        std::vector<u8> block(0x10000);
        for (u64 addr = 0; addr < IMAGE_SIZE; addr += block.size()) {
          MEMAREA_GetData(area.get(), addr, ~u64{0}, 0, 0xFF, block.data(), nullptr, nullptr,
                          block.size(), 0, 0);
        }
      }));
  row("commit", Measure([&] { MEMAREA_CommitPatches(area.get()); }));
}

void BenchChecksums() {
  BENCH_Section("Checksums");
  const std::vector<u8> data = MakeData(IMAGE_SIZE);
  u32 crc = 0;
  const double bytes = 4.0 * static_cast<double>(IMAGE_SIZE) / 1e9;
  for (const auto& [name, calc] :
       {std::pair{"CRC-32", &CRC_Calc32}, std::pair{"CRC-32C", &CRC_Calc32C}}) {
    const double seconds = Measure([&] {
      for (int i = 0; i < 4; ++i) {
        crc = calc(data.data(), data.size(), crc);
      }
    });
    BENCH_Row(name, bytes / seconds, "GB/s", BENCH_BOUND::AtLeast, 2);
  }
}

}  // namespace

int BenchImageChild(const std::vector<std::string>& Args) {
  const MEMAREA_PTR area(MEMAREA_Create());
  if (Args.size() == 2 && Args[0] == "--child-load") {
    const int result =
        DATAFILE_Load(area.get(), ReportError, nullptr, Args[1].c_str(), 0, nullptr, nullptr);
    return result == 0 && MEMAREA_GetNumBytes(area.get()) == IMAGE_SIZE ? 0 : 1;
  }
  if (Args.size() == 3 && Args[0] == "--child-save") {
    const bool isDone =
        MEMAREA_LoadBin(area.get(), Args[1].c_str(), 0, ReportError, nullptr) == 0 &&
        DATAFILE_Save(area.get(), ReportError, nullptr, Args[2].c_str(), 0, 0) == 0;
    return isDone ? 0 : 1;
  }
  return -1;
}

void BenchImage() {
  BenchFiles();
  BenchOtherFiles();
  BenchRanges();
  BenchPatches();
  BenchChecksums();
}
