/// Disks: the driver's files, sysfs, the list of hot spares, and the kernel's partitions.

#include <orv/disk.h>
#include <orv/raid.h>

#include "fuzz.h"

namespace {

void read_driver(fuzz::input& in) {
  const std::string_view first = in.part();
  const std::string_view second = in.part();
  the_machine.put("/proc/scsi/mvSata/0", first);
  the_machine.put("/proc/scsi/mvSata/10", second);
  the_machine.put("/sys/block/sda/size", in.part());
  the_machine.put("/sys/block/sda/device/state", in.part());
  the_machine.put("/sys/block/sda/device/model", in.part());
  the_machine.tool_output = in.rest();
  fuzz::list<tag_diskinfo_list> disks;
  const int result = disks_info_get(disks.get());
  EXPECT(result == ORV_OK || result == ORV_E_SPARE_LINE);
  constexpr std::size_t disk_lines_of_a_host = 6;
  disks.check(2 * disk_lines_of_a_host);
  for (const tag_disk_info& disk : disks) {
    EXPECT(disk.hotspare == 0 || disk.hotspare == 1);
    EXPECT(disk.enclosure[0] >= '0' && disk.enclosure[0] <= '4' && disk.enclosure[1] == '\0');
  }
}

void read_partitions(fuzz::input& in) {
  const std::string_view text = in.rest();
  the_machine.put("/proc/partitions", text);
  fuzz::list<tag_diskinfo_list> disks;
  EXPECT(get_diskinfo_from_partitions(disks.get()) == ORV_OK);
  disks.check(fuzz::lines_in(text));
  fuzz::list<tag_mdinfo_list> arrays;
  EXPECT(get_mdinfo_from_partitions(arrays.get()) == ORV_OK);
  arrays.check(fuzz::lines_in(text));
}

/// Channel lists, which come from the front end, and the disks that they name.
void translate_channels(fuzz::input& in) {
  fuzz::list<tag_diskinfo_list> disks;
  for (int channel = 1; channel <= 20; ++channel) {
    tag_disk_info* const disk = orv::append(disks.get());
    disk->ch = channel;
    std::snprintf(disk->name, sizeof disk->name, "sd%c%.*s", 'a' + channel, channel % 5, "xyzw");
    orv::set_text(disk->enclosure, "0");
  }
  char names[256] = "";
  orv::set_text(names, in.part());
  const int expected = static_cast<int>(in.below(24));
  const int found = trans_ch_disk(disks.get(), names, "0", expected);
  EXPECT(found >= 0 && found <= 20);
  EXPECT(orv::text_of(names).size() < sizeof names);
  EXPECT(found != expected || count_disks(names) == expected);
  trans_disk_dev(names);
  EXPECT(orv::text_of(names).size() < sizeof names);
  is_channelID(names);
}

}  // namespace

FUZZ_TARGET(disks, in) {
  switch (in.below(3)) {
    case 0:
      return read_driver(in);
    case 1:
      return read_partitions(in);
    default:
      return translate_channels(in);
  }
}
