/// The getters, each called for a list of its own that is released afterwards.
#pragma once

#include <orv/scoped.h>

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

/// Those that run tools.
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

}  // namespace bench
