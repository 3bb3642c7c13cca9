#ifndef ORV_SYSTEM_LOCAL_TIME_H
#define ORV_SYSTEM_LOCAL_TIME_H

#include <ctime>
#include <optional>
#include <string>

namespace orv {

/// A time as "YYYY-MM-DD HH:MM:SS" in the time zone as it is now; nothing, with `errno`, when it is
/// beyond the calendar.
std::optional<std::string> local_time_text(std::time_t time);

}  // namespace orv

#endif
