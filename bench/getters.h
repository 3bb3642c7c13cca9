/// The getters, each called for a list of its own that is released afterwards.
#pragma once

#include <orv/scoped.h>
#include <orv/service.h>
#include <orv/support.h>
#include <orv/system.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace bench {

inline constexpr char starting_many[] = "starting the tools, and a temporary file for each";

struct getter {
  const char* name;
  std::size_t (*call)();  ///< tells how many records there are
  const char* limit = starting_many;
  int processes = 1;  ///< more where a shell takes about as long: memory lies differently in each
  bool runs_slow_tools = true;  ///< some to which the simulated machine gives a time
};

/// How many; throws for none, which would take no time.
template <class List>
std::size_t expect_records(const List& list) {
  if (list.begin() == list.end()) throw std::runtime_error("an empty list");
  return list.size();
}

/// Reads a list and releases it.
template <auto Function, class List>
std::size_t call_getter() {
  List list;
  orv::check(list.read(Function));
  return expect_records(list);
}

/// Of the file systems that the mount table lists, which is read first.
inline std::size_t call_mountfs_get() {
  orv::file_system_list list;
  orv::check(list.read(mdfstab_get));
  orv::check(mountfs_get(list.get()));
  for (const tag_fs_info& found : list) {
    if (found.size == 0) throw std::runtime_error("a file system of no size");
  }
  return expect_records(list);
}

/// Of all disks, which are listed first.
inline std::size_t call_smart_info_get() {
  orv::disk_list disks;
  orv::check(disks.read(disks_info_get));
  orv::check(smart_info_get(disks.get()));
  for (const tag_disk_info& disk : disks) {
    if (std::string_view(disk.smart.health) == "NaN") throw std::runtime_error("no summary");
  }
  return expect_records(disks);
}

inline std::size_t call_smart_info_get_of_attributes() {
  orv::disk_list disks;
  orv::check(disks.read(disks_info_get));
  liborv_strncpy(disks.get()->smart.smart_enabled, sizeof disks.get()->smart.smart_enabled,
                 "detail");
  orv::check(smart_info_get(disks.get()));
  for (const tag_disk_info& disk : disks) {
    if (orv::records(disk.smart_list).empty()) throw std::runtime_error("no attributes");
  }
  return expect_records(disks);
}

template <auto Function>
std::size_t call_status_getter() {
  orv::check(Function());
  return 1;
}

inline std::size_t call_pwstate_get() {
  char state[32] = "";
  orv::check(pwstate_get(state, sizeof state));
  return 1;
}

inline std::size_t call_procinfo_get() {
  orv::check(procinfo_get("/tmp/processes"));
  return 1;
}

/// Those that run tools for what grows with the machine.
inline constexpr getter getters[] = {
    {"disks_info_get", call_getter<disks_info_get, orv::disk_list>, starting_many, 1, false},
    {"smart_info_get", call_smart_info_get},
    {"raid_get", call_getter<raid_get, orv::array_list>},
    {"vg_get", call_getter<vg_get, orv::volume_group_list>},
    {"pool_get", call_getter<pool_get, orv::pool_list>},
    {"fs_get", call_getter<fs_get, orv::file_system_list>,
     "starting the tools, and a file written and removed in each file system", 7},
    {"share_get", call_getter<share_get, orv::share_list>,
     "starting the tools, and statfs of each share's path", 35, false},
    {"share_conn_get", call_getter<share_conn_get, orv::connection_list>},
    {"smart_info_get of attributes", call_smart_info_get_of_attributes},
    {"mountfs_get", call_mountfs_get},
};

/// Those that run one or two tools on any machine.
inline constexpr char starting_one[] = "starting the tool, and the file of its output";
inline constexpr getter getters_of_services[] = {
    {"smb_status_get", call_status_getter<smb_status_get>, starting_one},
    {"nfs_status_get", call_status_getter<nfs_status_get>, starting_one},
    {"ftp_status_get", call_status_getter<ftp_status_get>, starting_one},
    {"iscsi_status_get", call_status_getter<iscsi_status_get>, starting_one},
    {"orv_status_get", call_status_getter<orv_status_get>, starting_one},
    {"pwstate_get", call_pwstate_get, starting_one, 1, false},
    {"procinfo_get", call_procinfo_get, starting_one},
};

}  // namespace bench
