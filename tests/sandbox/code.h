/// What the sandbox's own tests do in place of code under test.
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <string>

namespace sandbox {

/// Runs the command as the code under test would, and returns the shell's wait status.
inline int run(const std::string& command) { return std::system(command.c_str()); }

inline int exit_code_of(const std::string& command) {
  const int status = run(command);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace sandbox
