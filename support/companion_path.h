#ifndef ORV_SUPPORT_COMPANION_PATH_H
#define ORV_SUPPORT_COMPANION_PATH_H

#include <sys/stat.h>

#include <string>

namespace orv::support {

/// Where the companions of files that are rewritten in place stand; `common/companion.h` says what
/// they are.
inline constexpr char companions_directory[] = "/var/lib/orv/rewrites/";

/// A file's companion: known by device and inode, as the file's locks are.
inline std::string companion_path(const struct stat& file) {
  return companions_directory + std::to_string(file.st_dev) + '-' + std::to_string(file.st_ino);
}

}  // namespace orv::support

#endif
