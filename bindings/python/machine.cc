#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bindings/python/families.h"
#include "bindings/python/functions.h"

namespace orv_python {
namespace {

const field<tag_alarm_info> alarm_fields[] = {
    text_field<&tag_alarm_info::id>("id", "number of the alarm"),
    text_field<&tag_alarm_info::time>("time", "local time as 'YYYY-MM-DD HH:MM:SS'"),
    text_field<&tag_alarm_info::name>("name", "what raised it"),
    text_field<&tag_alarm_info::text>("text", "description"),
};

const field<tag_netcard> interface_fields[] = {
    text_field<&tag_netcard::name>("name", "without the alias suffix"),
    text_field<&tag_netcard::ip>("address", "IPv4 address, dotted"),
    text_field<&tag_netcard::netmask>("netmask", "dotted"),
    text_field<&tag_netcard::gateway>("gateway", "dotted; empty when none is configured"),
    text_field<&tag_netcard::mac>("mac", "hardware address, as in '00:1b:21:0a:0b:0c'"),
};

// --- Facts ---------------------------------------------------------------------------------------

using getter = int (*)(char* buffer, int size);

template <getter get>
std::string fact() {
  char text[256] = "";
  check(get(text, static_cast<int>(sizeof text)));
  return text;
}

constexpr std::array<getter, 8> getters = {devmodel_get,    hostname_get,  softversion_get,
                                           hardversion_get, starttime_get, tmp_get,
                                           fan_speed_get,   pwstate_get};

/// A fact that cannot be read does not spoil the others.
struct system_facts {
  std::array<std::optional<std::string>, getters.size()> values;
};

template <std::size_t place>
field<system_facts> fact_field(const char* name, const char* about) {
  return {name, "str | None", about, [](const system_facts& of) -> py::object {
            const auto& value = of.values[place];
            return value ? text_object(*value) : py::none();
          }};
}

const field<system_facts> system_fields[] = {
    fact_field<0>("model", "device model, such as 'KTA7120X'"),
    fact_field<1>("host_name", "host name"),
    fact_field<2>("software_version", "version of the software"),
    fact_field<3>("hardware_version", "version of the hardware"),
    fact_field<4>("start_time", "when the machine started, as the platform words it"),
    fact_field<5>("temperature", "temperature, as the platform words it"),
    fact_field<6>("fans", "'fan1:SPEED,fan2:SPEED,...'"),
    fact_field<7>("power_supply", "state of the power supply; empty on a model that does not tell"),
};

system_facts read_facts() {
  system_facts facts;
  for (std::size_t i = 0; i < getters.size(); ++i) {
    char text[256] = "";
    if (getters[i](text, static_cast<int>(sizeof text)) == ORV_OK) facts.values[i] = text;
  }
  return facts;
}

void add_clock(py::module_& module) {
  define(module, "clock", turn::any, "The machine's local time as 'YYYY-MM-DD HH:MM:SS'.",
         fact<systime_get>);
  define<parameter<"when", moment>>(
      module, "clock_set", turn::any,
      "Sets the clock, and the hardware clock from it, to a local time.", change<systime_set>());
}

/// How long a tool may take; a number of seconds as the library counts them.
using seconds = limit;

void set_tool_timeout(const seconds& given) { orv_set_tool_timeout(given.c()); }

int tool_timeout() { return static_cast<int>(orv_tool_timeout()); }

void add_tool_timeout(py::module_& module) {
  define(module, "tool_timeout", turn::any,
         "How many seconds a tool may take that the library runs for this thread; 0: any time.",
         tool_timeout);
  define<parameter<"seconds", seconds>>(
      module, "tool_timeout_set", turn::any,
      "From here on every tool that the library runs for this thread is ended when it takes\n"
      "longer, and the call fails with the code of a tool that failed; 0: tools may take any\n"
      "time, which is what a thread begins with. A change that was cut short may have been made\n"
      "in part.",
      set_tool_timeout);
}

}  // namespace

void add_machine(py::module_& module) {
  declare<tag_alarm_info>(module, "Alarm", "One alarm.", alarm_fields);
  declare<tag_netcard>(module, "Interface", "One network interface.", interface_fields);
  declare<system_facts>(module, "SystemInfo",
                        "What the machine tells about itself; None for what cannot be read.",
                        system_fields);

  define(module, "alarm_list", turn::alarms, "The current alarms, in the alarm daemon's order.",
         query<orv::alarm_list, alarm_get>());
  define(module, "net_list", turn::any, "The interfaces that are up and have an IPv4 address.",
         query<orv::network_interface_list, netcard_get>());
  define(module, "system_info", turn::any, "What the machine tells about itself.", read_facts);
  define<parameter<"path", text<256>>>(module, "system_processes", turn::any,
                                       "Writes the list of processes, as ps prints it, to a file.",
                                       change<procinfo_get>());
  define(module, "host_name", turn::any, "The host name.", fact<hostname_get>);
  define<parameter<"name", text<65>>>(module, "host_set", turn::any,
                                      "Stores the host name and applies it.",
                                      change<hostname_set>());
  add_clock(module);
  add_tool_timeout(module);
  define(module, "power_off", turn::any, "Powers the machine off.", change<sys_shutdown>());
  define(module, "power_reboot", turn::any, "Restarts the machine.", change<sys_reboot>());
}

}  // namespace orv_python
