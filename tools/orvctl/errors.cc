#include "tools/orvctl/errors.h"

#include <array>
#include <cstddef>

namespace orvctl {
namespace {

struct remedy {
  int code;
  exit_status status;
  const char* advice;
};

constexpr char see_log[] = "see the system log, entries of 'orv': they name the step that failed";
constexpr char see_what_it_did[] =
    "see 'orvctl status' for what is there now: of a change any part may have been made; or give "
    "it "
    "more time";
constexpr char see_disks[] = "run 'orvctl disk list' to see channels and enclosures";
constexpr char see_raids[] = "run 'orvctl raid list' to see the arrays";
constexpr char see_groups[] = "run 'orvctl vg list' to see the volume groups";
constexpr char see_pools[] = "run 'orvctl pool list' to see the pools";
constexpr char see_users[] =
    "run 'orvctl raid list', 'orvctl vg list' and 'orvctl spare list' to see what uses the disk";
constexpr char check_sys_info[] =
    "check '/etc/sys_info' and '/etc/nas_base.conf', which the platform services write";
constexpr char check_state[] =
    "check that the platform services run: they write the state file of this model";
constexpr char check_driver[] =
    "check that the disk driver is loaded: it provides /proc/scsi/mvSata";
constexpr char check_spare_tool[] = "run '/usr/local/bin/hotspare --list' and see what it prints";
constexpr char check_tmp[] = "check that /tmp can be written and has space left";

constexpr char see_shares[] = "run 'orvctl share list' to see the shares";
constexpr char see_users_list[] = "run 'orvctl user list' to see the users";
constexpr char try_again[] = "another process is changing the same file: try again in a moment";
constexpr char check_share_file[] =
    "see that '/etc/sharefolder.conf' and the file of the share's service are whole and can be "
    "written";
constexpr char check_alarms[] = "check that the alarm daemon runs: it serves /dev/alarm.socket";
constexpr char check_shadow[] =
    "check '/etc/shadow' and the space left on its file system; the account itself has been made";

constexpr exit_status failed = exit_status::failed;
constexpr exit_status not_found = exit_status::not_found;
constexpr exit_status in_use = exit_status::in_use;
constexpr exit_status partial = exit_status::partial;

constexpr remedy remedies[] = {
    {ORV_OK, exit_status::ok, "nothing"},
    {ORV_E_FAILED, failed, see_log},
    {ORV_E_MODEL, failed, check_sys_info},
    {ORV_E_POWER, failed, check_state},
    {ORV_E_POWER_TOOL, failed, "run '/usr/local/bin/pwstate' and see what it prints"},
    {ORV_E_START_TIME, failed, "check '/etc/nas_start_time.conf', which is written at start-up"},
    {ORV_E_CLOCK, failed, see_log},
    {ORV_E_HOSTNAME, failed, "check that '/etc/hostname' exists and can be read and written"},
    {ORV_E_HARDWARE_VERSION, failed, check_sys_info},
    {ORV_E_SOFTWARE_VERSION, failed, check_sys_info},
    {ORV_E_FANS, failed, "run 'orvctl system info' and compare the model with the device"},
    {ORV_E_TEMPERATURE, failed, check_state},
    {ORV_E_PARTITIONS, failed, "check that /proc is mounted"},
    {ORV_E_DISK_DRIVER, failed, check_driver},
    {ORV_E_DISK_DUMP, failed, check_tmp},
    {ORV_E_SPARE_LIST, failed, check_tmp},
    {ORV_E_SPARE_LINE, failed, check_spare_tool},
    {ORV_E_DISK_SCAN, failed, check_tmp},
    {ORV_E_MD_DETAIL, failed, check_tmp},
    {ORV_E_MD_KEY, failed, "run 'mdadm --detail' on the array and see what it prints"},
    {ORV_E_MD_SYSFS, failed, "check that /sys is mounted; the array may just have been stopped"},
    {ORV_E_MDSTAT, failed, check_tmp},
    {ORV_E_VGDISPLAY, failed, check_tmp},
    {ORV_E_PVDISPLAY, failed, check_tmp},
    {ORV_E_LVDISPLAY, failed, check_tmp},
    {ORV_E_LVDISPLAY_TOOL, failed, "run '/sbin/lvdisplay' and see what it complains of"},
    {ORV_E_MOUNT_TABLE, failed, "check that '/etc/mdfstab' and /tmp can be written"},
    {ORV_E_DISK_USED, in_use, see_users},
    {ORV_E_RAID_NAME_USED, in_use, "choose another name, or leave --name out to get a free one"},
    {ORV_E_RAID_LEVEL, exit_status::usage, "use raid0, raid1, raid5, raid6 or linear"},
    {ORV_E_NO_DISK, not_found, see_disks},
    {ORV_E_RAID_COUNT, exit_status::usage,
     "give 2 disks for raid1, 3 to 16 for raid5, 4 to 16 for raid6, 2 to 16 for raid0 and linear"},
    {ORV_E_RAID_IN_VG, in_use, "run 'orvctl vg list'; the volume group must be destroyed first"},
    {ORV_E_NOT_FAULTY, failed, "mark the disk as failed first, with 'orvctl raid fail'"},
    {ORV_E_RAID_LEVEL_FIXED, failed, "disks of this level can only be set at creation"},
    {ORV_E_NO_RAID, not_found, see_raids},
    {ORV_E_NO_VG, not_found, see_groups},
    {ORV_E_VG_NAME_USED, in_use, "choose another name; 'orvctl vg list' shows those taken"},
    {ORV_E_PV_CHANNEL, not_found, see_disks},
    {ORV_E_PV_DISK_USED, in_use, see_users},
    {ORV_E_PV_NO_RAID, not_found, see_raids},
    {ORV_E_PV_USED, in_use, see_groups},
    {ORV_E_VG_NOT_FOUND, not_found, see_groups},
    {ORV_E_VG_IN_USE, in_use, "run 'orvctl pool list'; its pools must be destroyed first"},
    {ORV_E_POOL_NAME, exit_status::usage, "name both the volume group and the pool"},
    {ORV_E_POOL_NAME_USED, in_use, "choose another name; 'orvctl pool list' shows those taken"},
    {ORV_E_POOL_VG, not_found, "run 'orvctl vg list' and 'orvctl pool list' to see what there is"},
    {ORV_E_POOL_SIZE, failed,
     "run 'orvctl vg list' for the free space and 'orvctl pool list' for the present size; a new "
     "size must be larger than the pool and no larger than the group's free space"},
    {ORV_E_NO_POOL, not_found, see_pools},
    {ORV_E_NO_GATEWAY, not_found, "see '/etc/network/interfaces'"},
    {ORV_E_SHARE_OPEN, failed, check_share_file},
    {ORV_E_SHARE_READ, failed, check_share_file},
    {ORV_E_SHARE_WRITE, failed, check_share_file},
    {ORV_E_SHARE_SYNTAX, failed, check_share_file},
    {ORV_E_STATUS_OUTPUT, failed, check_tmp},
    {ORV_E_EXPORTS, failed, "check '/etc/exports', and that /tmp can be written"},
    {ORV_E_IETD, failed, "check '/etc/ietd.conf', and that /tmp can be written"},
    {ORV_E_FTP_USERS, failed, "check that '/etc/vsftpd' and the homes of its users exist"},
    {ORV_E_FTP_CONFIG, failed, "check '/etc/vsftpd.conf'"},
    {ORV_E_NETSTAT, failed, check_tmp},
    {ORV_E_SMBSTATUS, failed, check_tmp},
    {ORV_E_FTP_TEMPORARY, failed, check_tmp},
    {ORV_E_SMART_SUMMARY, failed, check_tmp},
    {ORV_E_SMART_DETAIL, failed, check_tmp},
    {ORV_E_ALARM_CONNECT, failed, check_alarms},
    {ORV_E_ALARM_BIND, failed, "check that /dev can be written"},
    {ORV_E_ALARM_SEND, failed, check_alarms},
    {ORV_E_ALARM_REPLY, failed, check_alarms},
    {ORV_E_ALARM_ITEM, failed, check_alarms},
    {ORV_E_HOSTNAME_OPEN, failed, "check that '/etc/hostname' can be written"},
    {ORV_E_HOSTNAME_WRITE, partial, "check the space left on the file system of '/etc/hostname'"},
    {ORV_E_HOSTNAME_SET, partial, "the name is stored and will hold after the next start"},
    {ORV_E_CLOCK_ZONE, failed, see_log},
    {ORV_E_CLOCK_SET, failed, "setting the clock needs root"},
    {ORV_E_USER_FILE, failed, "check '/etc/nas_userfile.conf'"},
    {ORV_E_NO_SHADOW, partial, check_shadow},
    {ORV_E_SHADOW_OPEN, partial, check_shadow},
    {ORV_E_SHADOW_LOCKED, partial,
     "another process is changing passwords; the account itself has been made, without a password: "
     "delete the user and add it again"},
    {ORV_E_SHADOW_BACKUP, partial, check_shadow},
    {ORV_E_SHADOW_CREATE, partial, check_shadow},
    {ORV_E_SHADOW_WRITE, partial, check_shadow},
    {ORV_E_SHADOW_RENAME, partial, check_shadow},
    {ORV_E_SHARES_LOCKED, in_use, try_again},
    {ORV_E_SERVICE_LOCKED, in_use, try_again},
    {ORV_E_FILE_LOCKED, in_use, try_again},
    {ORV_E_SHARES_READ, failed, check_share_file},
    {ORV_E_SHARES_WRITE, failed, check_share_file},
    {ORV_E_SERVICE_WRITE, failed, check_share_file},
    {ORV_E_SHARE_EXISTS, in_use, "choose another name; 'orvctl share list' shows those taken"},
    {ORV_E_NO_SHARE, not_found, see_shares},
    {ORV_E_SHARE_MODE, exit_status::usage, "use samba, nfs, ftp or iscsi"},
    {ORV_E_PASSWORDS, failed, "check '/etc/nas_userfile.conf'"},
    {ORV_E_COMMAND, failed, see_log},
    {ORV_E_SMART_MODE, failed, "run 'orvctl smart show': this model has the attributes only"},
    {ORV_E_NO_USER, not_found, see_users_list},
    {ORV_E_PASSWORD, failed, "the password does not match"},
    {ORV_E_PASSWD_FILE, failed, "check that '/etc/passwd' can be written"},
    {ORV_E_LOGIN_USED, in_use, "choose another name; 'getent passwd' shows those taken"},
    {ORV_E_NO_UID, failed, "user numbers go from 500 to 64999"},
    {ORV_E_GROUP_USED, in_use, "choose another name; 'getent group' shows those taken"},
    {ORV_E_MODEL_QUERY, failed, check_sys_info},
};

constexpr const remedy* remedy_of(int code) {
  for (const auto& row : remedies) {
    if (row.code == code) return &row;
  }
  return nullptr;
}

// A code without advice does not compile.
#define ORVCTL_HAS_REMEDY(name, value, meaning) static_assert(remedy_of(name) != nullptr);
ORV_RESULT_CODES(ORVCTL_HAS_REMEDY)
#undef ORVCTL_HAS_REMEDY

#define ORVCTL_CODE(name, value, meaning) \
  code_info{name, #name, remedy_of(name)->status, remedy_of(name)->advice},
constexpr auto codes = std::to_array<code_info>({ORV_RESULT_CODES(ORVCTL_CODE)});
#undef ORVCTL_CODE

constexpr code_info unknown_code = {0, "unknown", failed, see_log};

const code_info& info_of(int code) {
  for (const auto& row : codes) {
    if (row.code == code) return row;
  }
  return unknown_code;
}

}  // namespace

std::span<const code_info> all_codes() { return codes; }

problem library_problem(int code, const std::string& detail) {
  const code_info& info = info_of(code);
  problem result;
  result.status = info.status;
  result.code = code;
  result.name = info.name;
  result.meaning = orv_strerror(code);
  result.detail = detail;
  result.advice = info.advice;
  return result;
}

problem partial_problem(int code, const std::string& detail) {
  problem result = library_problem(code, detail);
  result.status = exit_status::partial;
  return result;
}

problem timeout_problem(const std::string& command) {
  problem result;
  result.status = exit_status::timed_out;
  result.name = "timeout";
  result.meaning = "a tool took longer than --timeout allows and was ended";
  result.detail = command;
  result.advice = see_what_it_did;
  return result;
}

problem by_timeout(problem found, const std::string& command) {
  if (found.status == exit_status::usage) return found;
  if (found.status != exit_status::partial) found.status = exit_status::timed_out;
  const problem cause = timeout_problem(command);
  found.detail += (found.detail.empty() ? "" : "; ") + cause.meaning + ": " + command;
  found.advice = cause.advice;
  return found;
}

problem usage_problem(const std::string& meaning, const std::string& advice) {
  problem result;
  result.status = exit_status::usage;
  result.name = "usage";
  result.meaning = meaning;
  result.advice = advice;
  return result;
}

void check(int code) {
  if (code != ORV_OK) throw library_problem(code);
}

}  // namespace orvctl
