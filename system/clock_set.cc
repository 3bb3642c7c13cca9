#include <orv/system.h>
#include <sys/time.h>

#include <cerrno>
#include <ctime>
#include <optional>

#include "common/command.h"
#include "common/log.h"
#include "system/reason_log.h"

namespace {

/// The seconds since 1970 of a local time; nothing, with `errno`, when there is no such time.
std::optional<std::time_t> seconds_of(const tag_datetime& time) {
  std::tm local{};
  constexpr int unset = -1;
  local.tm_isdst = -1;
  local.tm_wday = unset;
  local.tm_mday = time.day;
  local.tm_hour = time.hour;
  local.tm_min = time.minute;
  local.tm_sec = time.second;
  if (__builtin_sub_overflow(time.month, 1, &local.tm_mon) ||
      __builtin_sub_overflow(time.year, 1900, &local.tm_year)) {
    errno = EOVERFLOW;
    return std::nullopt;
  }
  const std::time_t seconds = std::mktime(&local);
  // The result -1 is a time too, one second before 1970: only the day of the week tells.
  if (local.tm_wday == unset) return std::nullopt;
  return seconds;
}

}  // namespace

int systime_set(const tag_datetime* time) try {
  if (time == nullptr) return orv::log_missing_argument();
  timeval now{};
  struct timezone zone {};
  if (gettimeofday(&now, &zone) != 0) {
    return orv::log_reason(ORV_E_CLOCK_ZONE, "execute 'gettimeofday' error for '%s'\n");
  }
  const auto seconds = seconds_of(*time);
  // The zone stays as it is: the system takes a time or a zone, never both at once.
  const timeval wanted{.tv_sec = seconds.value_or(0), .tv_usec = 0};
  if (!seconds || settimeofday(&wanted, nullptr) != 0) {
    return orv::log_reason(ORV_E_CLOCK_SET, "execute 'Settimeofday' error for '%s'\n");
  }
  orv::status_of(orv::command("hwclock -u -w"));
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
