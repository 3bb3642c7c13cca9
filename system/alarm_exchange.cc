#include "system/alarm_exchange.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstddef>

namespace orv {

bool alarm_exchange::wait_for(short event) const {
  pollfd waited = {socket_, event, 0};
  if (poll(&waited, 1, static_cast<int>(end_.left().count())) < 0) return errno == EINTR;
  if (waited.revents == 0) errno = ETIMEDOUT;
  return waited.revents != 0;
}

/// Moves a unit in as many pieces as it takes, in the direction that the event stands for.
bool alarm_exchange::move_unit(char* bytes, short event) const {
  std::size_t moved = 0;
  while (moved < sizeof(alarm_unit)) {
    char* const next = bytes + moved;
    const std::size_t left = sizeof(alarm_unit) - moved;
    const ssize_t size = event == POLLIN ? recv(socket_, next, left, MSG_DONTWAIT)
                                         : send(socket_, next, left, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (size > 0) {
      moved += static_cast<std::size_t>(size);
    } else if (size == 0) {
      errno = ENODATA;
      return false;
    } else if (errno != EINTR && (errno != EAGAIN || !wait_for(event))) {
      return false;
    }
  }
  return true;
}

bool alarm_exchange::send_unit(alarm_unit unit) const {
  return move_unit(reinterpret_cast<char*>(&unit), POLLOUT);
}

bool alarm_exchange::receive_unit(alarm_unit& unit) const {
  return move_unit(reinterpret_cast<char*>(&unit), POLLIN);
}

}  // namespace orv
