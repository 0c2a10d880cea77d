#include "tests/model/run.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "app/engine/app_state.h"
#include "app/engine/report.h"
#include "app/operations/cmdline.h"
#include "app/operations/init_exit.h"
#include "app/operations/jobs.h"
#include "flash/driver.h"
#include "tests/support/fake_time.h"
#include "tests/support/scripted_frontend.h"
#include "tests/support/temp_dir.h"

namespace model {

namespace {

constexpr u32 kMaxSeconds = 60;
// A look at the clock stands for a round trip to a probe.
constexpr u64 kClockStepNs = 500'000;

// The child's side. The jobs run on its only thread: the model looks for wrong outcomes, not races.
class Process {
 public:
  Process(const Plan& plan, const std::string& folder) : m_Plan(plan), m_Folder(folder) {
    std::filesystem::current_path(folder + "/work");
    setenv("XDG_CONFIG_HOME", (folder + "/cfg").c_str(), 1);
    setenv("VORTIC_CONFIG", (folder + "/Vortic.ini").c_str(), 1);
    APP_SetUp(&m_FrontEnd);
    DRIVER_SetLibraryPath(KORVANE_DRIVER);
  }

  void Run(const std::vector<Word>& words, bool recovers) {
    std::vector<std::string> args = Arguments(words);
    std::vector<char*> argv = Pointers(args);
    APP_START_INFO start = {};
    start.argv = argv.data();
    start.argc = static_cast<u32>(argv.size());
    start.ShowCmd = 1;
    APP_Init(&start);
    const bool isRecovering = recovers && APP_State().ExitCode != 0;
    if (isRecovering) {
      Tell("line");
      RunRecovery();
    }
    APP_State().ExitRequested = 1;
    APP_State().SuppressGUI = 1;
    static_cast<void>(APP_Exit());  // with ExitRequested nothing refuses it
    Tell(isRecovering ? "recovery" : "line");
  }

 private:
  static std::vector<std::string> Arguments(const std::vector<Word>& words) {
    std::vector<std::string> args = {"korvane"};
    for (const Word& word : words) {
      args.push_back(word.Text);
    }
    return args;
  }

  static std::vector<char*> Pointers(std::vector<std::string>& args) {
    std::vector<char*> argv;
    for (std::string& arg : args) {
      argv.push_back(arg.data());
    }
    return argv;
  }

  // The same process goes on, its connection, windows and project as the failure left them. Chips
  // are kept as they are now, for the judge.
  void RunRecovery() {
    for (std::size_t i = 0; i < m_Plan.Chips.size(); ++i) {
      const std::string name = m_Folder + Printf("/chip%zu.", i);
      std::filesystem::copy_file(name + "bin", name + "mid");
    }
    WriteFile(m_Folder + "/Vortic.ini", m_Plan.ProbeConfig(false));
    APP_State().ExitCode = 0;
    APP_ForgetErrors();
    m_FrontEnd.ClearLog();
    std::vector<std::string> args = Arguments(m_Plan.Recovery);
    std::vector<char*> argv = Pointers(args);
    const u32 argc = static_cast<u32>(argv.size());
    for (const u32 pass : {CMDLINE_PASS_PREPARSE, CMDLINE_PASS_EXECUTE}) {
      static_cast<void>(
          CMDLINE_Parse(argc, argv.data(), pass));  // its errors are judged at the end
    }
  }

  void Tell(const std::string& name) {
    const u64 now = SYS_GetTickMs();
    const APP_CAUSE cause = APP_GetRunCause();
    WriteFile(m_Folder + "/out/" + name,
              Printf("%u %u %llu %s\n", APP_State().ExitCode.load(), static_cast<u32>(cause),
                     static_cast<unsigned long long>(now - m_StartMs), APP_GetCauseName(cause)) +
                  m_FrontEnd.GetLog());
    m_StartMs = now;
  }

