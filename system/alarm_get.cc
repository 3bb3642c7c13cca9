#include <orv/alarm.h>
#include <sys/socket.h>

#include <cerrno>
#include <string>

#include "common/families.h"
#include "common/handles.h"
#include "common/local_time.h"
#include "common/log.h"
#include "common/text.h"
#include "system/alarm_socket.h"
#include "system/alarm_unit.h"
#include "system/reason_log.h"

namespace {

/// Sends or receives a unit in as many pieces as it takes. The unit is moved whole, or the result
/// is false and `errno` says why; that the daemon closed the connection is reported as ENODATA.
template <class Move>
bool move_unit(Move move) {
  std::size_t moved = 0;
  while (moved < sizeof(orv::alarm_unit)) {
    const ssize_t size = move(moved, sizeof(orv::alarm_unit) - moved);
    if (size < 0 && errno == EINTR) continue;
    if (size == 0) errno = ENODATA;
    if (size <= 0) return false;
    moved += static_cast<std::size_t>(size);
  }
  return true;
}

bool send_unit(int socket, const orv::alarm_unit& unit) {
  const char* const bytes = reinterpret_cast<const char*>(&unit);
  return move_unit([&](std::size_t from, std::size_t size) {
    return send(socket, bytes + from, size, MSG_NOSIGNAL);
  });
}

bool receive_unit(int socket, orv::alarm_unit& unit) {
  char* const bytes = reinterpret_cast<char*>(&unit);
  return move_unit(
      [&](std::size_t from, std::size_t size) { return recv(socket, bytes + from, size, 0); });
}

/// False without memory.
bool add_alarm(tag_alarm_list* list, const orv::alarm_unit& unit) {
  tag_alarm_info* const alarm = orv::append(list);
  if (alarm == nullptr) return false;
  orv::set_text(alarm->id, std::to_string(unit.id));
  orv::set_text(alarm->name, orv::text_of(unit.name));
  orv::set_text(alarm->time, orv::local_time_text(unit.time).value_or(""));
  orv::set_text(alarm->text, orv::text_of(unit.text));
  return true;
}

}  // namespace

int alarm_socket_get(tag_alarm_list* list, int socket) {
  if (list == nullptr) return orv::log_missing_argument();
  orv::alarm_unit unit{};
  unit.command = orv::alarm_unit::get_alarms;
  if (!send_unit(socket, unit)) {
    return orv::log_reason(ORV_E_ALARM_SEND, "Could not send pdu '%s' for '%s'",
                           orv::alarm_daemon_path);
  }
  if (!receive_unit(socket, unit)) {
    return orv::log_reason(ORV_E_ALARM_REPLY, "Could not recv pdu '%s' for '%s'",
                           orv::alarm_daemon_path);
  }
  for (unsigned left = unit.count(); left > 0; --left) {
    if (!receive_unit(socket, unit) || !add_alarm(list, unit)) {
      return orv::log_reason(ORV_E_ALARM_ITEM, "Could not recv item '%s' for '%s'",
                             orv::alarm_daemon_path);
    }
    if (unit.ends_the_list()) break;
  }
  return ORV_OK;
}

int get_alarminfo_from_socket(tag_alarm_list* list) {
  if (list == nullptr) return orv::log_missing_argument();
  const int socket = alarm_socket_open();
  if (socket < 0) return socket;
  const orv::unique_descriptor closed_at_the_end(socket);
  return alarm_socket_get(list, socket);
}

int alarm_get(tag_alarm_list* list) { return get_alarminfo_from_socket(list); }
