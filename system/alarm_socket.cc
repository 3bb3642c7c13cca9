#include "system/alarm_socket.h"

#include <orv/alarm.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

#include "common/handles.h"
#include "common/log.h"
#include "common/tool_limit.h"
#include "system/reason_log.h"

namespace {

/// The address of a path, as long as the path: its terminator does not count.
struct socket_address {
  explicit socket_address(std::string_view path) {
    name.sun_family = AF_UNIX;
    const std::size_t copied = path.copy(name.sun_path, sizeof name.sun_path - 1);
    size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + copied);
  }
  const sockaddr* generic() const { return reinterpret_cast<const sockaddr*>(&name); }

  sockaddr_un name{};
  socklen_t size;
};

/// What an earlier question of a process with this number left there is removed first.
bool bind_to(int socket, const std::string& path) {
  unlink(path.c_str());
  const socket_address address(path);
  return bind(socket, address.generic(), address.size) == 0;
}

/// How long a connection may wait for its place in the daemon's queue; 0 seconds: for ever.
void limit_waiting(int socket, std::chrono::milliseconds time) {
  using std::chrono::seconds;
  const auto whole = std::chrono::floor<seconds>(time);
  const std::chrono::microseconds rest = time - whole;
  const timeval limit = {static_cast<time_t>(whole.count()),
                         static_cast<suseconds_t>(rest.count())};
  setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

bool connect_to(int socket, const char* path, const orv::deadline& end) {
  const socket_address address(path);
  int result = 0;
  do {
    limit_waiting(socket, std::max(end.left(), std::chrono::milliseconds(1)));
    result = connect(socket, address.generic(), address.size);
  } while (result != 0 && errno == EINTR && end.left().count() > 0);
  if (result != 0 && (errno == EAGAIN || errno == EINTR)) errno = ETIMEDOUT;
  if (result == 0) limit_waiting(socket, std::chrono::milliseconds(0));
  return result == 0;
}

}  // namespace

orv::deadline orv::alarm_deadline() {
  constexpr unsigned patience = 30;
  const unsigned limit = tool_limit();
  return deadline(std::chrono::seconds(limit == 0 ? patience : std::min(limit, patience)));
}

int orv::open_alarm_socket(const deadline& end) try {
  const std::string own_path = std::string(orv::alarm_daemon_path) + '.' + std::to_string(getpid());
  orv::unique_descriptor client(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!client || !bind_to(client.get(), own_path)) {
    return orv::log_reason(ORV_E_ALARM_BIND, "Could not bind to socket %s for '%s'",
                           own_path.c_str());
  }
  if (!connect_to(client.get(), orv::alarm_daemon_path, end)) {
    return orv::log_reason(ORV_E_ALARM_CONNECT, "Could not connect to socket %s for '%s'",
                           orv::alarm_daemon_path);
  }
  return client.release();
} catch (const std::bad_alloc&) {
  return orv::without_memory(ORV_E_ALARM_BIND);
}

int alarm_socket_open() { return orv::open_alarm_socket(orv::alarm_deadline()); }
