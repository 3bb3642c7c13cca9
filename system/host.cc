#include <orv/support.h>
#include <orv/system.h>

#include <ctime>

#include "common/handles.h"
#include "common/log.h"
#include "system/buffer.h"

namespace {

/// Reads the first line of a file. It is opened for writing too, so a file that could not be
/// changed counts as unreadable, as on every device so far.
bool read_first_line(const char* path, char* buffer, int size) {
  const orv::unique_file file(std::fopen(path, "r+e"));
  return file && get_line_from_file(file.get(), nullptr, 0, nullptr, buffer, size) == 0;
}

}  // namespace

int hostname_get(char* buffer, int size) {
  if (read_first_line("/etc/hostname", buffer, size)) return ORV_OK;
  return orv::log_failure(ORV_E_HOSTNAME);
}

int starttime_get(char* buffer, int size) {
  if (read_first_line("/etc/nas_start_time.conf", buffer, size)) return ORV_OK;
  return orv::log_failure(ORV_E_START_TIME);
}

int systime_get(char* buffer, int size) {
  if (!orv::is_usable(buffer, size)) return orv::log_failure(ORV_E_CLOCK);
  tzset();  // localtime_r alone goes on with the time zone that it has first seen
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  if (now == static_cast<std::time_t>(-1) || localtime_r(&now, &local) == nullptr) {
    return orv::log_failure(ORV_E_CLOCK);
  }
  char text[64] = "";
  std::strftime(text, sizeof text, "%Y-%m-%d %T", &local);
  liborv_strncpy(buffer, size, text);
  return ORV_OK;
}
