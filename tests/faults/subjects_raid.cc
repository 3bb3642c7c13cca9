#include "subject.h"

namespace faults {
namespace {

using changer = std::function<void(tag_md_info&)>;

/// A function on the record of an array.
template <class Function>
auto with_array(Function function, const changer& change = {}) {
  return [function, change](world&) {
    auto md = std::make_shared<tag_md_info>();
    md_conf_init(md.get());
    put(md->name, "md5");
    put(md->level, "raid1");
    put(md->disks, "sdf,sdg");
    put(md->enclosure, "1");
    if (change) change(*md);
    return ready_call{.act = [=] { return long{function(md.get())}; },
                      .show = [=] { md_conf_show(md.get()); }};
  };
}

/// A request for an array of these channels.
auto request(const std::string& channels) {
  return with_array(raid_create, [channels](tag_md_info& md) { put(md.disks, channels); });
}

void fill_with_arrays(tag_mdinfo_list* list) { raid_get(list); }

const codes lists = disk_list + array_list + group_list;
const std::vector<std::string> destruction = {"mdadm -C", "diskformat"};

constexpr char display_line[] = "md0 /5 /64K /normal /1862 GB /sdb / #1 #2";

const exemptions unwiped =
    because("a disk that cannot be wiped is taken all the same", {"diskformat"});
const exemptions undescribed =
    because("the detail of an array that mdadm cannot describe stays empty", {"--detail"});

const exemptions unreadable_state = because("a state that cannot be read is none, as documented",
                                            {"read behind openat /sys/block/md"});

const codes creation = lists + codes{ORV_E_RAID_LEVEL, ORV_E_NO_DISK, ORV_E_RAID_NAME_USED,
                                     ORV_E_DISK_USED, ORV_E_RAID_COUNT};
const codes membership = lists + codes{ORV_E_NO_RAID, ORV_E_NO_DISK, ORV_E_RAID_LEVEL_FIXED,
                                       ORV_E_DISK_USED, ORV_E_NOT_FAULTY};

std::vector<subject> creation_subjects() {
  return {
      {.name = "raid_create(tag_md_info*)",
       .documented = creation,
       .prepare = request("6,7"),
       .overcomes = unwiped,
       .may_tell_less = true},  // without memory for them the record shows no paths
      {.name = "raid_create(tag_md_info*)",
       .variant = "of a member",
       .documented = creation,
       .prepare = request("6,1"),
       .expected = ORV_E_DISK_USED,
       .never_runs = destruction},
      {.name = "raid_create(tag_md_info*)",
       .variant = "of a hot spare",
       .documented = creation,
       .prepare = request("6,8"),
       .expected = ORV_E_DISK_USED,
       .never_runs = destruction},
      {.name = "set_raid(tag_md_info*)",
       .documented = command + codes{ORV_E_RAID_COUNT},
       .prepare = with_array(set_raid),
       .overcomes = unwiped + because("the record shows no paths then", {"no memory"})},
      {.name = "reset_raid(tag_md_info*)",
       .documented = command + codes{ORV_E_RAID_COUNT},
       .prepare = with_array(reset_raid),
       .overcomes = because("the record shows no paths then", {"no memory"})},
      {.name = "init_raid_disks(char const*)",
       .prepare = call([] {
         const char* const names = "sdf,sdg";
         return init_raid_disks(names) == names ? 0 : 1;
       }),
       .overcomes = unwiped},
  };
}

std::vector<subject> membership_subjects() {
  return {
      {.name = "raid_add(char const*, char const*)",
       .documented = membership,
       .prepare = call([] { return raid_add("md0", "6"); }),
       .may_tell_less = true},
      {.name = "raid_add(char const*, char const*)",
       .variant = "of a member",
       .documented = membership,
       .prepare = call([] { return raid_add("md0", "1"); }),
       .expected = ORV_E_DISK_USED,
       .never_runs = {"mdadm /dev", " -a "}},
      {.name = "raid_rm(char const*, char const*)",
       .documented = membership,
       .prepare = call([] { return raid_rm("md0", "3"); })},
      {.name = "raid_rm(char const*, char const*)",
       .variant = "of a healthy disk",
       .documented = membership,
       .prepare = call([] { return raid_rm("md0", "1"); }),
       .expected = ORV_E_NOT_FAULTY,
       .never_runs = {"mdadm /dev", " -r "}},
      {.name = "raid_check_rm(char const*, char const*)",
       .documented = membership,
       .prepare = call([] { return raid_check_rm("md0", "3"); })},
      {.name = "raid_destroy(char const*)",
       .documented = lists + codes{ORV_E_NO_RAID, ORV_E_RAID_IN_VG},
       .prepare = call([] { return raid_destroy("md1"); })},
      {.name = "raid_destroy(char const*)",
       .variant = "of one in a group",
       .documented = lists + codes{ORV_E_NO_RAID},
       .prepare = call([] { return raid_destroy("md0"); }),
       .expected = ORV_E_RAID_IN_VG,
       .overcomes =
           because("mdadm itself stops no array that is in use", {"vgdisplay", "pvdisplay"}),
       .never_runs = {"mdadm -S"}},
      {.name = "add_raid(tag_md_info*, char const*)",
       .documented = command,
       .prepare = with_array([](tag_md_info* md) { return add_raid(md, "sdf"); })},
      {.name = "rm_raid(tag_md_info*, char const*)",
       .documented = command,
       .prepare = with_array([](tag_md_info* md) { return rm_raid(md, "sdf"); })},
      {.name = "del_raid(tag_md_info*)", .documented = command, .prepare = with_array(del_raid)},
      {.name = "set_disk_faulty(char const*, char const*)",
       .documented = {-1},
       .prepare = call([] { return set_disk_faulty("md0", "sda"); })},
      {.name = "set_raid_faulty(tag_md_info*)",
       .documented = {-1},
       .prepare = with_array(set_raid_faulty)},
  };
}

std::vector<subject> disk_changes() {
  return {
      {.name = "disk_set_hotspare(char const*, int)",
       .documented = {-1},
       .prepare = call([] { return disk_set_hotspare("sdf", 1); })},
      {.name = "clear_disk(char const*)", .documented = {-1}, .prepare = call([] {
                                                                return clear_disk("sdf");
                                                              })},
      {.name = "disks_hotspare_set(tag_diskinfo_list*)",
       .documented = disk_list + codes{ORV_E_NO_DISK},
       .prepare = with_list<tag_diskinfo_list>(disks_hotspare_set,
                                               [](tag_diskinfo_list* list) {
                                                 tag_disk_info* const disk = orv::append(list);
                                                 disk->ch = 6;
                                                 disk->hotspare = 1;
                                                 put(disk->enclosure, "1");
                                               }),
       .overcomes = unwiped + because("the result does not tell of the tool", {"hotspare -a"})},
      {.name = "disks_clear(tag_diskinfo_list*)",
       .documented = disk_list + codes{ORV_E_NO_DISK},
       .prepare = with_list<tag_diskinfo_list>(disks_clear,
                                               [](tag_diskinfo_list* list) {
                                                 tag_disk_info* const disk = orv::append(list);
                                                 disk->ch = 6;
                                                 put(disk->enclosure, "1");
                                               }),
       .overcomes = unwiped},
  };
}

std::vector<subject> list_subjects() {
  return {
      {.name = "raid_get(tag_mdinfo_list*)",
       .documented = array_list,
       .prepare = with_list<tag_mdinfo_list>(raid_get),
       .overcomes = undescribed + unreadable_state,
       .may_tell_less = true,
       .never_tells = "raid1\tinactive"},
      {.name = "raid_get(tag_mdinfo_list*)",
       .variant = "of a controller",
       .documented = array_list,
       .prepare = with_list<tag_mdinfo_list>(raid_get),
       .model = "KTA7120U",
       .overcomes =
           because("a model that cannot be read has no controller", {"/etc/sys_info", "no memory"}),
       .cut_short = {"/tmp/mdstat.XXXXXX"},
       .leaves = {"/tmp/mdstat.XXXXXX"}},
      {.name = "get_mdinfo_from_proc(tag_mdinfo_list*)",
       .documented = array_list,
       .prepare = with_list<tag_mdinfo_list>(get_mdinfo_from_proc)},
      {.name = "get_mdinfo_from_proc(tag_mdinfo_list*)",
       .variant = "without a shell",
       .documented = array_list,
       .prepare = with_list<tag_mdinfo_list>(get_mdinfo_from_proc),
       .shell = "dash"},
      {.name = "get_mdinfo_from_mdadm(tag_mdinfo_list*)",
       .documented = array_list,
       .prepare = with_list<tag_mdinfo_list>(get_mdinfo_from_mdadm, fill_with_arrays),
       .overcomes = undescribed,
       .may_tell_less = true},
      {.name = "get_mdinfo_from_sysblock(tag_mdinfo_list*)",
       .documented = array_list,
       .prepare = with_list<tag_mdinfo_list>(get_mdinfo_from_sysblock, fill_with_arrays),
       .overcomes = unreadable_state,
       .may_tell_less = true,
       .never_tells = "raid1\tinactive"},
      {.name = "get_mdinfo_from_mdstat(tag_mdinfo_list*)",
       .documented = array_list,
       .prepare = with_list<tag_mdinfo_list>(get_mdinfo_from_mdstat, fill_with_arrays)},
      {.name = "get_mdinfo_from_arcadm(tag_mdinfo_list*)",
       .documented = array_list,
       .prepare = with_list<tag_mdinfo_list>(get_mdinfo_from_arcadm),
       .model = "KTA7120U",
       .cut_short = {"/tmp/mdstat.XXXXXX"},
       .leaves = {"/tmp/mdstat.XXXXXX"}},
      {.name = "get_mdinfo_from_partitions(tag_mdinfo_list*)",
       .documented = {ORV_E_PARTITIONS},
       .prepare = with_list<tag_mdinfo_list>(get_mdinfo_from_partitions)},
      {.name = "get_disk_state(char const*)",
       .documented = {-1, 0},
       .prepare = call([] { return get_disk_state("/sys/block/md0/md/dev-sda/state"); }),
       .expected = 3},
      {.name = "get_raid_disks(char const*)",
       .documented = {0},
       .prepare = call([] { return get_raid_disks("/sys/block/md0/md/raid_disks"); }),
       .expected = 3},
  };
}

std::vector<subject> checks() {
  return {
      {.name = "check_spare_disk(tag_md_info*)",
       .documented = {0},
       .prepare = with_array([](tag_md_info* md) { return check_spare_disk(md); },
                             [](tag_md_info& md) { put(md.disks, "sdh"); }),
       .expected = 1},
      {.name = "check_pv_disk(tag_md_info*)",
       .documented = {0},
       .prepare = with_array(check_pv_disk, [](tag_md_info& md) { put(md.disks, "md0"); }),
       .expected = 1},
      {.name = "get_mdinfo_type(_IO_FILE*, char*, int, char const*)",
       .documented = {ORV_E_MD_KEY},
       .prepare =
           [](world& w) {
             w.machine.file("/etc/detail", "   Raid Level : raid5\n");
             auto file = std::shared_ptr<FILE>(std::fopen("/etc/detail", "re"), std::fclose);
             auto text = std::make_shared<std::array<char, 64>>();
             return ready_call{
                 .act =
                     [=] {
                       return long{get_mdinfo_type(file.get(), text->data(), 64, "Raid Level")};
                     },
                 .show = [=] { std::printf("%s\n", text->data()); }};
           }},
      {.name = "get_mdinfo_to_file(char const*, char const*)",
       .documented = {-1},
       .prepare = call([] { return get_mdinfo_to_file("/etc/hostname", "/etc/copy"); }),
       .overcomes = because("the result tells of the opening of both files", {every_fault}),
       .cut_short = {"/etc/copy"}},
      {.name = "found_disk(char const*, char const*)",
       .documented = {-1},
       .prepare = call([] { return found_disk("sda,sdb(F)", "sdb"); }),
       .expected = 1},
      {.name = "get_disk_state(char const*, char const*)",
       .documented = {-1},
       .prepare = call([] { return get_disk_state("sdb", "sda,sdb(F)"); }),
       .expected = 1},
      {.name = "count_disks(char const*)",
       .documented = {-1},
       .prepare = call([] { return count_disks("sda,sdb"); }),
       .expected = 2},
      {.name = "found_pv_raid(tag_vg_info*, char const*)",
       .documented = {-1, 0},
       .prepare =
           [](world&) {
             auto groups = std::make_shared<orv::scoped_list<tag_vginfo_list>>();
             vg_get(groups->get());
             return ready_call{.act = [=] {
               return long{found_pv_raid(&*orv::records(groups->get()).begin(), "md0")};
             }};
           },
       .expected = 1},
  };
}

std::vector<subject> display_parsers() {
  return {
      {.name = "get_raid_level(char const*, char*, int)",
       .documented = {-1},
       .prepare =
           call_with_text([](char* text) { return get_raid_level(display_line, text, 256); })},
      {.name = "get_raid_status(char const*, char*, int)",
       .documented = {-1},
       .prepare =
           call_with_text([](char* text) { return get_raid_status(display_line, text, 256); })},
      {.name = "get_raid_device(char const*, char*, int)",
       .documented = {-1},
       .prepare =
           call_with_text([](char* text) { return get_raid_device(display_line, text, 256); })},
      {.name = "get_raid_disks(char const*, char*, int)",
       .documented = {-1},
       .prepare =
           call_with_text([](char* text) { return get_raid_disks(display_line, text, 256); })},
      {.name = "get_raid_size(char const*)",
       .documented = {-1},
       .prepare = call([] { return static_cast<long>(get_raid_size(display_line)); }),
       .expected = 1862},
  };
}

}  // namespace

std::vector<subject> raid_subjects() {
  std::vector<subject> all = creation_subjects();
  for (const auto& more :
       {membership_subjects(), disk_changes(), list_subjects(), checks(), display_parsers()})
    all.insert(all.end(), more.begin(), more.end());
  return all;
}

}  // namespace faults
