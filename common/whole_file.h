#ifndef ORV_COMMON_WHOLE_FILE_H
#define ORV_COMMON_WHOLE_FILE_H

#include <sys/stat.h>

#include <cstdio>
#include <string>
#include <string_view>

#include "common/handles.h"
#include "common/secret_text.h"

namespace orv {

/// Appends the rest of a stream to a text; false, with `errno`, on a read error.
template <class Text>
bool read_rest(FILE* stream, Text& text) {
  char part[4096];
  const cleared_at_end cleared(part);
  std::size_t size = 0;
  while ((size = std::fread(part, 1, sizeof part, stream)) > 0) text.append(part, size);
  return std::ferror(stream) == 0;
}

/// Appends an open file, from its beginning, to a text; false, with `errno`, on a read error.
bool read_from_start(int file, secret_text& text);

/// Appends up to `longest` bytes, which for a kernel file is all, to a text; false, with `errno`,
/// on a read error.
bool read_up_to(int file, std::string& text, std::size_t longest);

/// A stream, or none, that was just opened: what is read from it by blocks, as `read_rest` and
/// `line_reader` do, is in no buffer of the C library on the way.
unique_file without_buffer(unique_file stream);

/// Writes a text to a descriptor; false, with `errno`, when it was not written whole.
bool write_whole(int file, std::string_view text);

/// Reads a file whole and examines its owner and mode; false, with `errno`, when it cannot be read.
template <class Text>
bool read_file(const char* path, Text& text, struct stat& examined) {
  const unique_file file = without_buffer(unique_file(std::fopen(path, "re")));
  return file && fstat(fileno(file.get()), &examined) == 0 && read_rest(file.get(), text);
}

}  // namespace orv

#endif
