#ifndef ORV_COMMON_MOUNT_TABLE_H
#define ORV_COMMON_MOUNT_TABLE_H

#include <cstdio>
#include <string>
#include <string_view>

#include "common/file_lines.h"
#include "common/handles.h"
#include "common/whole_file.h"

namespace orv {

/// The kernel's table of mounts, read mount by mount: all of them, also those that getmntent(3)
/// passes over because whoever made them asked for that.
class mount_table {
 public:
  mount_table()
      : file_(without_buffer(unique_file(std::fopen("/proc/mounts", "re")))), lines_(file_.get()) {}
  mount_table(const mount_table&) = delete;
  mount_table& operator=(const mount_table&) = delete;

  /// False when the table cannot be opened, and `errno` says why.
  explicit operator bool() const { return file_ != nullptr; }

  /// Moves to the next mount; false behind the last one, and where the table cannot be read on.
  bool next();

  /// True when there may be more mounts, which cannot be read; `errno` says why.
  bool failed() const { return std::feof(file_.get()) == 0; }

  /// Where the mount that `next` moved to is; never empty.
  std::string_view directory() const { return directory_; }

 private:
  unique_file file_;
  file_lines lines_;
  std::string decoded_;
  std::string_view directory_;
};

}  // namespace orv

#endif
