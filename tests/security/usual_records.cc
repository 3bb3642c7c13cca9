/// The records of usual calls: they fit the machine of the injection tests.
#include "tests/security/functions.h"
#include "tests/share/share_machine.h"

namespace security {
namespace {

using orv::set_text;

void fill_disk(tag_disk_info& disk) {
  set_text(disk.name, "sda");
  set_text(disk.enclosure, "1");
  disk.ch = 1;
}

void fill_array(tag_md_info& md) {
  md_conf_init(&md);
  set_text(md.name, "md1");
  set_text(md.level, "raid5");
  set_text(md.disks, "sdd,sde,sdf");
  set_text(md.enclosure, "1");
}

void fill_volume(tag_pv_info& pv) {
  set_text(pv.pvname, "sdd");
  set_text(pv.enclosure, "1");
  set_text(pv.vgname, "vg1");
}

void fill_group(tag_vg_info& vg) {
  set_text(vg.vgname, "vg1");
  set_text(vg.enclosure, "1");
  vg.size = 100;
  fill_volume(only_in(vg.pvs));
}

void fill_pool(tag_pool_info& pool) {
  set_text(pool.poolname, "/dev/vg0/lv0");
  set_text(pool.vgname, "vg0");
}

void fill_file_system(tag_fs_info& fs) {
  set_text(fs.devname, "/dev/vg0/lv0");
  set_text(fs.mountpoint, "/mnt/a");
  set_text(fs.fstype, "xfs");
}

void fill_user(tag_user_info& user) {
  set_text(user.name, "eve");
  set_text(user.password, "secret");
}

}  // namespace

record<tag_md_info> array() { return record<tag_md_info>(fill_array); }
record<tag_disk_info> disk() { return record<tag_disk_info>(fill_disk); }
record<tag_vg_info> group() { return record<tag_vg_info>(fill_group); }
record<tag_share_config> share(const std::string& service) {
  return record<tag_share_config>(
      [service](tag_share_config& share) { fill_share(share, "new", service); });
}

list_of<tag_diskinfo_list> disks() { return list_of<tag_diskinfo_list>({fill_disk}); }
list_of<tag_mdinfo_list> arrays() { return list_of<tag_mdinfo_list>({fill_array}); }
list_of<tag_pvinfo_list> volumes() { return list_of<tag_pvinfo_list>({fill_volume}); }
list_of<tag_vginfo_list> groups() { return list_of<tag_vginfo_list>({fill_group}); }
list_of<tag_poolinfo_list> pools() { return list_of<tag_poolinfo_list>({fill_pool}); }
list_of<tag_fsinfo_list> file_systems() { return list_of<tag_fsinfo_list>({fill_file_system}); }
list_of<tag_shareconn_list> connections() {
  return list_of<tag_shareconn_list>(
      {[](tag_share_conn& connection) { set_text(connection.protocol, "4711"); }});
}
list_of<tag_user_info_list> users() { return list_of<tag_user_info_list>({fill_user}); }
list_of<tag_alarm_list> alarms() {
  return list_of<tag_alarm_list>({[](tag_alarm_info& alarm) { set_text(alarm.id, "1"); }});
}
list_of<tag_netcard_list> netcards() {
  return list_of<tag_netcard_list>({[](tag_netcard& card) { set_text(card.name, "eth0"); }});
}
list_of<tag_shareconf_list> shares(const std::string& service) {
  const auto filler = [service](const std::string& name) {
    return [name, service](tag_share_config& share) { fill_share(share, name, service); };
  };
  return list_of<tag_shareconf_list>({filler("first"), filler("new")});
}

}  // namespace security
