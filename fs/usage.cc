#include <orv/fs.h>

#include <fcntl.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "common/families.h"
#include "common/log.h"
#include "common/text.h"

namespace {

constexpr std::string_view not_available = "not available";

/// Blocks reserved for the superuser count as used. Blocks of less than 1 KiB count as nothing.
void set_usage(tag_fs_info& fs, const struct statfs64& figures) {
  const uint64_t kib_per_block = static_cast<uint64_t>(figures.f_bsize) / 1024;
  const uint64_t total = figures.f_blocks;
  // A file system that tells of more is not used below nothing, which would be exabytes.
  const uint64_t available = std::min<uint64_t>(total, figures.f_bavail);
  fs.size = (total * kib_per_block) >> 10;
  fs.used = ((total - available) * kib_per_block) >> 10;
}

bool is_full(const tag_fs_info& fs) { return fs.size <= fs.used + 1; }

/// Makes a new file in a directory and completes its path. A file, link or directory named "test"
/// that is there already belongs to a user: another name is taken then.
int make_probe_file(std::string& path) {
  path += "/test";
  const int file =
      open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file >= 0 || errno != EEXIST) return file;
  path += ".XXXXXX";
  return mkostemp(path.data(), O_CLOEXEC);
}

bool is_writable(const std::string& directory) {
  constexpr char content[] = "test fs";
  std::string path = directory;
  const int file = make_probe_file(path);
  if (file < 0) return false;
  const bool written = write(file, content, sizeof content) == sizeof content;
  close(file);
  unlink(path.c_str());
  return written;
}

void measure(tag_fs_info& fs) {
  const std::string mountpoint(orv::text_of(fs.mountpoint));
  struct statfs64 figures {};
  if (mountpoint.empty()) {
    std::printf("filesystem %s cannot statfs\n", mountpoint.c_str());
  } else if (statfs64(mountpoint.c_str(), &figures) != 0) {
    orv::set_text(fs.state, not_available);
  } else {
    set_usage(fs, figures);
    if (!is_full(fs) && !is_writable(mountpoint)) orv::set_text(fs.state, not_available);
  }
}

}  // namespace

int get_usedsize_from_df(tag_fsinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  for (tag_fs_info& fs : orv::records(list)) measure(fs);
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
