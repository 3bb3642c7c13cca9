#include <orv/support.h>

#include <syslog.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

struct free_text {
  void operator()(char* text) const { std::free(text); }
};
using owned_text = std::unique_ptr<char, free_text>;

owned_text formatted(const char* format, va_list values) {
  char* text = nullptr;
  if (format == nullptr || vasprintf(&text, format, values) < 0) return nullptr;
  return owned_text(text);
}

/// Without memory for the text its format is logged.
const char* message_of(const owned_text& text, const char* format) {
  if (text) return text.get();
  return format == nullptr ? "" : format;
}

/// The program that loads the library may name itself in the log; our lines carry our own ident.
void write_error(const char* form, const char* message, const char* reason) {
  openlog("orv", 0, LOG_DAEMON);
  syslog(LOG_DAEMON | LOG_ERR, form, message, reason);
}

}  // namespace

int liborv_log_error(const char* format, ...) {
  const int saved_errno = errno;
  va_list values;
  va_start(values, format);
  const owned_text text = formatted(format, values);
  va_end(values);
  write_error("%s%s", message_of(text, format), "");
  errno = saved_errno;
  return -1;
}

void orv_perror_msg(const char* format, ...) {
  const int saved_errno = errno;
  va_list values;
  va_start(values, format);
  const owned_text text = formatted(format, values);
  va_end(values);
  write_error("%s: %s\n", message_of(text, format), std::strerror(saved_errno));
  errno = saved_errno;
}
