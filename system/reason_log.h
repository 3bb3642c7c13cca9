#ifndef ORV_SYSTEM_REASON_LOG_H
#define ORV_SYSTEM_REASON_LOG_H

#include <orv/support.h>

#include <cerrno>
#include <cstring>

namespace orv {

/// Logs a failure in a form of its own, whose last value is the reason in `errno`.
/// @param values  those before the reason
/// @return the code, for `return log_reason(...)`
template <class... Values>
int log_reason(int code, const char* form, const Values*... values) {
  liborv_log_error(form, values..., std::strerror(errno));
  return code;
}

}  // namespace orv

#endif
