#ifndef ORV_SYSTEM_ALARM_SOCKET_H
#define ORV_SYSTEM_ALARM_SOCKET_H

namespace orv {

/// Where the alarm daemon listens.
inline constexpr char alarm_daemon_path[] = "/dev/alarm.socket";

}  // namespace orv

#endif
