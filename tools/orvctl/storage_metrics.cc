#include "tools/orvctl/storage_metrics.h"

#include <map>
#include <string_view>

#include "tools/orvctl/raid_table.h"
#include "tools/orvctl/rebuild_progress.h"
#include "tools/orvctl/smart_query.h"
#include "tools/orvctl/state_colour.h"

namespace orvctl {
namespace {

metric_labels labels_of(const tag_disk_info& disk) {
  return {
      {"enclosure", disk.enclosure}, {"channel", std::to_string(disk.ch)}, {"device", disk.name}};
}

std::string text_of(const json& value) { return value.is_null() ? "" : value.get<std::string>(); }

metric_labels facts_of(const tag_disk_info& disk) {
  metric_labels labels = labels_of(disk);
  labels.emplace_back("model", text_of(text_value(disk.model)));
  labels.emplace_back("serial_number", text_of(told(disk.smart.serial_number)));
  labels.emplace_back("firmware", text_of(told(disk.smart.firmware_version)));
  return labels;
}

json is_well(const json& state) {
  return state.is_null() ? json() : json(mood_of(state) != mood::bad);
}

/// One family with a value of each disk.
void measure_each(const inventory& machine, metric_families& to,
                  json (*value)(const tag_disk_info&)) {
  for (const tag_disk_info& disk : machine.disks) to.add(labels_of(disk), value(disk));
}

void measure_attributes(const inventory& machine, metric_families& to, const char* name,
                        const char* help, std::uint32_t tag_disksmart_info::*figure) {
  to.begin(name, help);
  for (const tag_disk_info& disk : machine.disks) {
    for (const tag_disksmart_info& each : orv::records(disk.smart_list)) {
      metric_labels labels = labels_of(disk);
      labels.emplace_back("attribute", text_of(text_value(each.attr_name)));
      to.add(labels, each.*figure);
    }
  }
}

// Words of an array's state; it may have several.
constexpr std::string_view array_states[] = {"clean",     "active",    "degraded", "recovering",
                                             "resyncing", "reshaping", "failed",   "inactive"};

bool has_word(std::string_view state, std::string_view word) {
  for (;;) {
    const std::size_t comma = state.find(',');
    std::string_view one = state.substr(0, comma);
    while (one.starts_with(' ')) one.remove_prefix(1);
    while (one.ends_with(' ')) one.remove_suffix(1);
    if (one == word) return true;
    if (comma == std::string_view::npos) return false;
    state.remove_prefix(comma + 1);
  }
}

void measure_states(const tag_md_info& array, metric_families& to) {
  for (const std::string_view word : array_states) {
    to.add({{"array", array.name}, {"state", std::string(word)}}, has_word(array.state, word));
  }
}

void measure_members(const tag_md_info& array, metric_families& to) {
  std::map<std::string, int> found = {{"active", 0}, {"failed", 0}, {"missing", 0}, {"spare", 0}};
  for (const json& member : array_members(array)) ++found[member["state"]];
  for (const auto& [state, many] : found) to.add({{"array", array.name}, {"state", state}}, many);
}

void measure_rebuilds(const inventory& machine, metric_families& to) {
  to.begin("orv_array_rebuild_progress", "Part of the running rebuild that is done.", "ratio");
  for (const tag_md_info& array : machine.arrays) {
    const auto progress = read_progress(array.progress);
    if (progress) to.add({{"array", array.name}}, progress->percent / 100);
  }
  to.begin("orv_array_rebuild_speed_bytes_per_second", "Speed of the running rebuild.");
  for (const tag_md_info& array : machine.arrays) {
    const auto progress = read_progress(array.progress);
    if (progress) to.add({{"array", array.name}}, progress->bytes_per_second);
  }
}

metric_labels labels_of(const tag_fs_info& fs) {
  return {{"mount_point", fs.mountpoint}, {"device", fs.devname}};
}

metric_labels labels_of(const tag_pool_info& pool) {
  const std::string path = pool.poolname;
  return {{"volume_group", pool.vgname}, {"pool", path.substr(path.rfind('/') + 1)}};
}

}  // namespace

void measure_disks(const inventory& machine, metric_families& to) {
  to.begin("orv_disk_info", "A disk in its bay, with what it is.");
  for (const tag_disk_info& disk : machine.disks) to.add(facts_of(disk), 1);
  to.begin("orv_disk_size", "Capacity of a disk.", "bytes");
  measure_each(machine, to, [](const tag_disk_info& disk) { return gib_value(disk.size); });
  to.begin("orv_disk_online", "Whether the disk works, as the kernel or the controller says.");
  measure_each(machine, to,
               [](const tag_disk_info& disk) { return is_well(text_value(disk.state)); });
  to.begin("orv_disk_hot_spare", "Whether the disk is a hot spare.");
  measure_each(machine, to, [](const tag_disk_info& disk) { return json(disk.hotspare != 0); });
  to.begin("orv_disk_healthy", "Whether the disk passes its own assessment of its health.");
  measure_each(machine, to,
               [](const tag_disk_info& disk) { return is_well(told(disk.smart.health)); });
  to.begin("orv_disk_temperature", "Temperature of a disk.", "celsius");
  measure_each(machine, to, temperature_of);
  measure_attributes(machine, to, "orv_disk_smart_value", "Normalised value of a SMART attribute.",
                     &tag_disksmart_info::value);
  measure_attributes(machine, to, "orv_disk_smart_threshold",
                     "The attribute has failed at this value.", &tag_disksmart_info::thresh);
  measure_attributes(machine, to, "orv_disk_smart_raw", "Raw value of a SMART attribute.",
                     &tag_disksmart_info::raw);
}

void measure_arrays(const inventory& machine, metric_families& to) {
  to.begin("orv_array_info", "An array and its level.");
  for (const tag_md_info& array : machine.arrays) {
    to.add({{"array", array.name}, {"level", array.level}}, 1);
  }
  to.begin("orv_array_size", "Capacity of an array.", "bytes");
  for (const tag_md_info& array : machine.arrays) {
    to.add({{"array", array.name}}, gib_value(array.size));
  }
  to.begin("orv_array_state", "Whether the array is in this state; it may be in several.");
  for (const tag_md_info& array : machine.arrays) measure_states(array, to);
  to.begin("orv_array_members", "Members of an array by their state.");
  for (const tag_md_info& array : machine.arrays) measure_members(array, to);
  measure_rebuilds(machine, to);
}

void measure_volumes(const inventory& machine, metric_families& to) {
  to.begin("orv_volume_group_size", "Capacity of a volume group.", "bytes");
  for (const tag_vg_info& vg : machine.groups) {
    to.add({{"volume_group", vg.vgname}}, gib_value(vg.size));
  }
  to.begin("orv_volume_group_used", "Part of a volume group that pools have.", "bytes");
  for (const tag_vg_info& vg : machine.groups) {
    to.add({{"volume_group", vg.vgname}}, gib_value(vg.used));
  }
  to.begin("orv_pool_size", "Capacity of a pool.", "bytes");
  for (const tag_pool_info& pool : machine.pools) to.add(labels_of(pool), gib_value(pool.size));
  to.begin("orv_pool_available", "Whether the pool can be used.");
  for (const tag_pool_info& pool : machine.pools) {
    to.add(labels_of(pool), pool.state == std::string_view("available"));
  }
}

void measure_file_systems(const inventory& machine, metric_families& to) {
  to.begin("orv_file_system_size", "Capacity of a file system.", "bytes");
  for (const tag_fs_info& fs : machine.file_systems) to.add(labels_of(fs), mib_value(fs.size));
  to.begin("orv_file_system_used", "Part of a file system that is used.", "bytes");
  for (const tag_fs_info& fs : machine.file_systems) to.add(labels_of(fs), mib_value(fs.used));
  to.begin("orv_file_system_available", "Whether the file system is mounted and can be used.");
  for (const tag_fs_info& fs : machine.file_systems) {
    to.add(labels_of(fs), fs.state == std::string_view("available"));
  }
}

}  // namespace orvctl
