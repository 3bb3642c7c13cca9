#ifndef ORV_SYSTEM_ALARM_SOCKET_H
#define ORV_SYSTEM_ALARM_SOCKET_H

#include "common/deadline.h"

namespace orv {

/// Where the alarm daemon listens.
inline constexpr char alarm_daemon_path[] = "/dev/alarm.socket";

/// When a question to the daemon is given up: after 30 seconds, or sooner when commands may not
/// take as long.
deadline alarm_deadline();

/// As `alarm_socket_open`. @param end  when a daemon that takes no connection is given up
int open_alarm_socket(const deadline& end);

}  // namespace orv

#endif
