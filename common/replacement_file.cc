#include "common/replacement_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace orv {

replacement_file::replacement_file(std::string path_template)
    : path_(std::move(path_template)), file_(mkostemp(path_.data(), O_CLOEXEC)) {}

replacement_file::~replacement_file() {
  if (file_ < 0) return;
  close(file_);
  if (!leave_) unlink(path_.c_str());
}

bool replacement_file::write(std::string_view text) const {
  while (!text.empty()) {
    const ssize_t written = ::write(file_, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

bool replacement_file::adopt(const struct stat& original) const {
  return fchown(file_, original.st_uid, original.st_gid) == 0 &&
         fchmod(file_, original.st_mode & 07777U) == 0;
}

bool replacement_file::sync() const { return fsync(file_) == 0; }

}  // namespace orv
