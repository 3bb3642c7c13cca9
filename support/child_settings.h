#ifndef ORV_SUPPORT_CHILD_SETTINGS_H
#define ORV_SUPPORT_CHILD_SETTINGS_H

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <string>

#include "support/signals.h"

namespace orv::support {

/// What a child starts with: no input, the caller's output and no other descriptor, no signal
/// blocked, and the signals that tools rely on in their default state.
class child_settings {
 public:
  /// @param own_group  the child leads a process group of its own
  /// @param output     file that the child's output goes to; empty: where the caller's goes
  explicit child_settings(bool own_group, const std::string& output = "") {
    const sigset_t none = set_of({});
    const sigset_t defaults = set_of({SIGPIPE, SIGCHLD});
    const int flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    note(posix_spawnattr_init(&attributes_));
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &defaults);
    posix_spawnattr_setflags(&attributes_,
                             static_cast<short>(own_group ? flags | POSIX_SPAWN_SETPGROUP : flags));
    note(posix_spawn_file_actions_init(&actions_));
    open_as(STDIN_FILENO, "/dev/null", O_RDONLY);
    open_null_if_closed(STDOUT_FILENO);
    open_null_if_closed(STDERR_FILENO);
    if (!output.empty()) open_as(STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC);
    note(posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1));
  }
  ~child_settings() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  child_settings(const child_settings&) = delete;
  child_settings& operator=(const child_settings&) = delete;

  /// Why the settings could not be made; 0 when they are complete.
  int error() const { return error_; }
  const posix_spawnattr_t* attributes() const { return &attributes_; }
  const posix_spawn_file_actions_t* actions() const { return &actions_; }

 private:
  void note(int error) {
    if (error_ == 0) error_ = error;
  }
  void open_as(int number, const char* path, int flags) {
    note(posix_spawn_file_actions_addopen(&actions_, number, path, flags, 0666));
  }
  /// A tool would open a disk as the missing number, and write its complaints onto it.
  void open_null_if_closed(int number) {
    if (fcntl(number, F_GETFD) < 0) open_as(number, "/dev/null", O_WRONLY);
  }

  int error_ = 0;
  posix_spawnattr_t attributes_{};
  posix_spawn_file_actions_t actions_{};
};

}  // namespace orv::support

#endif
