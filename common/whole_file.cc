#include "common/whole_file.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace orv {

bool read_from_start(int file, secret_text& text) {
  char part[4096];
  const cleared_at_end cleared(part);
  off_t done = 0;
  for (;;) {
    const ssize_t got = pread(file, part, sizeof part, done);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return got == 0;
    text.append(part, static_cast<std::size_t>(got));
    done += got;
  }
}

bool read_up_to(int file, std::string& text, std::size_t longest) {
  char part[256];
  while (longest > 0) {
    const ssize_t got = read(file, part, std::min(sizeof part, longest));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return got == 0;
    text.append(part, static_cast<std::size_t>(got));
    longest -= static_cast<std::size_t>(got);
  }
  return true;
}

unique_file without_buffer(unique_file stream) {
  if (stream) std::setvbuf(stream.get(), nullptr, _IONBF, 0);
  return stream;
}

bool write_whole(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(file, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

}  // namespace orv
