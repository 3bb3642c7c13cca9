#include "common/mount_table.h"

#include "common/octal_code.h"
#include "common/text.h"

namespace orv {

bool mount_table::next() {
  constexpr std::string_view blanks = " \t\n";
  directory_ = {};
  while (directory_.empty()) {
    const ssize_t size = getline(&line_, &room_, file_.get());
    // A line that breaks off is none.
    if (size < 0 || std::ferror(file_.get()) != 0) return false;
    std::string_view rest(line_, static_cast<std::size_t>(size));
    next_part(rest, blanks);  // the device
    directory_ = next_part(rest, blanks);
  }
  if (directory_.find('\\') == directory_.npos) return true;
  decoded_ = unescaped(directory_);
  directory_ = decoded_;
  return true;
}

}  // namespace orv
