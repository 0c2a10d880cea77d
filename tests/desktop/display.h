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

// Runs a command to its end, without its output; true for status 0.
bool RunTool(const std::vector<std::string>& args);
