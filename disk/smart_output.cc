#include "disk/smart_output.h"

#include <orv/errors.h>
#include <orv/support.h>

#include <cerrno>
#include <cstring>

#include "common/log.h"

namespace orv {

int smart_output::read(const command& line, int unreadable, const char* function, int at) {
  constexpr int not_started = -1;
  const int status = output_.try_fill(line);
  if (status == not_started) check_memory();
  if (!output_.exists()) {
    liborv_log_error("cannot stat %s for '%s'\n", path().c_str(), std::strerror(errno));
    return ORV_E_COMMAND;
  }
  if (line.error() != 0) return ORV_E_COMMAND;
  file_ = output_.open();
  if (file_) return ORV_OK;
  log_failure(status, function, at);
  return unreadable;
}

}  // namespace orv
