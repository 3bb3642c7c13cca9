/// SMART: smartctl's summary and attributes, and the controller's attributes.

#include <orv/disk.h>

#include "fuzz.h"

FUZZ_TARGET(smart, in) {
  constexpr std::size_t most_attributes = 7;
  const unsigned source = in.below(3);
  the_machine.tool_status = in.below(2) == 0 ? 0 : 4 << 8;  // tells of the disk's health only
  the_machine.tool_output = in.rest();
  fuzz::list<tag_diskinfo_list> disks;
  tag_disk_info* const disk = orv::append(disks.get());
  orv::set_text(disk->name, "sda");
  disk->ch = 3;
  if (source == 0) {
    const int result = get_smart(disk);
    EXPECT(result == ORV_OK || result == -1);
  } else {
    EXPECT((source == 1 ? get_smart_detail : get_smart_from_arcadm)(disk) == ORV_OK);
  }
  disks.check(1);
  std::size_t attributes = 0;
  for (const tag_disksmart_info& attribute : orv::records(&disk->smart_list)) {
    ++attributes;
    EXPECT(attribute.value <= 9999 && attribute.worst <= 9999 && attribute.raw <= 9999);
    EXPECT(attribute.thresh <= 9999 || source == 2);  // that of the controller is not cut
  }
  EXPECT(attributes <= most_attributes);
}
