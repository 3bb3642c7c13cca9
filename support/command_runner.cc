#include <orv/support.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <vector>

namespace {

constexpr int shell_not_found = 127 << 8;
constexpr int not_started = -1;

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

/// What a child starts with: no input, no descriptor but the standard ones, no signal blocked, and
/// the signals that tools rely on in their default state.
class child_settings {
 public:
  child_settings() {
    sigset_t none;
    sigset_t defaults;
    sigemptyset(&none);
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    sigaddset(&defaults, SIGCHLD);
    posix_spawnattr_init(&attributes_);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &defaults);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
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
  posix_spawnattr_t attributes_{};
  posix_spawn_file_actions_t actions_{};
};

/// Keeps a SIGCHLD handler of this thread from taking the child's status away.
class child_signal_blocked {
 public:
  child_signal_blocked() {
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGCHLD);
    pthread_sigmask(SIG_BLOCK, &blocked, &previous_);
  }
  ~child_signal_blocked() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
  child_signal_blocked(const child_signal_blocked&) = delete;
  child_signal_blocked& operator=(const child_signal_blocked&) = delete;

 private:
  sigset_t previous_{};
};

int wait_for(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return not_started;
  }
  return status;
}

int run_shell(const char* cmd) {
  const child_settings settings;
  std::vector<char*> environment = environment_of_tools();
  char* const arguments[] = {const_cast<char*>("sh"), const_cast<char*>("-c"),
                             const_cast<char*>(cmd), nullptr};
  const child_signal_blocked blocked;
  pid_t child = 0;
  // posix_spawn shares the caller's memory until the shell runs: its cost does not grow with it.
  const int error = posix_spawn(&child, "/bin/sh", settings.actions(), settings.attributes(),
                                arguments, environment.data());
  if (error == 0) return wait_for(child);
  errno = error;
  return error == ENOENT || error == EACCES ? shell_not_found : not_started;
}

}  // namespace

int liborv_system(const char* cmd) {
  if (cmd == nullptr) {
    errno = EINVAL;
    return not_started;
  }
  const int saved_errno = errno;
  const int status = run_shell(cmd);
  if (status != not_started && status != shell_not_found) errno = saved_errno;
  return status;
}
