#include <fcntl.h>
#include <orv/disk.h>
#include <unistd.h>

namespace {

/// What one call copies at most.
constexpr std::size_t largest_copy = 280;

int open_file(const char* path, int flags) {
  constexpr mode_t mode_of_new_file = 0644;
  return open(path == nullptr ? "" : path, flags | O_CLOEXEC, mode_of_new_file);
}

}  // namespace

int get_diskinfo_to_file(const char* src, const char* dst) {
  char text[largest_copy];
  const int source = open_file(src, O_RDONLY);
  const ssize_t length = read(source, text, sizeof text);
  if (source >= 0) close(source);

  const int copy = open_file(dst, O_RDWR | O_CREAT);
  if (length > 0) {
    // A copy that cannot be written is no failure here.
    [[maybe_unused]] const ssize_t written = write(copy, text, static_cast<std::size_t>(length));
  }
  return close(copy);
}
