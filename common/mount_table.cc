#include "common/mount_table.h"

#include <algorithm>

#include "common/octal_code.h"

namespace orv {
namespace {

constexpr std::string_view blanks = " \t\n";

/// Takes the first word off a line.
std::string_view next_word(std::string_view& line) {
  line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
  const std::string_view word = line.substr(0, line.find_first_of(blanks));
  line.remove_prefix(word.size());
  return word;
}

}  // namespace

bool mount_table::next() {
  directory_ = {};
  while (directory_.empty()) {
    const ssize_t size = getline(&line_, &room_, file_.get());
    // A line that breaks off is none.
    if (size < 0 || std::ferror(file_.get()) != 0) return false;
    std::string_view rest(line_, static_cast<std::size_t>(size));
    next_word(rest);  // the device
    directory_ = next_word(rest);
  }
  if (directory_.find('\\') == directory_.npos) return true;
  decoded_ = unescaped(directory_);
  directory_ = decoded_;
  return true;
}

}  // namespace orv
