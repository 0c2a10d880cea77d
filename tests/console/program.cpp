#include "tests/console/program.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

extern char** environ;

namespace {

struct PIPE {
  std::array<int, 2> Fd{-1, -1};
  PIPE() {
    if (pipe2(Fd.data(), O_CLOEXEC) != 0) {
      throw std::runtime_error("no pipe");
    }
  }
  ~PIPE() {
    CloseWriter();
    close(Fd[0]);
  }
  void CloseWriter() {
    if (Fd[1] >= 0) {
      close(Fd[1]);
      Fd[1] = -1;
    }
  }
};

std::vector<std::string> MakeEnvironment(const std::map<std::string, std::string>& changes) {
  std::map<std::string, std::string> all;
  for (char** p = environ; *p != nullptr; ++p) {
    const std::string entry = *p;
    const std::size_t equals = entry.find('=');
    all[entry.substr(0, equals)] = entry.substr(equals + 1);
  }
  for (const auto& [name, value] : changes) {
    all[name] = value;
  }
  std::vector<std::string> list;
  for (const auto& [name, value] : all) {
    list.push_back(name + "=" + value);
  }
  return list;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

pid_t Spawn(std::vector<std::string> args, std::vector<std::string> environment,
            const std::string& dir, PIPE& out, PIPE& err) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addchdir_np(&actions, dir.c_str());
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, out.Fd[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, err.Fd[1], STDERR_FILENO);
  pid_t pid = -1;
  const int error = posix_spawnp(&pid, args[0].c_str(), &actions, nullptr, Pointers(args).data(),
                                 Pointers(environment).data());
  posix_spawn_file_actions_destroy(&actions);
  return error == 0 ? pid : -1;
}

// Reads both pipes to their ends; sends the signal as soon as the text has come.
void Collect(PIPE& out, PIPE& err, pid_t pid, const std::string& signalAt, int signalNumber,
             PROGRAM_RESULT* pResult) {
  bool signalled = signalAt.empty();
  std::array<pollfd, 2> aPoll{{{out.Fd[0], POLLIN, 0}, {err.Fd[0], POLLIN, 0}}};
  while (aPoll[0].fd >= 0 || aPoll[1].fd >= 0) {
    poll(aPoll.data(), aPoll.size(), -1);
    for (std::size_t i = 0; i < aPoll.size(); ++i) {
      if (aPoll[i].fd < 0 || aPoll[i].revents == 0) {
        continue;
      }
      std::array<char, 65536> buffer;
      const ssize_t numRead = read(aPoll[i].fd, buffer.data(), buffer.size());
      if (numRead <= 0) {
        aPoll[i].fd = -1;
        continue;
      }
      std::string& text = i == 0 ? pResult->Out : pResult->Err;
      text.append(buffer.data(), static_cast<std::size_t>(numRead));
      if (!signalled && pResult->Out.find(signalAt) != std::string::npos) {
        kill(pid, signalNumber);
        signalled = true;
      }
    }
  }
}

PROGRAM_RESULT RunProcess(const std::vector<std::string>& args,
                          const std::map<std::string, std::string>& environment,
                          const std::string& dir, const std::string& signalAt,
                          int signalNumber = SIGINT) {
  PROGRAM_RESULT result;
  PIPE out;
  PIPE err;
  const pid_t pid = Spawn(args, MakeEnvironment(environment), dir, out, err);
  if (pid < 0) {
    result.Err = "cannot start " + args[0];
    return result;
  }
  out.CloseWriter();
  err.CloseWriter();
  Collect(out, err, pid, signalAt, signalNumber, &result);
  int status = 0;
  if (waitpid(pid, &status, 0) == pid) {
    result.Status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  return result;
}

}  // namespace

std::string MakeProbeConfig(const std::map<std::string, std::string>& keys) {
  std::map<std::string, std::string> all = {
      {"Backend", "sim"},        {"SerialNumber", "20260001"}, {"Nickname", "Bench"},
      {"ProductId", "1"},        {"TargetMilliVolts", "3300"}, {"Chip", "W25Q128FV"},
      {"ImageFile", "chip.bin"}, {"Time", "virtual"},          {"Host", "bench.local"}};
  for (const auto& [key, value] : keys) {
    all[key] = value;
  }
  std::string text = "[Probe0]\n";
  for (const auto& [key, value] : all) {
    text += key + " = " + value + "\n";
  }
  return text;
}

BENCH::BENCH() {
  Environment["XDG_CONFIG_HOME"] = Path("config");
  Environment["VORTIC_CONFIG"] = Path("Vortic.ini");
  SetProbe({});
}

std::string BENCH::Path(const std::string& name) const {
  return std::string(m_Dir.path()) + "/" + name;
}

void BENCH::SetProbe(const std::map<std::string, std::string>& keys) {
  Write("Vortic.ini", MakeProbeConfig(keys));
}

void BENCH::Write(const std::string& name, const std::string& content) {
  std::ofstream(Path(name), std::ios::binary) << content;
}

std::string BENCH::Read(const std::string& name) const {
  std::ifstream file(Path(name), std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

PROGRAM_RESULT BENCH::Run(const std::vector<std::string>& args, const std::string& signalAt,
                          int signalNumber) {
  std::vector<std::string> all = {KORVANE_PROGRAM};
  all.insert(all.end(), args.begin(), args.end());
  return RunProcess(all, Environment, Path(""), signalAt, signalNumber);
}

PROGRAM_RESULT BENCH::RunTool(const std::vector<std::string>& args) {
  return RunProcess(args, {}, Path(""), {});
}

bool HasTool(const std::string& name) {
  const char* sPath = std::getenv("PATH");
  std::istringstream dirs(sPath == nullptr ? "" : sPath);
  for (std::string dir; std::getline(dirs, dir, ':');) {
    if (access((dir + "/" + name).c_str(), X_OK) == 0) {
      return true;
    }
  }
  return false;
}
