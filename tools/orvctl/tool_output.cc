#include "tools/orvctl/tool_output.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <sstream>

namespace orvctl {
namespace {

// Standard input is nothing, and everything that is printed goes the same way.
pid_t start(std::vector<std::string>& words, int output) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
  pid_t started = -1;
  const int error =
      ::posix_spawn(&started, arguments[0], &actions, nullptr, arguments.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  return error == 0 ? started : -1;
}

std::string read_all(int file) {
  std::string text;
  char part[4096];
  for (;;) {
    const ssize_t got = ::read(file, part, sizeof part);
    if (got > 0) text.append(part, static_cast<std::size_t>(got));
    if (got == 0 || (got < 0 && errno != EINTR)) return text;
  }
}

}  // namespace

std::vector<std::string> tool_output(std::vector<std::string> words) {
  int ends[2];
  if (::access(words[0].c_str(), X_OK) != 0 || ::pipe2(ends, O_CLOEXEC) != 0) return {};
  const pid_t started = start(words, ends[1]);
  ::close(ends[1]);
  std::istringstream text(started > 0 ? read_all(ends[0]) : "");
  ::close(ends[0]);
  while (started > 0 && ::waitpid(started, nullptr, 0) < 0 && errno == EINTR) {
  }
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

}  // namespace orvctl
