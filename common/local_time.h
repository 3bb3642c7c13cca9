#ifndef ORV_COMMON_LOCAL_TIME_H
#define ORV_COMMON_LOCAL_TIME_H

#include <ctime>
#include <optional>
#include <string>

namespace orv {

/// A time in the time zone as it is now.
/// @param form  as of `strftime`; at most 63 characters come of it
/// @return nothing, with `errno`, when the time is beyond the calendar
std::optional<std::string> local_time_text(std::time_t time, const char* form = "%Y-%m-%d %T");

}  // namespace orv

#endif
