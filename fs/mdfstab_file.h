#ifndef ORV_FS_MDFSTAB_FILE_H
#define ORV_FS_MDFSTAB_FILE_H

#include <orv/support.h>

#include <cerrno>
#include <cstring>

namespace orv {

inline constexpr char mdfstab_path[] = "/etc/mdfstab";

/// Logs that the mount table cannot be opened, read or written, for the reason in `errno`.
/// @param files  what the log line calls it
/// @return the code
inline int log_mdfstab_failure(int code, const char* files = mdfstab_path) {
  liborv_log_error("cannot open %s for %s", files, std::strerror(errno));
  return code;
}

}  // namespace orv

#endif
