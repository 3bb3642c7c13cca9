#include "subjects.h"

namespace {

constexpr uint64_t nearly_full_percent = 90;

bool is_nearly_full(const tag_fs_info& fs) {
  return fs.size > 0 && fs.used * 100 >= fs.size * nearly_full_percent;
}

}  // namespace

orv::result read_arrays(states& now) {
  orv::array_list arrays;
  const orv::result result = arrays.read(raid_get);
  for (const tag_md_info& array : arrays) {
    now[array.name] = std::string(array.level) + ", " + array.state + ", " + array.disks;
  }
  return result;
}

orv::result read_alarms(states& now) {
  orv::alarm_list alarms;
  const orv::result result = alarms.read(alarm_get);
  for (const tag_alarm_info& alarm : alarms) {
    now[alarm.id] = std::string(alarm.name) + ", " + alarm.text;
  }
  return result;
}

orv::result read_file_systems(states& now) {
  orv::file_system_list file_systems;
  const orv::result result = file_systems.read(fs_get);
  for (const tag_fs_info& fs : file_systems) {
    now[fs.mountpoint] = std::string(fs.state) + (is_nearly_full(fs) ? ", nearly full" : "");
  }
  return result;
}
