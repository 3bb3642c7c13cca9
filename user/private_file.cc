#include "user/private_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "common/whole_file.h"

namespace orv {

unique_file open_private(const char* path) {
  const int file = open(path, O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file < 0) return nullptr;
  unique_file stream(fdopen(file, "r+"));
  if (!stream) close(file);
  return without_buffer(std::move(stream));
}

}  // namespace orv
