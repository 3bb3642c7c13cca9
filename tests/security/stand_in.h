/// Stands in for the shell at the two places where the library starts one, so that a test can drive
/// millions of calls. It understands exactly the command lines that the library may form.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/security/word_rules.h"

namespace security {

/// A command line that the library ran.
struct run_line {
  std::string text;
  std::vector<simple_command> commands;  // empty when the line is none of the library's forms
};

/// While it exists, no process is started: command lines are read and answered here, messages to
/// the system log are kept, and the host name stays.
class shell_stand_in {
 public:
  using words = std::vector<std::string>;
  /// What a command prints; it goes into the file that the line names. Every command succeeds.
  using answer = std::function<std::string(const words& command)>;

  explicit shell_stand_in(answer answers);
  ~shell_stand_in();
  shell_stand_in(const shell_stand_in&) = delete;
  shell_stand_in& operator=(const shell_stand_in&) = delete;

  /// What was run since the last call of this.
  std::vector<run_line> take_runs();
  /// The log messages since the last call of this.
  std::vector<std::string> take_log();

  int run(const char* line);
  void log(std::string message) { log_.push_back(std::move(message)); }

 private:
  answer answers_;
  std::vector<run_line> runs_;
  std::vector<std::string> log_;
};

}  // namespace security
