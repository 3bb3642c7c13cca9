#include "share/ini_lines.h"

#include "common/log.h"
#include "common/whole_file.h"

namespace orv {

ini_lines::ini_lines(const char* path)
    : file_(without_buffer(open_whole(path))), lines_(file_.get()) {
  if (!file_) check_memory();
}

bool ini_lines::next() {
  if (!lines_.next()) {
    if (lines_.failed()) check_memory();
    return false;
  }
  text_ = trimmed(lines_.line());
  return true;
}

std::optional<std::string_view> ini_lines::sought_name() const {
  constexpr std::string_view ends("]\r\0", 3);
  const std::string_view name = lines_.line().substr(1);
  const std::size_t end = name.find_first_of(ends);
  if (end == std::string_view::npos || name[end] != ']') return std::nullopt;
  return name.substr(0, end);
}

std::optional<ini_setting> ini_lines::setting() const {
  const std::size_t equals = text_.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  const std::string_view value = trimmed_left(text_.substr(equals + 1));
  // As a buffer of C holds it.
  return ini_setting{trimmed_right(text_.substr(0, equals)), value.substr(0, value.find('\0'))};
}

}  // namespace orv
