/// Versions, model, state, host name, start time, kernel version, and times of day.

#include <orv/support.h>
#include <orv/system.h>

#include "fuzz.h"

namespace {

void ask(int (*getter)(char*, int), int failed) {
  char buffer[24];
  std::fill(std::begin(buffer), std::end(buffer), '\x01');
  const int size = 17;
  buffer[size - 1] = '\0';
  const int result = getter(buffer, size);
  EXPECT(result == ORV_OK || result == failed || result == ORV_E_MODEL);
  EXPECT(std::char_traits<char>::length(buffer) < static_cast<std::size_t>(size));
  EXPECT(buffer[size] == '\x01' && buffer[23] == '\x01');
}

}  // namespace

FUZZ_TARGET(system_files, in) {
  the_machine.release = in.part();
  get_linux_version();
  const std::string_view info = in.part();
  const std::string_view state = in.part();
  the_machine.put(info.starts_with('!') ? "/etc/nas_base.conf" : "/etc/sys_info", info);
  the_machine.put("/tmp/nas_state.conf", state);
  the_machine.put("/var/run/sys_state", state);
  the_machine.tool_output = in.part();
  the_machine.put("/etc/hostname", in.part());
  the_machine.put("/etc/nas_start_time.conf", in.part());
  fuzz::temporary_files_left = 2;  // the state, and the answer of the power tool that was not read
  ask(softversion_get, ORV_E_SOFTWARE_VERSION);
  ask(hardversion_get, ORV_E_HARDWARE_VERSION);
  ask(devmodel_get, ORV_E_MODEL);
  ask(tmp_get, ORV_E_TEMPERATURE);
  ask(fan_speed_get, ORV_E_FANS);
  char power[24] = "";
  const int result = pwstate_get(power, sizeof power);
  EXPECT(result == ORV_OK || result == ORV_E_POWER || result == ORV_E_POWER_TOOL ||
         result == ORV_E_MODEL);
  EXPECT(orv::text_of(power).size() < sizeof power);
  ask(hostname_get, ORV_E_HOSTNAME);
  ask(starttime_get, ORV_E_START_TIME);

  tag_datetime time{};
  for (int* const field :
       {&time.year, &time.month, &time.day, &time.hour, &time.minute, &time.second}) {
    *field = static_cast<int>(std::strtol(in.word().c_str(), nullptr, 10));
  }
  const int set = systime_set(&time);
  EXPECT(set == ORV_OK || set == ORV_E_CLOCK_SET);

  const std::string name = in.word();
  EXPECT(hostname_set(name.c_str()) == ORV_OK);
  EXPECT(the_machine.text("/etc/hostname")->size() == name.size());
  EXPECT(fuzz::lines_in(*the_machine.text("/etc/hostname")) == 1);
}
