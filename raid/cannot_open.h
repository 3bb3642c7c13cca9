#ifndef ORV_RAID_CANNOT_OPEN_H
#define ORV_RAID_CANNOT_OPEN_H

#include <cstdio>
#include <string>

#include "common/log.h"

namespace orv {

/// Reports a captured text that cannot be opened, in the log and on standard output.
/// @return the code
inline int cannot_open(const std::string& path, int code,
                       const char* function = __builtin_FUNCTION(), int line = __builtin_LINE()) {
  log_failure(code, function, line);
  std::printf("cannot open %s\n", path.c_str());
  return code;
}

}  // namespace orv

#endif
