#ifndef ORV_SHARE_FILE_TEXT_H
#define ORV_SHARE_FILE_TEXT_H

#include <sys/stat.h>

#include <string>
#include <string_view>

#include "common/companion.h"
#include "common/log.h"
#include "common/whole_file.h"

namespace orv {

/// The text of a share file that is not locked; of one that cannot be read, what could be.
inline std::string file_text(const char* path) {
  std::string text;
  const unique_file file = open_whole(path);
  if (!file) {
    check_memory();
    return text;
  }
  struct stat examined {};
  // A text that grows as it is read takes up to three times its size.
  if (fstat(fileno(file.get()), &examined) == 0) {
    text.reserve(static_cast<std::size_t>(examined.st_size));
  }
  read_rest(file.get(), text);
  return text;
}

/// Cuts the next line, without its line end, off a text; false when the text is used up.
inline bool next_line(std::string_view& text, std::string_view& line) {
  if (text.empty()) return false;
  const std::size_t end = text.find('\n');
  line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return true;
}

}  // namespace orv

#endif
