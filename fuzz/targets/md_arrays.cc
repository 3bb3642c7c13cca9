/// Software RAID: the kernel's list of arrays, what mdadm says of each, and the members in sysfs.

#include <orv/raid.h>

#include "fuzz.h"

namespace {

/// Members of the array whose files in sysfs are "NAME STATE" lines.
void put_members(const std::string& folder, std::string_view lines) {
  for (const std::string_view line : orv::split(lines, "\n")) {
    const std::string_view name = orv::before(line, " /");
    if (name.empty()) continue;
    const std::string path = folder + (name == "raid_disks" ? "/" : "/dev-") + std::string(name);
    const std::string_view text = orv::after(line, ' ');
    the_machine.put(name == "raid_disks" ? path : path + "/state", text);
  }
}

}  // namespace

FUZZ_TARGET(md_arrays, in) {
  const std::string_view mdstat = in.part();
  the_machine.put("/proc/mdstat", mdstat);
  the_machine.tool_output = in.part();
  const std::string_view members = in.part();
  for (const char* const name : {"md0", "md1", "md2"}) {
    put_members("/sys/block/" + std::string(name) + "/md", members);
  }
  the_machine.put("/etc/sys_info", "");
  fuzz::list<tag_mdinfo_list> arrays;
  EXPECT(get_mdinfo_from_proc(arrays.get()) == ORV_OK);
  EXPECT(get_mdinfo_from_mdadm(arrays.get()) == ORV_OK);
  const int members_read = get_mdinfo_from_sysblock(arrays.get());
  EXPECT(members_read == ORV_OK || members_read == ORV_E_MD_SYSFS);
  EXPECT(get_mdinfo_from_mdstat(arrays.get()) == ORV_OK);
  arrays.check(fuzz::lines_in(mdstat));
  for (tag_md_info& md : arrays) {
    EXPECT(count_disks(md.disks) >= 0 && count_disks(md.disks) <= 64);
    EXPECT(found_disk(md.disks, "") == 0);
    md_conf_show(&md);
  }
}
