/// The getters, each called for a list of its own that is released afterwards.
#pragma once

#include <orv/scoped.h>
#include <orv/service.h>
#include <orv/system.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

struct getter {
  const char* name;
  void (*call)();
  const char* limit = "starting the tools, and a temporary file for each";
};

/// Reads a list and releases it.
template <auto Function, class List>
void call_getter() {
  List list;
  list.read(Function);
}

inline void call_smart_info_get() {
  orv::disk_list disks;
  disks.read(disks_info_get);
  smart_info_get(disks.get());
}

inline void must_succeed(int result, const char* what) {
  if (result != ORV_OK) throw std::runtime_error(what);
}

template <auto Function>
void call_status_getter() {
  must_succeed(Function(), "a daemon does not run");
}

inline void call_pwstate_get() {
  char state[32] = "";
  must_succeed(pwstate_get(state, sizeof state), "pwstate_get");
}

inline void call_procinfo_get() { must_succeed(procinfo_get("/tmp/processes"), "procinfo_get"); }

/// Those that run tools for what grows with the machine.
inline constexpr getter getters[] = {
    {"disks_info_get", call_getter<disks_info_get, orv::disk_list>},
    {"smart_info_get", call_smart_info_get},
    {"raid_get", call_getter<raid_get, orv::array_list>},
    {"vg_get", call_getter<vg_get, orv::volume_group_list>},
    {"pool_get", call_getter<pool_get, orv::pool_list>},
    {"fs_get", call_getter<fs_get, orv::file_system_list>,
     "starting the tools, and a file written and removed in each file system"},
    {"share_get", call_getter<share_get, orv::share_list>,
     "starting the tools, and statfs of each share's path"},
    {"share_conn_get", call_getter<share_conn_get, orv::connection_list>},
};

/// Those that run one or two tools on any machine.
inline constexpr char starting_one[] = "starting the tool, and the file of its output";
inline constexpr getter getters_of_services[] = {
    {"smb_status_get", call_status_getter<smb_status_get>, starting_one},
    {"nfs_status_get", call_status_getter<nfs_status_get>, starting_one},
    {"ftp_status_get", call_status_getter<ftp_status_get>, starting_one},
    {"iscsi_status_get", call_status_getter<iscsi_status_get>, starting_one},
    {"orv_status_get", call_status_getter<orv_status_get>, starting_one},
    {"pwstate_get", call_pwstate_get, starting_one},
    {"procinfo_get", call_procinfo_get, starting_one},
};

}  // namespace bench
