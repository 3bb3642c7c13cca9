#include "tools/orvctl/tool_output.h"

#include <fcntl.h>
#include <orv/support.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <sstream>

namespace orvctl {
namespace {

using clock = std::chrono::steady_clock;

constexpr int for_ever = -1;

/// How long a tool may take, as the library's own tools.
clock::time_point end_of_time() {
  const unsigned limit = orv_tool_timeout();
  return limit == 0 ? clock::time_point::max() : clock::now() + std::chrono::seconds(limit);
}

int left_until(clock::time_point end) {
  if (end == clock::time_point::max()) return for_ever;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - clock::now()).count();
  return static_cast<int>(std::clamp<long long>(left, 0, INT_MAX));
}

// Standard input is nothing, and everything that is printed goes the same way. The tool leads a
// group, so that it can be ended with all that it starts.
pid_t start(std::vector<std::string>& words, int output) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
  posix_spawnattr_t attributes;
  ::posix_spawnattr_init(&attributes);
  if (orv_tool_timeout() != 0) ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  pid_t started = -1;
  const int error =
      ::posix_spawn(&started, arguments[0], &actions, &attributes, arguments.data(), environ);
  ::posix_spawnattr_destroy(&attributes);
  ::posix_spawn_file_actions_destroy(&actions);
  return error == 0 ? started : -1;
}

/// What the tool prints until the end of it, or of its time. Another process may hold it open.
std::string read_all(int file, clock::time_point end) {
  std::string text;
  char part[4096];
  for (;;) {
    pollfd more = {file, POLLIN, 0};
    if (::poll(&more, 1, left_until(end)) == 0) return text;
    const ssize_t got = ::read(file, part, sizeof part);
    if (got > 0) text.append(part, static_cast<std::size_t>(got));
    if (got == 0 || (got < 0 && errno != EINTR)) return text;
  }
}

/// Under a limit, a tool that goes on is killed, and one that cannot be killed is left alone.
void wait_for(pid_t tool, clock::time_point end) {
  constexpr useconds_t look = 10000;
  const clock::time_point last = clock::now() + std::chrono::seconds(1);
  if (end != clock::time_point::max()) ::kill(-tool, SIGKILL);
  const int flags = end == clock::time_point::max() ? 0 : WNOHANG;
  for (;;) {
    const pid_t found = ::waitpid(tool, nullptr, flags);
    if (found > 0 || (found < 0 && errno != EINTR) || (found == 0 && clock::now() > last)) return;
    if (found == 0) ::usleep(look);
  }
}

}  // namespace

std::vector<std::string> tool_output(std::vector<std::string> words) {
  int ends[2];
  if (::access(words[0].c_str(), X_OK) != 0 || ::pipe2(ends, O_CLOEXEC) != 0) return {};
  const clock::time_point end = end_of_time();
  const pid_t started = start(words, ends[1]);
  ::close(ends[1]);
  std::istringstream text(started > 0 ? read_all(ends[0], end) : "");
  ::close(ends[0]);
  if (started > 0) wait_for(started, end);
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

}  // namespace orvctl
