#include "common/local_time.h"

namespace orv {

std::optional<std::string> local_time_text(std::time_t time, const char* form) {
  tzset();  // localtime_r alone goes on with the time zone that it has first seen
  std::tm local{};
  if (localtime_r(&time, &local) == nullptr) return std::nullopt;
  char text[64] = "";
  std::strftime(text, sizeof text, form, &local);
  return text;
}

}  // namespace orv
