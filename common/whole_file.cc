#include "common/whole_file.h"

#include <unistd.h>

#include <cerrno>

#include "common/handles.h"

namespace orv {

bool read_rest(FILE* stream, std::string& text) {
  char part[4096];
  std::size_t size = 0;
  while ((size = std::fread(part, 1, sizeof part, stream)) > 0) text.append(part, size);
  return std::ferror(stream) == 0;
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

bool read_file(const char* path, std::string& text, struct stat& examined) {
  const unique_file file(std::fopen(path, "re"));
  return file && fstat(fileno(file.get()), &examined) == 0 && read_rest(file.get(), text);
}

}  // namespace orv
