#ifndef ORV_SYSTEM_BUFFER_H
#define ORV_SYSTEM_BUFFER_H

#include <cerrno>

namespace orv {

/// True for a caller's buffer that can hold a text; else `errno` says what is wrong.
inline bool is_usable(const char* buffer, int size) {
  if (buffer != nullptr && size > 0) return true;
  errno = EINVAL;
  return false;
}

}  // namespace orv

#endif
