#include <orv/support.h>
#include <orv/system.h>

#include <ctime>

#include "common/first_line.h"
#include "common/local_time.h"
#include "common/log.h"
#include "system/buffer.h"

int hostname_get(char* buffer, int size) {
  if (orv::read_first_line("/etc/hostname", buffer, size)) return ORV_OK;
  return orv::log_failure(ORV_E_HOSTNAME);
}

int starttime_get(char* buffer, int size) {
  if (orv::read_first_line("/etc/nas_start_time.conf", buffer, size)) return ORV_OK;
  return orv::log_failure(ORV_E_START_TIME);
}

int systime_get(char* buffer, int size) try {
  if (!orv::is_usable(buffer, size)) return orv::log_failure(ORV_E_CLOCK);
  const std::time_t now = std::time(nullptr);
  if (now == static_cast<std::time_t>(-1)) return orv::log_failure(ORV_E_CLOCK);
  const auto text = orv::local_time_text(now);
  if (!text) return orv::log_failure(ORV_E_CLOCK);
  liborv_strncpy(buffer, size, text->c_str());
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory(ORV_E_CLOCK);
}
