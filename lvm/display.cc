#include "lvm/display.h"

#include <orv/support.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "common/log.h"

namespace orv {
namespace {

int length_of(const char* line) { return static_cast<int>(std::strlen(line)); }

}  // namespace

std::optional<std::string> text_column(const char* line, int index) {
  char* column = nullptr;
  if (get_substr_from_line(line, length_of(line), ":", index, &column) == 0) return std::nullopt;
  char* const end = std::strchr(column, ':');
  if (end == nullptr) return std::nullopt;
  return std::string(column, end);
}

uint64_t number_column(const char* line, int index) {
  uint64_t number = 0;
  get_size_from_display(line, length_of(line), ":", index, &number);
  return number;
}

void tell_cannot_open(const captured_output& output, int logged, const char* function, int line) {
  const int reason = errno;
  std::printf("cannot open %s\n", output.path().c_str());
  errno = reason;
  log_failure(logged, function, line);
}

}  // namespace orv
