#ifndef ORV_SUPPORT_TO_BEGINNING_H
#define ORV_SUPPORT_TO_BEGINNING_H

#include <cerrno>
#include <cstdio>

namespace orv::support {

/// Goes back to the beginning of a stream, as std::rewind does, which keeps a failure to itself:
/// what is read then begins anywhere. What has no places, as a pipe, is read on from where it is.
/// @return false, with `errno`, when the stream is not at its beginning
inline bool to_beginning(FILE* stream) {
  const int reason = errno;
  std::clearerr(stream);
  if (std::fseek(stream, 0, SEEK_SET) == 0) return true;
  if (errno != ESPIPE) return false;
  errno = reason;
  return true;
}

}  // namespace orv::support

#endif
