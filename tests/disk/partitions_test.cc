#include "tests/disk/machine_with_disks.h"

using testing::ElementsAre;
using testing::IsEmpty;

class partitions : public disk_test {};

TEST_F(partitions, list_the_whole_sd_disks) {
  machine.file("/proc/partitions",
               "major minor  #blocks  name\n\n"
               "   8        0  976762584 sda\n"
               "   8        1  976760832 sda1\n"
               "   8       16  976762584 sdb  \r\n"
               " 259        0  500107608 nvme0n1\n"
               "   9        0  976760768 md0\n"
               "   1        0       8192 ramsd\n"
               "  65      160  976762584 sdaa extra\n");
  EXPECT_EQ(get_diskinfo_from_partitions(&list), ORV_OK);
  EXPECT_THAT(places(), ElementsAre("sda 0@", "sdb 0@", "sdaa 0@"));
  EXPECT_STREQ(disks()[0]->smart.health, "NaN");
  EXPECT_EQ(disks()[0]->size, 0U);
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  EXPECT_EQ(machine.log() + machine.output(), "");
}

TEST_F(partitions, of_real_machines_list_their_disks) {
  for (const char* name : {"proc/partitions.txt", "proc/partitions_with_parts.txt"}) {
    disk_list_fini(&list);
    machine.file("/proc/partitions", fixture(name));
    EXPECT_EQ(get_diskinfo_from_partitions(&list), ORV_OK);
    EXPECT_THAT(places(), ElementsAre("sda 0@", "sdb 0@", "sdc 0@", "sdd 0@", "sde 0@", "sdf 0@",
                                      "sdg 0@", "sdh 0@", "sdi 0@", "sdj 0@"))
        << name;
  }
}

TEST_F(partitions, that_cannot_be_read_to_their_end_are_reported) {
  machine.file("/proc/partitions", "   8        0  976762584 sda\n");
  machine.fail("fread", EIO, 1);
  EXPECT_EQ(get_diskinfo_from_partitions(&list), ORV_E_PARTITIONS);
  EXPECT_THAT(disks(), IsEmpty());
  EXPECT_EQ(machine.output(), "cannot open /proc/partitions");
  EXPECT_EQ(machine.log(), "get_diskinfo_from_partitions:N return -1020 with Input/output error\n");
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(partitions, lines_that_are_empty_or_cut_list_nothing) {
  machine.file("/proc/partitions", "\n \t\n8 0 976762584\n8 0 1 sd1\n8\n8 0 1 s");
  EXPECT_EQ(get_diskinfo_from_partitions(&list), ORV_OK);
  EXPECT_THAT(disks(), IsEmpty());
}

TEST_F(partitions, long_lines_and_names_are_cut) {
  machine.file("/proc/partitions", "8 0 1 sd" + std::string(100'000, 'a') + "\n8 0 1 sdb");
  EXPECT_EQ(get_diskinfo_from_partitions(&list), ORV_OK);
  EXPECT_THAT(places(), ElementsAre("sdaaaaa 0@", "sdb 0@"));
}

TEST_F(partitions, list_that_cannot_be_opened_is_told_and_reported) {
  EXPECT_EQ(get_diskinfo_from_partitions(&list), -1020);
  EXPECT_EQ(machine.output(), "cannot open /proc/partitions");
  EXPECT_EQ(machine.log(),
            "get_diskinfo_from_partitions:N return -1020 with No such file or directory\n");
}

TEST_F(partitions, missing_list_is_reported) {
  EXPECT_EQ(get_diskinfo_from_partitions(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "get_diskinfo_from_partitions:N return -1 with Invalid argument\n");
}