  const Plan& m_Plan;
  const std::string m_Folder;
  const FakeTime m_Time{kClockStepNs};
  SCRIPTED_FRONTEND m_FrontEnd;
  u64 m_StartMs = SYS_GetTickMs();
};

LineResult ReadLine(const std::string& fileName) {
  LineResult line;
  std::istringstream text(ReadFile(fileName));
  line.HasEnded = static_cast<bool>(text >> line.Status >> line.Cause >> line.VirtualMs);
  std::getline(text, line.CauseName);
  line.Log.assign(std::istreambuf_iterator<char>(text), {});
  return line;
}

}  // namespace

RunResult RunPlan(const Plan& plan, const std::string& folder, const Slice& slice) {
  std::filesystem::remove_all(folder + "/out");
  const pid_t pid = fork();
  if (pid == 0) {
    alarm(kMaxSeconds);
    const std::size_t first = std::min(slice.First, plan.Words.size());
    const std::size_t last = first + std::min(slice.Count, plan.Words.size() - first);
    Process process(plan, folder);
    process.Run(
        {plan.Words.begin() + static_cast<i64>(first), plan.Words.begin() + static_cast<i64>(last)},
        slice.Recovers);
    _exit(0);
  }
  int status = 0;
  rusage usage{};
  RunResult result;
  if (pid < 0 || wait4(pid, &status, 0, &usage) != pid) {
    result.Death = "could not be started";
    return result;
  }
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  result.CpuSeconds = seconds(usage.ru_utime) + seconds(usage.ru_stime);
  result.Line = ReadLine(folder + "/out/line");
  result.Recovery = ReadLine(folder + "/out/recovery");
  if (!WIFEXITED(status)) {
    result.Death = Printf("signal %d", WTERMSIG(status));
  } else if (WEXITSTATUS(status) != 0 || !result.Line.HasEnded) {
    result.Death = Printf("exit status %d", WEXITSTATUS(status));
  }
  return result;
}

std::map<std::string, std::string> ReadFolder(const std::string& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder + "/work")) {
    if (entry.is_regular_file()) {
      files[std::filesystem::relative(entry.path(), folder + "/work")] = ReadFile(entry.path());
    }
  }
  return files;
}

// In memory where the machine has such a folder: a run writes and syncs dozens of files.
Trial::Trial(Plan plan) : m_Plan(std::move(plan)) {
  const std::string base = std::filesystem::is_directory("/dev/shm")
                               ? "/dev/shm"
                               : std::filesystem::temp_directory_path().string();
  m_Folder = base + "/korvane-model-XXXXXX";
  if (mkdtemp(m_Folder.data()) == nullptr) {
    throw std::runtime_error("no folder " + m_Folder);
  }
  m_Plan.Store(m_Folder);
  m_Inputs = ReadFolder(m_Folder);
}

Trial::~Trial() {
  std::error_code error;
  if (!m_IsKept) {
    std::filesystem::remove_all(m_Folder, error);
  }
}

std::string Trial::Describe(const RunResult& result,
                            const std::vector<Violation>& violations) const {
  std::string text =
      Printf("==== --seed %llu --run %llu: status %d, cause%s, %llu ms\n",
             static_cast<unsigned long long>(m_Plan.Seed),
             static_cast<unsigned long long>(m_Plan.Run), result.Line.Status,
             result.Line.CauseName.c_str(), static_cast<unsigned long long>(result.Line.VirtualMs));
  for (const Violation& violation : violations) {
    text += std::string("  ** ") + RuleName(violation.Broken) + ": " + violation.Text + "\n";
  }
  text += "  " + m_Plan.CommandLine() + "\n";
  const Settings& set = m_Plan.Set;
  text += Printf("  blank check %d, disconnect %d, mode %u, skip blank %d, verify erase %d\n",
                 set.AutoBlankCheck, set.AutoDisconnect, set.AutoMode, set.SkipBlankAreas,
                 set.VerifyErase);
  for (const Project& project : m_Plan.Projects) {
    constexpr const char* ways[] = {"detected", "by hand", "by name"};
    const Production& production = project.Auto;
    text += Printf(
        "  %s: chip %u, %s %s, type %u; auto: erase %d type %u, compare %d, program %d, "
        "verify %d, serial %d\n",
        project.Name.c_str(), project.ChipIndex, ways[static_cast<std::size_t>(project.Described)],
        project.pDescribed->sName, project.FlashType, production.Erase, production.EraseType,
        production.Compare, production.Program, production.Verify, production.Serial);
  }
  std::istringstream config(m_Plan.ProbeConfig(true));
  for (std::string line; std::getline(config, line);) {
    text += "  | " + line + "\n";
  }
  return text;
}

}  // namespace model
