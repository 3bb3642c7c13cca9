#ifndef ORV_SYSTEM_ALARM_EXCHANGE_H
#define ORV_SYSTEM_ALARM_EXCHANGE_H

#include "common/deadline.h"
#include "system/alarm_unit.h"

namespace orv {

/// Units that go over a connection to the alarm daemon. Each is moved whole, or the result is false
/// and `errno` says why: ENODATA when the daemon closed the connection, ETIMEDOUT when it let the
/// deadline pass, however much it had sent or taken by then.
class alarm_exchange {
 public:
  alarm_exchange(int socket, const deadline& end) : socket_(socket), end_(end) {}

  bool send_unit(alarm_unit unit) const;
  bool receive_unit(alarm_unit& unit) const;

 private:
  bool move_unit(char* bytes, short event) const;
  /// False when the deadline comes before the event.
  bool wait_for(short event) const;

  int socket_;
  const deadline& end_;
};

}  // namespace orv

#endif
