#ifndef ORV_COMMON_MOUNT_TABLE_H
#define ORV_COMMON_MOUNT_TABLE_H

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "common/handles.h"

namespace orv {

/// The kernel's table of mounts, read mount by mount: all of them, also those that getmntent(3)
/// passes over because whoever made them asked for that.
class mount_table {
 public:
  mount_table() : file_(std::fopen("/proc/mounts", "re")) {}
  ~mount_table() { std::free(line_); }
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
  char* line_ = nullptr;
  std::size_t room_ = 0;
  std::string decoded_;
  std::string_view directory_;
};

}  // namespace orv

#endif
