#include "system/alarm_socket.h"

#include <orv/alarm.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>

#include "common/handles.h"
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

bool connect_to(int socket, const char* path) {
  const socket_address address(path);
  int result = 0;
  do {
    result = connect(socket, address.generic(), address.size);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

}  // namespace

int alarm_socket_open() {
  const std::string own_path = std::string(orv::alarm_daemon_path) + '.' + std::to_string(getpid());
  orv::unique_descriptor client(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!client || !bind_to(client.get(), own_path)) {
    return orv::log_reason(ORV_E_ALARM_BIND, "Could not bind to socket %s for '%s'",
                           own_path.c_str());
  }
  if (!connect_to(client.get(), orv::alarm_daemon_path)) {
    return orv::log_reason(ORV_E_ALARM_CONNECT, "Could not connect to socket %s for '%s'",
                           orv::alarm_daemon_path);
  }
  return client.release();
}
