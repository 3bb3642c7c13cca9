#include <unistd.h>

#include "subject.h"
#include "tests/system/alarm_daemon.h"

namespace faults {
namespace {

std::shared_ptr<alarm_daemon> daemon_of(world& w) {
  auto daemon = std::make_shared<alarm_daemon>(w.machine);
  daemon->has("1|1714557600|fan|fan 1 stands\n2|1714557601|disk|disk 3 failed\n");
  return daemon;
}

/// A function on a list of alarms, while the daemon runs.
template <class Function>
auto with_daemon(Function function) {
  return [function](world& w) {
    auto daemon = daemon_of(w);
    ready_call made = with_list<tag_alarm_list>(function)(w);
    return ready_call{.act = [daemon, made] { return made.act(); }, .show = made.show};
  };
}

const codes alarms = {ORV_E_ALARM_BIND, ORV_E_ALARM_CONNECT, ORV_E_ALARM_SEND, ORV_E_ALARM_REPLY,
                      ORV_E_ALARM_ITEM};

std::vector<subject> changes() {
  return {
      {.name = "sys_shutdown()", .documented = {ORV_E_FAILED}, .prepare = call(sys_shutdown)},
      {.name = "sys_reboot()", .documented = {ORV_E_FAILED}, .prepare = call(sys_reboot)},
      {.name = "procinfo_get(char const*)",
       .documented = {ORV_E_FAILED},
       .prepare = call([] { return procinfo_get("/etc/processes"); }),
       .cut_short = {"/etc/processes"},
       .leaves = {"/etc/processes"}},
      {.name = "systime_set(tag_datetime const*)",
       .documented = {ORV_E_CLOCK_ZONE, ORV_E_CLOCK_SET},
       .prepare = call([] {
         const tag_datetime time = {2024, 5, 1, 10, 0, 0};
         return systime_set(&time);
       }),
       .overcomes = because("the hardware clock follows as well as it can",
                            {"hwclock", "clone", "wait4", "execve", "/dev/null", "dup2"}) +
                    because("without its file the zone is UTC", {"localtime"})},
      {.name = "hostname_set(char const*)",
       .documented = {ORV_E_HOSTNAME_OPEN, ORV_E_HOSTNAME_WRITE, ORV_E_HOSTNAME_SET},
       .prepare = call([] { return hostname_set("nas2"); }),
       .cut_short = {"/etc/hostname"}},
  };
}

std::vector<subject> texts() {
  return {
      {.name = "softversion_get(char*, int)",
       .documented = {ORV_E_SOFTWARE_VERSION},
       .prepare = get_text(softversion_get)},
      {.name = "hardversion_get(char*, int)",
       .documented = {ORV_E_HARDWARE_VERSION},
       .prepare = get_text(hardversion_get)},
      {.name = "devmodel_get(char*, int)",
       .documented = {ORV_E_MODEL},
       .prepare = get_text(devmodel_get)},
      {.name = "tmp_get(char*, int)",
       .documented = {ORV_E_TEMPERATURE, ORV_E_MODEL},
       .prepare = get_text(tmp_get)},
      {.name = "fan_speed_get(char*, int)",
       .documented = {ORV_E_FANS, ORV_E_MODEL},
       .prepare = get_text(fan_speed_get),
       .overcomes = because("a fan that cannot be read, or examined, has no speed",
                            {"state", "no memory", "fstatat"})},
      {.name = "hostname_get(char*, int)",
       .documented = {ORV_E_HOSTNAME},
       .prepare = get_text(hostname_get)},
      {.name = "starttime_get(char*, int)",
       .documented = {ORV_E_START_TIME},
       .prepare = get_text(starttime_get)},
      {.name = "systime_get(char*, int)", .documented = {ORV_E_CLOCK}, .prepare = call([] {
                                                                         char time[20];
                                                                         return systime_get(
                                                                             time, sizeof time);
                                                                       })},
      {.name = "pwstate_get(char*, int)",
       .documented = {ORV_E_POWER, ORV_E_POWER_TOOL, ORV_E_COMMAND, ORV_E_MODEL},
       .prepare = get_text(pwstate_get)},
      {.name = "pwstate_get(char*, int)",
       .variant = "from the tool",
       .documented = {ORV_E_POWER, ORV_E_POWER_TOOL, ORV_E_COMMAND, ORV_E_MODEL},
       .prepare = get_text(pwstate_get),
       .model = "KTA7120E"},
  };
}

std::vector<subject> lists() {
  return {
      {.name = "alarm_get(tag_alarm_list*)",
       .documented = alarms,
       .prepare = with_daemon(alarm_get)},
      {.name = "get_alarminfo_from_socket(tag_alarm_list*)",
       .documented = alarms,
       .prepare = with_daemon(get_alarminfo_from_socket)},
      {.name = "alarm_socket_open()",
       .documented = alarms,
       .prepare =
           [](world& w) {
             auto daemon = daemon_of(w);
             return ready_call{.act = [daemon] {
               const int socket = alarm_socket_open();
               if (socket < 0) return long{socket};
               ::close(socket);
               return long{ORV_OK};
             }};
           }},
      {.name = "alarm_socket_get(tag_alarm_list*, int)",
       .documented = alarms,
       .prepare = with_daemon([](tag_alarm_list* list) {
         const int socket = alarm_socket_open();
         if (socket < 0) return socket;
         const int result = alarm_socket_get(list, socket);
         ::close(socket);
         return result;
       })},
      {.name = "netcard_get(tag_netcard_list*)",
       .documented = {ORV_E_FAILED},
       .prepare = with_list<tag_netcard_list>(netcard_get),
       .overcomes = because("what an interface does not tell is missing",
                            {"ioctl", "/etc/network/interfaces", "no memory"})},
      {.name = "get_gateway(char const*, char const*, char*)",
       .documented = {ORV_E_FAILED, ORV_E_NO_GATEWAY},
       .prepare = call_with_text(
           [](char* text) { return get_gateway("/etc/network/interfaces", "eth0", text); })},
  };
}

}  // namespace

std::vector<subject> system_subjects() {
  std::vector<subject> all = changes();
  for (const auto& more : {texts(), lists()}) all.insert(all.end(), more.begin(), more.end());
  return all;
}

}  // namespace faults
