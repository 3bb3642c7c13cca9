#include <orv/support.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <vector>

#include "support/limited_wait.h"
#include "support/signals.h"

using orv::support::ending;
using orv::support::set_of;
using orv::support::signals_blocked;

namespace {

constexpr int shell_not_found = 127 << 8;
constexpr int no_status = -1;

/// The caller's environment with the locale "C", so that tool output never depends on it.
std::vector<char*> environment_of_tools() {
  static char locale[] = "LC_ALL=C";
  std::vector<char*> environment{locale};
  for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
    if (!std::string_view(*variable).starts_with("LC_ALL=")) environment.push_back(*variable);
  }
  environment.push_back(nullptr);
  return environment;
}

/// What a child starts with: no input, the caller's output and no other descriptor, no signal
/// blocked, and the signals that tools rely on in their default state.
class child_settings {
 public:
  /// @param own_group  the child leads a process group of its own
  explicit child_settings(bool own_group) {
    const sigset_t none = set_of({});
    const sigset_t defaults = set_of({SIGPIPE, SIGCHLD});
    const int flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    posix_spawnattr_init(&attributes_);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &defaults);
    posix_spawnattr_setflags(&attributes_,
                             static_cast<short>(own_group ? flags | POSIX_SPAWN_SETPGROUP : flags));
    posix_spawn_file_actions_init(&actions_);
    open_null(STDIN_FILENO, O_RDONLY);
    open_null_if_closed(STDOUT_FILENO);
    open_null_if_closed(STDERR_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
  }
  ~child_settings() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  child_settings(const child_settings&) = delete;
  child_settings& operator=(const child_settings&) = delete;

  const posix_spawnattr_t* attributes() const { return &attributes_; }
  const posix_spawn_file_actions_t* actions() const { return &actions_; }

 private:
  void open_null(int number, int flags) {
    posix_spawn_file_actions_addopen(&actions_, number, "/dev/null", flags, 0);
  }
  /// A tool would open a disk as the missing number, and write its complaints onto it.
  void open_null_if_closed(int number) {
    if (fcntl(number, F_GETFD) < 0) open_null(number, O_WRONLY);
  }

  posix_spawnattr_t attributes_{};
  posix_spawn_file_actions_t actions_{};
};

int wait_for(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return no_status;
  }
  return status;
}

ending run_shell(const char* cmd, unsigned limit) {
  const child_settings settings(limit != 0);
  std::vector<char*> environment = environment_of_tools();
  char* const arguments[] = {const_cast<char*>("sh"), const_cast<char*>("-c"),
                             const_cast<char*>(cmd), nullptr};
  // A handler of this thread would take the child's status away.
  const signals_blocked blocked(set_of({SIGCHLD}));
  pid_t child = 0;
  // posix_spawn shares the caller's memory until the shell runs: its cost does not grow with it.
  const int error = posix_spawn(&child, "/bin/sh", settings.actions(), settings.attributes(),
                                arguments, environment.data());
  if (error == 0) {
    return limit == 0 ? ending{wait_for(child)} : orv::support::wait_at_most(child, limit);
  }
  errno = error;
  return {error == ENOENT || error == EACCES ? shell_not_found : no_status};
}

}  // namespace

int liborv_system(const char* cmd) {
  if (cmd == nullptr) {
    errno = EINVAL;
    return no_status;
  }
  const int saved_errno = errno;
  const ending made = run_shell(cmd, orv_tool_timeout());
  if (made.status != no_status && made.status != shell_not_found) errno = saved_errno;
  if (made.was_ended) errno = ETIMEDOUT;
  return made.status;
}
