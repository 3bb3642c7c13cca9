#include "common/own_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <thread>

namespace orv {
namespace {

constexpr std::chrono::seconds longest_wait(10);
constexpr std::chrono::milliseconds pause_between(2);

int open_lock(std::string_view name) {
  for (const char* const folder : {"/var", "/var/lib", "/var/lib/orv"}) mkdir(folder, 0755);
  const std::string folder = "/var/lib/orv/lock/";
  mkdir(folder.c_str(), 0700);
  constexpr int flags = O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC;
  return open((folder + std::string(name)).c_str(), flags, 0600);
}

}  // namespace

own_lock::own_lock(std::string_view name) : file_(open_lock(name)) {
  if (!file_) return;
  const auto end = std::chrono::steady_clock::now() + longest_wait;
  while (flock(file_.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) return;
    is_refused_ = std::chrono::steady_clock::now() >= end;
    if (is_refused_) return;
    std::this_thread::sleep_for(pause_between);
  }
}

own_lock::~own_lock() {
  const int error = errno;
  // Closing is not enough: a child shares the lock until it runs something else or ends.
  flock(file_.get(), LOCK_UN);
  errno = error;
}

}  // namespace orv
