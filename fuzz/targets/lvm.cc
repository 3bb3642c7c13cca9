/// The list tools of LVM: physical volumes, volume groups, logical volumes.

#include <orv/lvm.h>

#include "fuzz.h"

namespace {

void read_groups(fuzz::input& in, bool has_controller) {
  the_machine.tool_output = in.part();
  const std::size_t groups_limit = fuzz::lines_in(the_machine.tool_output);
  fuzz::list<tag_vginfo_list> groups;
  EXPECT(get_vginfo_from_vgdisplay(groups.get()) == ORV_OK);
  the_machine.tool_output = in.rest();
  const auto read = has_controller ? get_vginfo_from_arcadm : get_vginfo_from_pvdisplay;
  the_machine.put("/proc/mdstat", "md1 : active\n");
  fuzz::temporary_files_left = 1;
  EXPECT(read(groups.get()) == ORV_OK);
  groups.check(groups_limit);
  const std::size_t volumes_limit = fuzz::lines_in(the_machine.tool_output);
  for (const tag_vg_info& vg : groups) {
    std::size_t volumes = 0;
    for ([[maybe_unused]] const auto& pv : orv::records(&vg.pvs)) ++volumes;
    EXPECT(volumes <= volumes_limit);
    EXPECT(vg.attr[0] != '\0');
  }
}

void read_pools(fuzz::input& in) {
  the_machine.tool_output = in.rest();
  fuzz::temporary_files_left = 1;
  fuzz::list<tag_poolinfo_list> pools;
  EXPECT(get_poolinfo_from_lvdisplay(pools.get()) == ORV_OK);
  pools.check(fuzz::lines_in(the_machine.tool_output));
  for (const tag_pool_info& pool : pools) {
    EXPECT(orv::text_of(pool.poolname).starts_with("/dev/"));
    EXPECT(orv::text_of(pool.state).ends_with("available"));
  }
}

/// LVM's backup of a group's metadata.
void read_backup(fuzz::input& in) {
  const std::string device = in.word();
  the_machine.put("/etc/lvm/backup/vg1", in.rest());
  char first[256] = "";
  const int found = vg_get_pv("vg1", first);
  EXPECT(found == ORV_OK || found == ORV_E_NO_VG);
  EXPECT(found != ORV_OK || first[0] == 's' || first[0] == 'm');
  EXPECT(orv::text_of(first).size() < sizeof first);
  const int resumed = md_vg_resume("vg1", device.c_str());
  EXPECT(resumed == -1 || resumed == 0);
  EXPECT(the_machine.commands <= 2);
  EXPECT(vg_get_pv("../vg1", first) == ORV_E_NO_VG);
}

}  // namespace

FUZZ_TARGET(lvm, in) {
  switch (in.below(4)) {
    case 0:
      return read_groups(in, false);
    case 1:
      return read_groups(in, true);
    case 2:
      return read_pools(in);
    default:
      return read_backup(in);
  }
}
