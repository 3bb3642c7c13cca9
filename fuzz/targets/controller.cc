/// What the RAID controller's tool prints: its disks and its arrays.

#include <orv/disk.h>
#include <orv/raid.h>

#include "fuzz.h"

FUZZ_TARGET(controller, in) {
  const bool reads_disks = in.below(2) == 0;
  the_machine.tool_output = in.rest();
  const std::size_t limit = fuzz::lines_in(the_machine.tool_output);
  fuzz::temporary_files_left = 1;  // the last display of arrays stays in /tmp
  if (reads_disks) {
    fuzz::list<tag_diskinfo_list> disks;
    EXPECT(get_diskinfo_from_arcadm(disks.get()) == ORV_OK);
    disks.check(limit);
    for (const tag_disk_info& disk : disks) EXPECT(disk.ch > 0);
  } else {
    fuzz::list<tag_mdinfo_list> arrays;
    EXPECT(get_mdinfo_from_arcadm(arrays.get()) == ORV_OK);
    arrays.check(limit);
    for (const tag_md_info& md : arrays) EXPECT(orv::text_of(md.name).starts_with("md"));
  }
}
