#include "common/log.h"

#include <orv/errors.h>
#include <orv/support.h>

#include <cerrno>
#include <cstring>
#include <new>

namespace orv {

int log_failure(int code, const char* function, int line) {
  liborv_log_error("%s:%d return %d with %s\n", function, line, code, std::strerror(errno));
  return code;
}

void log_null(const char* function, int line) {
  liborv_log_error("%s:%d return NULL with %s\n", function, line, std::strerror(errno));
}

void log_mount_failure(int code, const char* function, int line) {
  liborv_log_error("%s[%d]: return with %d", function, line, code);
}

int log_missing_argument(const char* function, int line) {
  errno = EINVAL;
  return log_failure(ORV_E_FAILED, function, line);
}

int without_memory(int code, const char* function, int line) {
  errno = ENOMEM;
  return log_failure(code, function, line);
}

void check_memory() {
  if (errno == ENOMEM) throw std::bad_alloc();
}

int log_command(const char* form, const char* command_text, int status) {
  constexpr int signal_bits = 0x7f;
  const char* const ended = (status & signal_bits) != 0 ? "unnormal" : "normal";
  const int exit_code = (status >> 8) & 0xff;
  return liborv_log_error(form, command_text, ended, exit_code, std::strerror(errno));
}

}  // namespace orv
