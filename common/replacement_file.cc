#include "common/replacement_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

#include "common/whole_file.h"

namespace orv {

replacement_file::replacement_file(std::string path_template)
    : path_(std::move(path_template)), file_(mkostemp(path_.data(), O_CLOEXEC)) {}

replacement_file::~replacement_file() {
  if (file_ < 0) return;
  close(file_);
  if (!leave_) unlink(path_.c_str());
}

bool replacement_file::write(std::string_view text) const { return write_whole(file_, text); }

bool replacement_file::adopt(const struct stat& original) const {
  return fchown(file_, original.st_uid, original.st_gid) == 0 &&
         fchmod(file_, original.st_mode & 07777U) == 0;
}

bool replacement_file::sync() const { return fsync(file_) == 0; }

}  // namespace orv
