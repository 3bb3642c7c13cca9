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

/// Moves a unit in as many pieces as it takes.
template <class Move>
bool alarm_exchange::move_unit(Move move, short event) const {
  std::size_t moved = 0;
  while (moved < sizeof(alarm_unit)) {
    const ssize_t size = move(moved, sizeof(alarm_unit) - moved);
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

bool alarm_exchange::send_unit(const alarm_unit& unit) const {
  const char* const bytes = reinterpret_cast<const char*>(&unit);
  return move_unit(
      [&](std::size_t from, std::size_t size) {
        return send(socket_, bytes + from, size, MSG_NOSIGNAL | MSG_DONTWAIT);
      },
      POLLOUT);
}

bool alarm_exchange::receive_unit(alarm_unit& unit) const {
  char* const bytes = reinterpret_cast<char*>(&unit);
  return move_unit(
      [&](std::size_t from, std::size_t size) {
        return recv(socket_, bytes + from, size, MSG_DONTWAIT);
      },
      POLLIN);
}

}  // namespace orv
