#include "tests/raid/machine_with_disks.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class faulty : public machine_with_disks {
 protected:
  int mark_all(const std::string& disks) {
    tag_md_info md;
    md_conf_init(&md);
    liborv_strncpy(md.name, sizeof md.name, "md1");
    liborv_strncpy(md.disks, sizeof md.disks, disks.c_str());
    return set_raid_faulty(&md);
  }
};

TEST_F(faulty, member_is_marked_by_mdadm) {
  machine.tool("/sbin/mdadm").on("/dev/md1 -f /dev/sda");
  EXPECT_EQ(set_disk_faulty("md1", "sda"), 0);
  EXPECT_THAT(machine.commands(), ElementsAre("/sbin/mdadm /dev/md1 -f /dev/sda"));
}

TEST_F(faulty, member_that_cannot_be_marked_gives_the_result_of_the_log) {
  machine.tool("/sbin/mdadm").on("/dev/md1 -f /dev/sda").fails(1);
  EXPECT_EQ(set_disk_faulty("md1", "sda"), -1);
  EXPECT_THAT(machine.log(), StartsWith(failed_command("/sbin/mdadm /dev/md1 -f /dev/sda")));
  EXPECT_EQ(set_disk_faulty("md1", nullptr), -1);
  EXPECT_EQ(set_disk_faulty(nullptr, "sda"), -1);
  EXPECT_EQ(machine.commands().size(), 1u);
}

TEST_F(faulty, walk_over_the_members_stops_at_the_first_missing_one) {
  machine.tool("/sbin/mdadm").on("/dev/md1 -f ...");
  EXPECT_EQ(mark_all("sda,sdb(F),*(M),sdc"), 0);
  EXPECT_THAT(machine.commands(), ElementsAre("/sbin/mdadm /dev/md1 -f /dev/sda"));
}

TEST_F(faulty, failed_member_is_passed_over_and_the_ones_behind_it_are_marked) {
  machine.tool("/sbin/mdadm").on("/dev/md1 -f ...");
  EXPECT_EQ(mark_all("sda,sdb(F),sdc"), 0);
  EXPECT_THAT(machine.commands(),
              ElementsAre("/sbin/mdadm /dev/md1 -f /dev/sda", "/sbin/mdadm /dev/md1 -f /dev/sdc"));
}

TEST_F(faulty, failed_members_are_passed_over_and_spares_are_marked) {
  machine.tool("/sbin/mdadm").on("/dev/md1 -f ...");
  EXPECT_EQ(mark_all("sda,sdb(F),sdc(S)"), 0);
  EXPECT_THAT(machine.commands(),
              ElementsAre("/sbin/mdadm /dev/md1 -f /dev/sda", "/sbin/mdadm /dev/md1 -f /dev/sdc"));
}

TEST_F(faulty, every_member_is_tried_and_a_failure_shows_in_the_result) {
  machine.tool("/sbin/mdadm").on("/dev/md1 -f /dev/sda").fails(1);
  machine.tool("/sbin/mdadm").on("/dev/md1 -f /dev/sdb");
  EXPECT_EQ(mark_all("sda,sdb"), -1);
  EXPECT_EQ(machine.commands().size(), 2u);
}

TEST_F(faulty, array_without_disks_has_nothing_to_mark) {
  EXPECT_EQ(mark_all(""), 0);
  EXPECT_EQ(mark_all(",*(M),*(M)"), 0);
  EXPECT_EQ(mark_all("1,2"), 0);
  EXPECT_EQ(set_raid_faulty(nullptr), ORV_E_FAILED);
  EXPECT_THAT(machine.commands(), IsEmpty());
}
