#include "system/local_time.h"

namespace orv {

std::optional<std::string> local_time_text(std::time_t time) {
  tzset();  // localtime_r alone goes on with the time zone that it has first seen
  std::tm local{};
  if (localtime_r(&time, &local) == nullptr) return std::nullopt;
  char text[64] = "";
  std::strftime(text, sizeof text, "%Y-%m-%d %T", &local);
  return text;
}

}  // namespace orv
