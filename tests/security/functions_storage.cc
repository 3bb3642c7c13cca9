/// Rows of disks, arrays, volume groups, pools and file systems.
#include "tests/security/functions.h"

namespace security {

using number = plain<int>;
using size = plain<uint64_t>;

void add_disk_functions(call_table& table) {
  ROW(disks_info_get, disks());
  ROW(get_diskinfo_from_mvSata, disks());
  ROW(get_diskinfo_from_sd, disks());
  ROW(get_global_hotspare, disks());
  ROW(get_diskinfo_from_arcadm, disks());
  ROW(get_diskinfo_from_partitions, disks());
  ROW(get_disk_ch, word("1 disk"));
  ROW(disk_ch_cmp, number(1), word("1,2"));
  ROW(trans_ch_disk, disks(), buffer("1", 256), word("1"), number(1));
  ROW(trans_disk_dev, buffer("sda,sdb", 256));
  ROW(is_channelID, word("1,2"));
  ROW(get_diskinfo_to_file, word("/told/text"), word("/scratch/copy")).changes_file_named_by("1");
  ROW(smart_info_get, disks()).runs_with({"0.name"});
  ROW(get_smart, disk()).runs_with({"0.name"});
  ROW(get_smart_detail, disk()).runs_with({"0.name"});
  ROW(get_smart_from_arcadm, disk());
  ROW(get_smart_detail_value, stream("a b c\n"), number(0),
      record<tag_disksmart_info>([](tag_disksmart_info&) {}));
  ROW(get_smart_value_arcadm, stream("a : b\n"), number(0),
      record<tag_disksmart_info>([](tag_disksmart_info&) {}));
  ROW(get_disk_model, word("0 /ST3/931/normal/Raid"), output(32), number(32));
  ROW(get_disk_space, word("0 /ST3/931/normal/Raid"));
  using state_of_line = int(const char*, char*, int);
  ROW_OF(state_of_line, get_disk_state, word("0 /ST3/931/normal/Raid"), output(32), number(32));
  ROW(get_disk_usage, word("0 /ST3/931/normal/Raid"), output(32), number(32));
  ROW(get_value_from_file, stream("key : value\n"), word("key"), word(":"), number(0), output(32),
      number(32));
}

void add_raid_functions(call_table& table) {
  ROW(raid_get, arrays());
  ROW(get_mdinfo_from_proc, arrays());
  ROW(get_mdinfo_from_mdadm, arrays()).runs_with({"0.name"});
  ROW(get_mdinfo_from_sysblock, arrays());
  ROW(get_mdinfo_from_mdstat, arrays());
  ROW(get_mdinfo_from_arcadm, arrays()).changes({"/tmp/mdstat.XXXXXX"});
  ROW(get_mdinfo_from_partitions, arrays());
  ROW(get_mdinfo_to_file, word("/told/text"), word("/scratch/copy")).changes_file_named_by("1");
  using state_of_file = int(const char*);
  ROW_OF(state_of_file, get_disk_state, word("/told/text"));
  ROW_OF(state_of_file, get_raid_disks, word("/told/text"));
  ROW(get_mdinfo_type, stream("key : value\n"), output(32), number(32), word("key"));
  ROW(isequal, word("==="));
  ROW(get_raid_level, word("md0 /5 /64K /normal /1862 GB /sdb / #1 #2"), output(32), number(32));
  ROW(get_raid_status, word("md0 /5 /64K /normal /1862 GB /sdb / #1 #2"), output(32), number(32));
  ROW(get_raid_size, word("md0 /5 /64K /normal /1862 GB /sdb / #1 #2"));
  ROW(get_raid_device, word("md0 /5 /64K /normal /1862 GB /sdb / #1 #2"), output(32), number(32));
  using disks_of_line = int(const char*, char*, int);
  ROW_OF(disks_of_line, get_raid_disks, word("md0 /5 /64K /normal /1862 GB /sdb / #1 #2"),
         output(32), number(32));
  const record<tag_md_info> request([](tag_md_info& md) {
    orv::set_text(md.level, "raid5");
    orv::set_text(md.disks, "4,5,6");
    orv::set_text(md.enclosure, "1");
  });
  ROW(raid_create, request).runs_with({"0.name"});
  ROW(set_raid, array()).runs_with({"0.name"}).runs_with_list("0.disks");
  ROW(reset_raid, array()).runs_with({"0.name"}).runs_with_list("0.disks");
  ROW(mdcmp, word("md1"), word("md2"));
  ROW(auto_md_name, word("md3"), output(32));
  ROW(init_raid_disks, word("sdd,sde")).runs_with_list("0");
  ROW(raid_add, word("md0"), word("4"));
  ROW(raid_rm, word("md0"), word("3"));
  ROW(raid_check_rm, word("md0"), word("3"));
  ROW(raid_destroy, word("md7"));
  ROW(add_raid, array(), word("sda")).runs_with({"0.name", "1"});
  ROW(rm_raid, array(), word("sda")).runs_with({"0.name", "1"});
  ROW(del_raid, array()).runs_with({"0.name"});
  ROW(set_disk_faulty, word("md0"), word("sda")).runs_with({"0", "1"});
  ROW(set_raid_faulty, array()).runs_with({"0.name"}).runs_with_list("0.disks");
  ROW(found_disk, word("sda,sdb(F)"), word("sdb"));
  using state_among = int(const char*, const char*);
  ROW_OF(state_among, get_disk_state, word("sdb"), word("sda,sdb(F)"));
  ROW(count_disks, word("a,b"));
  using spare_of_array = int(tag_md_info*);
  ROW_OF(spare_of_array, check_spare_disk, array());
  ROW(check_pv_disk, array());
  ROW(found_pv_raid, group(), word("sda"));
  ROW(disk_set_hotspare, word("sda"), number(1)).runs_with({"0"});
  ROW(clear_disk, word("sda")).runs_with({"0"});
  const list_of<tag_diskinfo_list> wanted({[](tag_disk_info& disk) {
    orv::set_text(disk.enclosure, "1");
    disk.ch = 4;
    disk.hotspare = 1;
  }});
  ROW(disks_hotspare_set, wanted);
  ROW(disks_clear, wanted);
}

void add_lvm_functions(call_table& table) {
  ROW(vg_get, groups());
  ROW(get_vginfo_from_vgdisplay, groups());
  ROW(get_vginfo_from_pvdisplay, groups());
  ROW(get_vginfo_from_arcadm, groups());
  ROW(found_vg, volumes(), word("md1"));
  ROW(found_raid, volumes(), word("md1"));
  ROW(found_pv_vg, volumes(), word("sdd"));
  ROW(check_pv, volumes());
  const record<tag_vg_info> request([](tag_vg_info& vg) {
    orv::set_text(vg.vgname, "vg1");
    orv::set_text(only_in(vg.pvs).pvname, "4");
    orv::set_text(only_in(vg.pvs).enclosure, "1");
  });
  ROW(vg_create, request).runs_with({"0.vgname"}).of_a_new_name();
  ROW(create_vg, group()).runs_with({"0.vgname", "0.pvs.pvname"});
  using group_check = int(tag_vg_info*);
  ROW_OF(group_check, check_vg, group());
  ROW(check_pvname, disks(), buffer("4", 32), word("1"));
  ROW(vg_extend, word("vg0"), word("4"), word("1"));
  ROW(extend_vg, word("vg0"), buffer("sdd", 32)).runs_with({"0", "1"});
  ROW(vg_destroy, word("vg7"));
  ROW(del_vg, group()).runs_with({"0.vgname", "0.pvs.pvname"});
  ROW(create_pv, word("sdd")).runs_with({"0"});
  ROW(del_pv, word("sdd")).runs_with({"0"});
  ROW(check_pv_used, word("md0"));
  using spare_check = int(const char*);
  ROW_OF(spare_check, check_spare_disk, word("sdf"));
  ROW(check_md_exist, word("md0"));
  ROW(check_ch_in_raid, word("sda"));
  ROW(vg_get_pv, word("vg0"), output(256));
  ROW(vg_check_rm, word("vg0"));
  ROW(md_vg_resume, word("vg0"), word("md0"));
  ROW(pv_check_rm, stream("id = \"aaaa\"\ndevice = \"/dev/md0\"\n"), word("md0"));
  ROW(vgcfgrestore, word("vg0")).runs_with({"0"});
  ROW(pool_get, pools());
  ROW(get_poolinfo_from_lvdisplay, pools());
  ROW(isdashed, word("--"));
  ROW(pool_create, word("lv1"), word("vg0"), size(10)).runs_with({"0"});
  ROW(create_pool, word("lv1"), word("vg0"), size(10)).runs_with({"0", "1"});
  ROW(pool_extend, word("lv0"), word("vg0"), size(20));
  ROW(extend_pool, word("lv0"), word("vg0"), size(20)).runs_with({"0", "1"});
  ROW(pool_destroy, word("lv0"), word("vg0"));
  ROW(destroy_pool, word("lv0"), word("vg0")).runs_with({"0", "1"});
  ROW(check_pool, word("lv1"), word("vg0"));
  ROW(check_pool_vg, word("lv0"), word("vg0"), number(0));
  using size_check = int(const char*, uint64_t);
  ROW_OF(size_check, check_vg, word("vg0"), size(10));
  ROW(mkfs_pool, word("lv0"), word("vg0")).runs_with({"0", "1"});
  ROW(mount_fs, word("/mnt/new"), word("vg0"), word("lv0")).runs_with({"0", "1", "2"});
  ROW(umount_fs, word("/mnt/new")).runs_with({"0"});
  ROW(mkdir_path, word("/mnt/new")).runs_with({"0"});
  ROW(rmdir_path, word("/mnt/new"));  // runs with a path only
}

void add_fs_functions(call_table& table) {
  const std::string kept = "/var/lib/orv/kept/etc/mdfstab";
  ROW(fs_get, file_systems());
  ROW(mountfs_get, file_systems());
  ROW(get_usedsize_from_df, file_systems());
  ROW(fs_check, word("lv0"));
  ROW(mount_check, word("/mnt/a"));
  ROW(add_mdfstab, word("/mnt/new"), word("vg0"), word("lv0")).changes({"/etc/mdfstab", kept});
  ROW(del_mdfstab, word("/mnt/a")).changes({"/etc/mdfstab", kept, "/tmp/mdfstab.XXXXXX"});
  ROW(mdfstab_get, file_systems());
}

}  // namespace security
