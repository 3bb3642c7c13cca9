#ifndef ORVCTL_RECORDS_H
#define ORVCTL_RECORDS_H

#include <orv.h>
#include <orv/scoped.h>

/// The library's lists, by the names that this tool's nouns have.

namespace orvctl {

using orv::alarm_list;
using orv::disk_list;
using orv::pool_list;
using orv::share_list;
using orv::user_list;
using client_list = orv::connection_list;
using fs_list = orv::file_system_list;
using interface_list = orv::network_interface_list;
using raid_list = orv::array_list;
using vg_list = orv::volume_group_list;

}  // namespace orvctl

#endif
