#include "common/mount_table.h"

#include "common/octal_code.h"
#include "common/text.h"

namespace orv {

bool mount_table::next() {
  constexpr std::string_view blanks = " \t";
  directory_ = {};
  while (directory_.empty()) {
    // A line that breaks off is none.
    if (!lines_.next() || lines_.breaks_off()) return false;
    std::string_view rest = lines_.line();
    next_part(rest, blanks);  // the device
    directory_ = next_part(rest, blanks);
  }
  if (directory_.find('\\') == directory_.npos) return true;
  decoded_ = unescaped(directory_);
  directory_ = decoded_;
  return true;
}

}  // namespace orv
