#include "common/whole_file.h"

#include "common/handles.h"

namespace orv {

bool read_rest(FILE* stream, std::string& text) {
  char part[4096];
  std::size_t size = 0;
  while ((size = std::fread(part, 1, sizeof part, stream)) > 0) text.append(part, size);
  return std::ferror(stream) == 0;
}

bool read_file(const char* path, std::string& text, struct stat& examined) {
  const unique_file file(std::fopen(path, "re"));
  return file && fstat(fileno(file.get()), &examined) == 0 && read_rest(file.get(), text);
}

}  // namespace orv
