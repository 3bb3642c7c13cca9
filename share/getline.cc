#include <orv/share.h>
#include <unistd.h>

#include <cerrno>

#include "common/log.h"
#include "share/read_line.h"

namespace {

/// Single bytes, so that what follows the line stays in the file.
struct single_bytes {
  int file;
  static int copy_plain(char* /*buffer*/, int /*room*/) { return 0; }
  int next(char& c) const {
    ssize_t got = 0;
    do {
      got = read(file, &c, 1);
    } while (got < 0 && errno == EINTR);
    return static_cast<int>(got);
  }
};

}  // namespace

int getline(int fd, char* buf, int size) {
  if (buf == nullptr) return orv::log_missing_argument();
  single_bytes source{fd};
  return orv::read_line(source, buf, size);
}
