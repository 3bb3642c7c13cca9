#include "tools/orvctl/disk_selection.h"

#include <functional>
#include <vector>

#include "tools/orvctl/arguments.h"

namespace orvctl {
namespace {

constexpr column<tag_disk_info> disk_columns[] = {
    {"ENCLOSURE", "enclosure", form::number,
     [](const tag_disk_info& disk) { return text_value(disk.enclosure); }},
    {"CHANNEL", "channel", form::number, [](const tag_disk_info& disk) { return json(disk.ch); }},
    {"DEVICE", "device", form::text,
     [](const tag_disk_info& disk) { return text_value(disk.name); }},
    {"SIZE", "size_bytes", form::gib,
     [](const tag_disk_info& disk) { return gib_value(disk.size); }},
    {"STATE", "state", form::state,
     [](const tag_disk_info& disk) { return text_value(disk.state); }},
    {"MODEL", "model", form::text,
     [](const tag_disk_info& disk) { return text_value(disk.model); }},
    {"USAGE", "usage", form::text,
     [](const tag_disk_info& disk) { return text_value(disk.usage); }},
    {"SPARE", "hot_spare", form::text,
     [](const tag_disk_info& disk) { return json(disk.hotspare != 0); }},
};

bool selects(const std::string& channels, const std::string& enclosure, const tag_disk_info& disk) {
  return disk_ch_cmp(disk.ch, channels.c_str()) == 1 && enclosure == disk.enclosure;
}

problem no_disk(const std::string& channels, const std::string& enclosure) {
  return library_problem(ORV_E_NO_DISK, "channels " + channels + " of enclosure " + enclosure);
}

void must_be_all(int found, const std::string& channels, const std::string& enclosure) {
  if (found != count_disks(channels.c_str())) throw no_disk(channels, enclosure);
}

// A disk and what it is part of.
struct disk_use {
  const tag_disk_info& disk;
  std::string user;
};

constexpr column<disk_use> loss_columns[] = {
    {"CHANNEL", nullptr, form::number, [](const disk_use& use) { return json(use.disk.ch); }},
    {"DEVICE", nullptr, form::text, [](const disk_use& use) { return text_value(use.disk.name); }},
    {"SIZE", nullptr, form::gib, [](const disk_use& use) { return gib_value(use.disk.size); }},
    {"MODEL", nullptr, form::text, [](const disk_use& use) { return text_value(use.disk.model); }},
    {"USED BY", nullptr, form::text, [](const disk_use& use) { return text_value(use.user); }},
};

std::string user_of(const tag_disk_info& disk, const raid_list& arrays, vg_list& groups) {
  for (const tag_md_info& array : arrays) {
    if (found_disk(array.disks, disk.name) == 1) return std::string("array ") + array.name;
  }
  for (tag_vg_info& group : groups) {
    if (found_pv_raid(&group, disk.name) == 1) return std::string("volume group ") + group.vgname;
  }
  return disk.hotspare != 0 ? "hot spare" : "";
}

}  // namespace

table disk_table(const disk_list& disks) { return make_table(disk_columns, disks); }

table spare_table(const disk_list& disks) {
  std::vector<std::reference_wrapper<const tag_disk_info>> spares;
  for (const tag_disk_info& disk : disks) {
    if (disk.hotspare != 0) spares.emplace_back(disk);
  }
  return make_table(disk_columns, spares);
}

disk_selection::disk_selection(const std::string& channels, const std::string& enclosure) {
  disk_list all;
  check(disks_info_get(all.get()));
  int found = 0;
  for (const tag_disk_info& disk : all) {
    if (!selects(channels, enclosure, disk)) continue;
    auto& wanted = selected_.append();
    wanted.ch = disk.ch;
    liborv_strncpy(wanted.enclosure, sizeof wanted.enclosure, disk.enclosure);
    liborv_strncpy(wanted.name, sizeof wanted.name, disk.name);
    wanted.hotspare = disk.hotspare;
    ++found;
  }
  must_be_all(found, channels, enclosure);
}

std::string device_names(const std::string& channels, const std::string& enclosure, int expected) {
  disk_list all;
  check(disks_info_get(all.get()));
  char names[256];
  set_field(names, channels, "the list of channels");
  const int found = trans_ch_disk(all.get(), names, enclosure.c_str(), expected);
  // Disks of a RAID controller are found, but have no names.
  if (found != expected || count_disks(names) != expected) throw no_disk(channels, enclosure);
  return names;
}

table disk_losses(const std::string& channels, const std::string& enclosure) {
  disk_list disks;
  raid_list arrays;
  vg_list groups;
  check(disks_info_get(disks.get()));
  check(raid_get(arrays.get()));
  check(vg_get(groups.get()));
  std::vector<disk_use> lost;
  for (const tag_disk_info& disk : disks) {
    if (selects(channels, enclosure, disk)) lost.push_back({disk, user_of(disk, arrays, groups)});
  }
  must_be_all(static_cast<int>(lost.size()), channels, enclosure);
  return make_table(loss_columns, lost);
}

}  // namespace orvctl
