#include <fcntl.h>
#include <orv/share.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>

#include "common/handles.h"
#include "common/in_place_rewrite.h"

namespace {

constexpr off_t from_start = 0;
constexpr off_t to_end = 0;
constexpr int most_attempts = 10;

bool could_lock(int file, int type) {
  const int reason = errno;
  errno = EAGAIN;  // of a lock that has a holder; a failure gives its own
  if (lock_test(file, type, from_start, SEEK_SET, to_end) != 0) return false;
  errno = reason;
  return true;
}

bool lock_whole(int file) {
  return could_lock(file, F_RDLCK) && could_lock(file, F_WRLCK) &&
         lock_reg(file, F_SETLK, F_WRLCK, from_start, SEEK_SET, to_end) == 0;
}

/// False when the file was replaced, by an editor or by its kept copy, or moved away before it was
/// locked.
bool is_at(const char* path, int file) {
  const int reason = errno;
  struct stat opened {};
  struct stat found {};
  bool is_same = true;
  if (stat(path, &found) != 0) {
    is_same = errno != ENOENT;
  } else if (fstat(file, &opened) == 0) {
    is_same = opened.st_dev == found.st_dev && opened.st_ino == found.st_ino;
  }
  errno = reason;
  return is_same;
}

}  // namespace

int lock_sharefile(const char* path) try {
  if (path == nullptr) {
    errno = EINVAL;
    return ORV_E_FAILED;
  }
  for (int attempts = 1;; ++attempts) {
    orv::unique_descriptor file(open(path, O_RDWR | O_CREAT | O_CLOEXEC, S_IRWXU));
    if (!file) return ORV_E_SHARE_OPEN;
    if (!lock_whole(file.get())) return ORV_E_FILE_LOCKED;
    if (!is_at(path, file.get()) && attempts < most_attempts) continue;
    if (!orv::complete_rewrite(file.get())) return ORV_E_SHARE_OPEN;
    return file.release();
  }
} catch (const std::bad_alloc&) {
  errno = ENOMEM;
  return ORV_E_SHARE_OPEN;  // ORV_E_FAILED would say that there is no file to lock
}

int unlock_file(int fd) { return lock_reg(fd, F_SETLK, F_UNLCK, from_start, SEEK_SET, to_end); }

int lock_reg(int fd, int cmd, int type, off_t offset, int whence, off_t len) {
  struct flock lock {};
  lock.l_type = static_cast<short>(type);
  lock.l_whence = static_cast<short>(whence);
  lock.l_start = offset;
  lock.l_len = len;
  return fcntl(fd, cmd, &lock);
}

pid_t lock_test(int fd, int type, off_t offset, int whence, off_t len) {
  struct flock lock {};
  lock.l_type = static_cast<short>(type);
  lock.l_whence = static_cast<short>(whence);
  lock.l_start = offset;
  lock.l_len = len;
  if (fcntl(fd, F_GETLK, &lock) < 0) return -1;
  return lock.l_type == F_UNLCK ? 0 : lock.l_pid;
}
