#include "user/shadow_file.h"

#include <fcntl.h>
#include <orv/support.h>
#include <orv/user.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include "common/handles.h"
#include "common/log.h"
#include "common/replacement_file.h"
#include "common/whole_file.h"
#include "support/to_beginning.h"

namespace orv {
namespace {

/// The lock goes when the file is closed.
bool lock_whole(int file) {
  struct flock whole {};
  whole.l_type = F_WRLCK;
  whole.l_whence = SEEK_SET;
  return fcntl(file, F_SETLK, &whole) == 0;
}

int log_locked(const char* function = __builtin_FUNCTION(), int line = __builtin_LINE()) {
  const int error = errno;
  std::fprintf(stderr, "%s: %s\n", orv_path_shadow_file, std::strerror(error));
  errno = error;
  return log_failure(ORV_E_SHADOW_LOCKED, function, line);
}

/// The lock that `lckpwdf` takes, as all programs do that change accounts. The lock of the shadow
/// file itself is on its inode, and whoever waited for it would hold the lock of a file that has
/// been replaced. Where the lock cannot be made the change goes on without it. Who calls this holds
/// no `lckpwdf` lock: it would be lost.
class account_lock {
 public:
  /// Waits as long as `lckpwdf` does.
  account_lock() : file_(open("/etc/.pwd.lock", O_WRONLY | O_CREAT | O_CLOEXEC, 0600)) {
    constexpr std::chrono::seconds longest_wait(15);
    const auto end = std::chrono::steady_clock::now() + longest_wait;
    while (file_ && !lock_whole(file_.get())) {
      if (errno != EAGAIN && errno != EACCES && errno != EINTR) return;
      is_refused_ = std::chrono::steady_clock::now() >= end;
      if (is_refused_) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  }
  /// False, with `errno`, when another one kept the lock all the time.
  explicit operator bool() const { return !is_refused_; }

 private:
  unique_descriptor file_;
  bool is_refused_ = false;
};

/// Without following a link, which would be renamed over the shadow file itself.
int create_unreadable(const std::string& path) {
  return open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0);
}

/// "NAME:HASH" and what follows the old hash.
std::string with_hash(std::string_view line, std::string_view name, std::string_view hash) {
  const std::size_t rest = line.find_first_of(":\n", name.size() + 1);
  std::string changed(name);
  changed.append(":").append(hash);
  if (rest != std::string_view::npos) changed += line.substr(rest);
  return changed;
}

std::string with_new_hash(std::string_view shadow, std::string_view name, std::string_view hash) {
  const std::string key = std::string(name) + ':';
  std::string changed;
  while (!shadow.empty()) {
    const std::size_t end = shadow.find('\n');
    const std::string_view line = shadow.substr(0, end == shadow.npos ? end : end + 1);
    changed += line.starts_with(key) ? with_hash(line, name, hash) : std::string(line);
    shadow.remove_prefix(line.size());
  }
  return changed;
}

/// From the lock on nothing else may open and close the shadow file in this process: that would
/// release the lock.
int rewrite_locked(FILE* shadow, const struct stat& original, std::string_view name,
                   std::string_view hash) {
  const std::string path = orv_path_shadow_file;
  if (create_backup((path + '-').c_str(), shadow) != 0) return log_failure(ORV_E_SHADOW_BACKUP);
  replacement_file rewritten(path + '+', create_unreadable);
  if (!rewritten.exists() || !rewritten.adopt(original)) {
    // As on every device, only a new file that could not be written is removed again.
    rewritten.leave();
    return log_failure(ORV_E_SHADOW_CREATE);
  }
  std::string text;
  if (!support::to_beginning(shadow) || !read_rest(shadow, text) ||
      !rewritten.write(with_new_hash(text, name, hash)) || !rewritten.sync()) {
    return log_failure(ORV_E_SHADOW_WRITE);
  }
  rewritten.leave();
  if (std::rename(rewritten.path().c_str(), path.c_str()) != 0) {
    return log_failure(ORV_E_SHADOW_RENAME);
  }
  return ORV_OK;
}

}  // namespace

int set_password_hash(std::string_view name, std::string_view hash) {
  if (access(orv_path_shadow_file, F_OK) != 0) return log_failure(ORV_E_NO_SHADOW);
  const account_lock all_account_files;
  if (!all_account_files) return log_locked();
  const unique_file shadow(std::fopen(orv_path_shadow_file, "r+e"));
  struct stat original {};
  if (!shadow || fstat(fileno(shadow.get()), &original) != 0) {
    return log_failure(ORV_E_SHADOW_OPEN);
  }
  if (!lock_whole(fileno(shadow.get()))) return log_locked();
  return rewrite_locked(shadow.get(), original, name, hash);
}

}  // namespace orv
