#ifndef ORV_COMMON_OWN_FILE_H
#define ORV_COMMON_OWN_FILE_H

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace orv {

/// Whether a file of a fixed name in "/tmp" is the system's own. Any local user may have put
/// something there first: a pipe, which nobody ever writes to, a link to another file, figures of
/// his own. What root put there nobody else can replace.
/// @return false, with `errno`, when it is not, or not there
inline bool is_own_file(const char* path) {
  struct stat found {};
  if (lstat(path, &found) != 0) return false;
  const bool is_plain = S_ISREG(found.st_mode) || S_ISDIR(found.st_mode);
  if (is_plain && (found.st_uid == 0 || found.st_uid == geteuid())) return true;
  errno = EPERM;
  return false;
}

}  // namespace orv

#endif
