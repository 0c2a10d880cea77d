#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

// An X server without a screen, with a window manager. Both end with the object, or with the test.
class DISPLAY_SERVER {
 public:
  DISPLAY_SERVER();
  ~DISPLAY_SERVER();
  DISPLAY_SERVER(const DISPLAY_SERVER&) = delete;
  DISPLAY_SERVER& operator=(const DISPLAY_SERVER&) = delete;

 private:
  pid_t m_Server = -1;
  pid_t m_Manager = -1;
};

// Starts a command that ends with this process; -1 when it can't be found.
pid_t StartTool(const std::vector<std::string>& args);
void StopTool(pid_t pid);
// Waits for its end by itself.
void WaitTool(pid_t pid);
// Runs a command to its end; true for status 0. Its output goes to pOut.
bool RunTool(const std::vector<std::string>& args, std::string* pOut = nullptr);
// The same with this process's own output.
bool RunToolVisibly(const std::vector<std::string>& args);
