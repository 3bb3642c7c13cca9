#ifndef ORV_DISK_SMART_OUTPUT_H
#define ORV_DISK_SMART_OUTPUT_H

#include <string>

#include "common/captured_output.h"
#include "common/command.h"
#include "common/handles.h"

namespace orv {

/// What a SMART tool prints about one disk. Its exit status tells of the disk's health rather than
/// of a failure, so only the output counts.
class smart_output {
 public:
  /// @param path_template  path that ends in "XXXXXX"
  explicit smart_output(std::string path_template) : output_(std::move(path_template)) {}

  const std::string& path() const { return output_.path(); }

  /// Runs the tool and opens what it printed. A failure is logged.
  /// @param unreadable  the result when the output is there but cannot be opened
  /// @return ORV_OK, ORV_E_COMMAND or `unreadable`
  int read(const command& line, int unreadable, const char* function = __builtin_FUNCTION(),
           int at = __builtin_LINE());

  /// The output that `read` opened.
  FILE* file() const { return file_.get(); }

 private:
  captured_output output_;
  unique_file file_;
};

}  // namespace orv

#endif
