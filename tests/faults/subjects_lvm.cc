#include "subject.h"

namespace faults {
namespace {

/// A function on the request for a group on these physical volumes.
template <class Function>
auto with_group(const std::string& volume, Function function) {
  struct request {
    request() { vg_conf_init(&vg); }
    ~request() { vg_conf_fini(&vg); }
    tag_vg_info vg;
  };
  return [volume, function](world&) {
    auto owned = std::make_shared<request>();
    put(owned->vg.vgname, "new");
    tag_pv_info* const pv = orv::append(&owned->vg.pvs);
    put(pv->pvname, volume);
    put(pv->enclosure, "1");
    return ready_call{.act = [=] { return long{function(&owned->vg)}; },
                      .show = [=] { vg_conf_show(&owned->vg); }};
  };
}

auto creation(const std::string& volume) { return with_group(volume, vg_create); }

template <class Function>
auto with_volumes(Function function) {
  return with_group("6", [function](tag_vg_info* vg) { return function(&vg->pvs); });
}

void fill_with_groups(tag_vginfo_list* list) { get_vginfo_from_vgdisplay(list); }

const codes lists = disk_list + array_list + group_list;
const std::vector<std::string> destruction = {"diskformat", "pvcreate", "vgcreate", "vgextend"};

const codes volume =
    lists + codes{ORV_E_PV_NO_RAID, ORV_E_PV_CHANNEL, ORV_E_PV_DISK_USED, ORV_E_PV_USED};
const codes group = volume + codes{ORV_E_NO_VG, ORV_E_VG_NAME_USED};
const codes removal = lists + codes{ORV_E_VG_NOT_FOUND, ORV_E_VG_IN_USE};
const codes pool =
    pool_list + group_list +
    codes{ORV_E_POOL_VG, ORV_E_POOL_SIZE, ORV_E_POOL_NAME, ORV_E_POOL_NAME_USED, ORV_E_NO_POOL};
const exemptions group_left =
    because("its failure shows only when a physical volume cannot be removed either", {"vgremove"});
const exemptions restored = because("the result says that a volume was dealt with, not how",
                                    {"mdadm /dev", "pvcreate", "vgcfgrestore"});
const exemptions unreadable_state =
    because("a member whose state cannot be read is failed once more with its lost array",
            {"read behind openat /sys/block/md0/md/dev-"});

std::vector<subject> creation_subjects() {
  return {
      {.name = "vg_create(tag_vg_info*)", .documented = group, .prepare = creation("md1")},
      {.name = "vg_create(tag_vg_info*)",
       .variant = "on a disk",
       .documented = group,
       .prepare = creation("6"),
       .overcomes = because("a disk that cannot be wiped is taken all the same", {"diskformat"})},
      {.name = "vg_create(tag_vg_info*)",
       .variant = "on a hot spare",
       .documented = group,
       .prepare = creation("8"),
       .expected = ORV_E_PV_DISK_USED,
       .never_runs = destruction},
      {.name = "vg_create(tag_vg_info*)",
       .variant = "on a member",
       .documented = group,
       .prepare = creation("1"),
       .expected = ORV_E_PV_DISK_USED,
       .never_runs = destruction},
      {.name = "vg_create(tag_vg_info*)",
       .variant = "on a used array",
       .documented = group,
       .prepare = creation("md0"),
       .expected = ORV_E_PV_USED,
       .never_runs = destruction},
      {.name = "create_vg(tag_vg_info*)",
       .documented = command,
       .prepare = with_group("sdf", create_vg),
       .overcomes = because("a disk that cannot be wiped is taken all the same", {"diskformat"})},
      {.name = "check_vg(tag_vg_info*)",
       .documented = group,
       .prepare = with_group("md1", [](tag_vg_info* vg) { return check_vg(vg); })},
      {.name = "check_pv(tag_pvinfo_list*)",
       .documented = volume,
       .prepare = with_volumes(check_pv)},
      {.name = "check_pvname(tag_diskinfo_list*, char*, char const*)",
       .documented = volume,
       .prepare = with_list<tag_diskinfo_list>(
           [](tag_diskinfo_list* disks) {
             char name[32] = "6";
             return check_pvname(disks, name, "1");
           },
           [](tag_diskinfo_list* disks) { disks_info_get(disks); })},
      {.name = "vg_extend(char const*, char const*, char const*)",
       .documented = group,
       .prepare = call([] { return vg_extend("vg1", "6", "1"); })},
      {.name = "vg_extend(char const*, char const*, char const*)",
       .variant = "by a hot spare",
       .documented = group,
       .prepare = call([] { return vg_extend("vg1", "8", "1"); }),
       .expected = ORV_E_PV_DISK_USED,
       .never_runs = destruction},
      {.name = "extend_vg(char const*, char*)", .documented = command, .prepare = call([] {
                                                                         char name[32] = "sdf";
                                                                         return extend_vg("vg1",
                                                                                          name);
                                                                       })},
  };
}

std::vector<subject> removal_subjects() {
  return {
      {.name = "vg_destroy(char const*)",
       .documented = removal,
       .prepare = call([] { return vg_destroy("vg2"); }),
       .overcomes = group_left},
      {.name = "vg_destroy(char const*)",
       .variant = "of one in use",
       .documented = removal,
       .prepare = call([] { return vg_destroy("vg1"); }),
       .expected = ORV_E_VG_IN_USE,
       .never_runs = {"vgremove", "pvremove"}},
      {.name = "del_vg(tag_vg_info*)",
       .documented = disk_list,
       .prepare = with_group("md1", del_vg),
       .overcomes = group_left},
      {.name = "create_pv(char const*)", .documented = command, .prepare = call([] {
                                                                  return create_pv("sdf");
                                                                })},
      {.name = "del_pv(char const*)", .documented = command, .prepare = call([] {
                                                               return del_pv("sdf");
                                                             })},
      {.name = "vg_check_rm(char const*)",
       .documented = array_list + codes{ORV_E_NO_VG},
       .prepare = call([] { return vg_check_rm("vg1"); }),
       .never_runs = {"mdadm /dev", "pvcreate", "vgcfgrestore"}},
      {.name = "vg_check_rm(char const*)",
       .variant = "of a lost array",
       .documented = array_list + codes{ORV_E_NO_VG, ORV_OK},
       .prepare =
           [](world& w) {
             w.machine.file("/sys/block/md0/md/dev-sdb/state", "faulty\n");
             w.machine.file("/sys/block/md0/md/degraded", "2\n");
             return ready_call{.act = [] { return long{vg_check_rm("vg1")}; }};
           },
       .expected = -1,
       .overcomes = restored + unreadable_state},
      {.name = "md_vg_resume(char const*, char const*)",
       .documented = {ORV_E_COMMAND, ORV_E_NO_VG, 0},
       .prepare = call([] { return md_vg_resume("vg1", "md2"); }),
       .expected = -1,
       .overcomes = restored},
      {.name = "pv_check_rm(_IO_FILE*, char const*)",
       .documented = {ORV_E_COMMAND, 0},
       .prepare =
           [](world&) {
             auto file =
                 std::shared_ptr<FILE>(std::fopen("/etc/lvm/backup/vg1", "re"), std::fclose);
             return ready_call{.act = [=] { return long{pv_check_rm(file.get(), "md2")}; }};
           },
       .expected = -1,
       .overcomes = restored},
      {.name = "vgcfgrestore(char const*)", .documented = {-1}, .prepare = call([] {
                                                                  return vgcfgrestore("vg1");
                                                                })},
  };
}

std::vector<subject> pool_changes() {
  return {
      {.name = "pool_create(char const*, char const*, unsigned long)",
       .documented = pool,
       .prepare = call([] { return pool_create("new", "vg1", 10); })},
      {.name = "create_pool(char const*, char const*, unsigned long)",
       .documented = command,
       .prepare = call([] { return create_pool("new", "vg1", 10); })},
      {.name = "pool_extend(char const*, char const*, unsigned long)",
       .documented = pool,
       .prepare = call([] { return pool_extend("data", "vg1", 600); })},
      {.name = "extend_pool(char const*, char const*, unsigned long)",
       .documented = command,
       .prepare = call([] { return extend_pool("data", "vg1", 600); })},
      {.name = "pool_destroy(char const*, char const*)",
       .documented = pool,
       .prepare = call([] { return pool_destroy("data", "vg1"); })},
      {.name = "destroy_pool(char const*, char const*)",
       .documented = command,
       .prepare = call([] { return destroy_pool("data", "vg1"); })},
      {.name = "mkfs_pool(char const*, char const*)",
       .documented = command,
       .prepare = call([] { return mkfs_pool("data", "vg1"); })},
      {.name = "mkfs_pool(char const*, char const*)",
       .variant = "with reiserfs",
       .documented = command,
       .prepare = call([] { return mkfs_pool("data", "vg1"); }),
       .model = "KTA7120E",
       .overcomes =
           because("a model that cannot be read is another one", {"/etc/sys_info", "no memory"})},
  };
}

std::vector<subject> mount_points() {
  return {
      {.name = "mount_fs(char const*, char const*, char const*)",
       .documented = command,
       .prepare = call([] { return mount_fs("/mnt/data", "vg1", "data"); })},
      {.name = "umount_fs(char const*)", .documented = command, .prepare = call([] {
                                                                  return umount_fs("/mnt/data");
                                                                })},
      {.name = "mkdir_path(char const*)",
       .documented = command,
       .prepare = call([] { return mkdir_path("/mnt/new/deep"); })},
      {.name = "mkdir_path(char const*)",
       .variant = "without a shell",
       .documented = command,
       .prepare = call([] { return mkdir_path("/mnt/new/deep"); }),
       .shell = "dash"},
      {.name = "rmdir_path(char const*)",
       .documented = command,
       .prepare =
           [](world& w) {
             w.machine.file("/mnt/old/file", "gone\n");
             return ready_call{.act = [] { return long{rmdir_path("/mnt/old")}; }};
           },
       .overcomes =
           because("a directory that is not immutable is removed all the same", {"chattr"})},
      {.name = "rmdir_path(char const*)",
       .variant = "of a mounted one",
       .documented = {},
       .prepare = call([] { return rmdir_path("/mnt/data"); }),
       .expected = ORV_E_COMMAND,
       .never_runs = {"rm -rf", "chattr"}},
  };
}

std::vector<subject> list_subjects() {
  return {
      {.name = "vg_get(tag_vginfo_list*)",
       .documented = group_list,
       .prepare = with_list<tag_vginfo_list>(vg_get),
       .may_tell_less = true},
      {.name = "vg_get(tag_vginfo_list*)",
       .variant = "of a controller",
       .documented = group_list,
       .prepare = with_list<tag_vginfo_list>(vg_get),
       .model = "KTA7120U",
       .cut_short = {"/tmp/mdstat.XXXXXX"},
       .leaves = {"/tmp/mdstat.XXXXXX"},
       .may_tell_less = true},
      {.name = "get_vginfo_from_vgdisplay(tag_vginfo_list*)",
       .documented = group_list,
       .prepare = with_list<tag_vginfo_list>(get_vginfo_from_vgdisplay)},
      {.name = "get_vginfo_from_pvdisplay(tag_vginfo_list*)",
       .documented = group_list,
       .prepare = with_list<tag_vginfo_list>(get_vginfo_from_pvdisplay, fill_with_groups),
       .may_tell_less = true},
      {.name = "get_vginfo_from_arcadm(tag_vginfo_list*)",
       .documented = group_list,
       .prepare = with_list<tag_vginfo_list>(get_vginfo_from_arcadm, fill_with_groups),
       .model = "KTA7120U",
       .leaves = {"/tmp/mdstat.XXXXXX"}},
  };
}

std::vector<subject> checks() {
  return {
      {.name = "check_pv_used(char const*)",
       .documented = {0},
       .prepare = call([] { return check_pv_used("md0"); }),
       .expected = 1},
      {.name = "check_spare_disk(char const*)",
       .documented = {0},
       .prepare = call([] { return check_spare_disk("sdh"); }),
       .expected = 1},
      {.name = "check_md_exist(char const*)",
       .documented = {0},
       .prepare = call([] { return check_md_exist("md1"); }),
       .expected = 1},
      {.name = "check_ch_in_raid(char const*)",
       .documented = {0},
       .prepare = call([] { return check_ch_in_raid("sda"); }),
       .expected = 1},
      {.name = "vg_get_pv(char const*, char*)",
       .documented = {ORV_E_NO_VG},
       .prepare = call_with_text([](char* text) { return vg_get_pv("vg1", text); })},
      {.name = "pool_get(tag_poolinfo_list*)",
       .documented = pool_list,
       .prepare = with_list<tag_poolinfo_list>(pool_get),
       .may_tell_less = true},
      {.name = "get_poolinfo_from_lvdisplay(tag_poolinfo_list*)",
       .documented = pool_list,
       .prepare = with_list<tag_poolinfo_list>(get_poolinfo_from_lvdisplay),
       .may_tell_less = true},
      {.name = "check_pool(char const*, char const*)",
       .documented = pool,
       .prepare = call([] { return check_pool("new", "vg1"); })},
      {.name = "check_pool_vg(char const*, char const*, int)",
       .documented = pool,
       .prepare = call([] { return check_pool_vg("data", "vg1", 0); })},
      {.name = "check_vg(char const*, unsigned long)",
       .documented = pool,
       .prepare = call([] { return check_vg("vg1", 10); })},
      {.name = "found_pv_vg(tag_pvinfo_list*, char const*)",
       .documented = {0},
       .prepare = with_volumes([](tag_pvinfo_list* list) { return found_pv_vg(list, "5,6"); }),
       .expected = 1},
  };
}

}  // namespace

std::vector<subject> lvm_subjects() {
  std::vector<subject> all = creation_subjects();
  for (const auto& more :
       {removal_subjects(), pool_changes(), mount_points(), list_subjects(), checks()})
    all.insert(all.end(), more.begin(), more.end());
  return all;
}

}  // namespace faults
