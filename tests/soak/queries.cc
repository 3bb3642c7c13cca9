#include <orv.h>
#include <orv/scoped.h>

#include "tests/soak/calls.h"

namespace soak {
namespace {

template <class list, auto getter>
int read() {
  list found;
  return found.read(getter).code();
}

template <auto getter>
int read_text() {
  char text[256];
  return getter(text, sizeof text);
}

int check_password() {
  const int result = sys_user_validpwd("nobody-here", "x");
  return result == ORV_E_NO_USER ? ORV_OK : ORV_E_FAILED;
}

/// A service that does not run is an answer.
template <auto asked>
int ask_service() {
  const int result = asked();
  return result == ORV_E_COMMAND ? ORV_OK : result;
}

int read_limits() {
  unsigned rate = 0;
  unsigned clients = 0;
  unsigned per_address = 0;
  return ftp_share_para_get(&rate, &clients, &per_address);
}

}  // namespace

std::vector<call> queries() {
  const std::vector<int> locked = {ORV_E_SHARES_LOCKED, ORV_E_SERVICE_LOCKED};
  // The file is moved into its place, or rewritten there: who reads it then may find none.
  const std::vector<int> table = {ORV_E_FAILED};
  return {
      {"disks_info_get", 3, read<orv::disk_list, disks_info_get>, {}},
      {"smart_info_get", 1, read<orv::disk_list, smart_info_get>, {}},
      {"raid_get",
       3,
       read<orv::array_list, raid_get>,
       {},
       {ORV_E_MD_SYSFS, ORV_E_COMMAND, ORV_E_MD_DETAIL}},
      {"vg_get", 3, read<orv::volume_group_list, vg_get>, {}},
      {"pool_get", 3, read<orv::pool_list, pool_get>, {}},
      {"fs_get", 3, read<orv::file_system_list, fs_get>, {}, table},
      {"mdfstab_get", 80, read<orv::file_system_list, mdfstab_get>, {}, table},
      {"share_get", 4, read<orv::share_list, share_get>, locked, table},
      {"get_shareinfo_from_recy", 80, read<orv::share_list, get_shareinfo_from_recy>, locked},
      {"share_conn_get", 2, read<orv::connection_list, share_conn_get>, {}},
      {"sys_user_get", 80, read<orv::user_list, sys_user_get>, {}},
      {"sys_user_validpwd", 80, check_password, {}},
      {"alarm_get", 80, read<orv::alarm_list, alarm_get>, {}},
      {"netcard_get", 80, read<orv::network_interface_list, netcard_get>, {}},
      {"softversion_get", 80, read_text<softversion_get>, {}},
      {"devmodel_get", 80, read_text<devmodel_get>, {}},
      {"hostname_get", 80, read_text<hostname_get>, {}, {ORV_E_HOSTNAME}},
      {"starttime_get", 80, read_text<starttime_get>, {}},
      {"systime_get", 80, read_text<systime_get>, {}},
      {"tmp_get", 80, read_text<tmp_get>, {}},
      {"fan_speed_get", 80, read_text<fan_speed_get>, {}},
      {"pwstate_get", 4, read_text<pwstate_get>, {}},
      {"smb_status_get", 4, ask_service<smb_status_get>, {}},
      {"nfs_status_get", 4, ask_service<nfs_status_get>, {}},
      {"ftp_share_para_get", 80, read_limits, {}, {ORV_E_FTP_CONFIG}},
  };
}

}  // namespace soak
