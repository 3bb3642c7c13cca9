#include <orv/alarm.h>

#include <cerrno>
#include <new>
#include <string>

#include "common/families.h"
#include "common/handles.h"
#include "common/local_time.h"
#include "common/log.h"
#include "common/text.h"
#include "system/alarm_exchange.h"
#include "system/alarm_socket.h"
#include "system/alarm_unit.h"
#include "system/reason_log.h"

namespace {

/// False without memory; then the list is as it was.
bool add_alarm(tag_alarm_list* list, const orv::alarm_unit& unit) try {
  const std::string time = orv::local_time_text(unit.time).value_or("");
  tag_alarm_info* const alarm = orv::append(list);
  if (alarm == nullptr) return false;
  orv::set_text(alarm->id, std::to_string(unit.id));
  orv::set_text(alarm->name, orv::text_of(unit.name));
  orv::set_text(alarm->time, time);
  orv::set_text(alarm->text, orv::text_of(unit.text));
  return true;
} catch (const std::bad_alloc&) {
  errno = ENOMEM;
  return false;
}

int ask(tag_alarm_list* list, int socket, const orv::deadline& end) {
  const orv::alarm_exchange daemon(socket, end);
  orv::alarm_unit unit{};
  unit.command = orv::alarm_unit::get_alarms;
  if (!daemon.send_unit(unit)) {
    return orv::log_reason(ORV_E_ALARM_SEND, "Could not send pdu '%s' for '%s'",
                           orv::alarm_daemon_path);
  }
  if (!daemon.receive_unit(unit)) {
    return orv::log_reason(ORV_E_ALARM_REPLY, "Could not recv pdu '%s' for '%s'",
                           orv::alarm_daemon_path);
  }
  for (unsigned left = unit.count(); left > 0; --left) {
    if (!daemon.receive_unit(unit) || !add_alarm(list, unit)) {
      return orv::log_reason(ORV_E_ALARM_ITEM, "Could not recv item '%s' for '%s'",
                             orv::alarm_daemon_path);
    }
    if (unit.ends_the_list()) break;
  }
  return ORV_OK;
}

}  // namespace

int alarm_socket_get(tag_alarm_list* list, int socket) try {
  if (list == nullptr) return orv::log_missing_argument();
  return ask(list, socket, orv::alarm_deadline());
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int get_alarminfo_from_socket(tag_alarm_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const orv::deadline end = orv::alarm_deadline();
  const int socket = orv::open_alarm_socket(end);
  if (socket < 0) return socket;
  const orv::unique_descriptor closed_at_the_end(socket);
  return ask(list, socket, end);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int alarm_get(tag_alarm_list* list) { return get_alarminfo_from_socket(list); }
