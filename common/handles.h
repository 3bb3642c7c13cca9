#ifndef ORV_COMMON_HANDLES_H
#define ORV_COMMON_HANDLES_H

#include <dirent.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <utility>

namespace orv {

struct close_file {
  void operator()(FILE* file) const { std::fclose(file); }
};
struct close_directory {
  void operator()(DIR* directory) const { closedir(directory); }
};

/// An open stdio stream; closed when it goes out of scope. Open it with mode "...e": every
/// descriptor is close-on-exec.
using unique_file = std::unique_ptr<FILE, close_file>;

/// An open directory (close-on-exec by itself); closed when it goes out of scope.
using unique_directory = std::unique_ptr<DIR, close_directory>;

/// An open descriptor, or none; closed when it goes out of scope. `errno` is kept.
class unique_descriptor {
 public:
  explicit unique_descriptor(int number) : number_(number) {}
  ~unique_descriptor() {
    const int kept = errno;
    if (number_ >= 0) close(number_);
    errno = kept;
  }
  unique_descriptor(const unique_descriptor&) = delete;
  unique_descriptor& operator=(const unique_descriptor&) = delete;

  /// False when the call that was to open it failed.
  explicit operator bool() const { return number_ >= 0; }
  int get() const { return number_; }
  /// Leaves the descriptor open, for the caller to close.
  int release() { return std::exchange(number_, -1); }

 private:
  int number_;
};

}  // namespace orv

#endif
