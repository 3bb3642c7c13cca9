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
  text_ = lines_.line();
  // The four blanks before a setting go at once.
  constexpr std::string_view indent = "    ";
  if (text_.starts_with(indent)) text_.remove_prefix(indent.size());
  text_ = trimmed(text_);
  return true;
}

std::optional<std::string_view> ini_lines::sought_name() const {
  const std::string_view name = lines_.before_nul(lines_.line().substr(1));
  const std::size_t end = name.find(']');
  if (end >= name.find('\r')) return std::nullopt;  // also when there is neither
  return name.substr(0, end);
}

}  // namespace orv
