#include "tests/raid/machine_with_disks.h"

class member_list : public sandbox_test {};

TEST_F(member_list, disk_is_found_whatever_mark_its_member_has) {
  EXPECT_EQ(found_disk("sda(F),sdb", "sda"), 1);
  EXPECT_EQ(found_disk("sda(F),sdb(S)", "sdb"), 1);
  EXPECT_EQ(found_disk("sda,sdb", "sdc,sdb"), 1);
  EXPECT_EQ(found_disk("sda,sdb", "sdc,sdd"), 0);
}

TEST_F(member_list, items_are_compared_whole) {
  EXPECT_EQ(found_disk("sdab,sdc", "sda"), 0);
  EXPECT_EQ(found_disk("sda", "sdab"), 0);
  EXPECT_EQ(found_disk("sda,*(M)", "*"), 1);
  EXPECT_EQ(found_disk("sda(F)", "sda(F)"), 0);
}

TEST_F(member_list, blanks_around_an_item_do_not_hide_a_disk) {
  EXPECT_EQ(found_disk("sda,sdb", "sdc, sdb"), 1);
  EXPECT_EQ(found_disk("sda, sdb(F)", "sdb"), 1);
}

TEST_F(member_list, nothing_is_found_in_or_for_an_empty_list) {
  EXPECT_EQ(found_disk("", "sda"), 0);
  EXPECT_EQ(found_disk("sda", ""), 0);
  EXPECT_EQ(found_disk(nullptr, "sda"), 0);
  EXPECT_EQ(found_disk("sda", nullptr), 0);
  EXPECT_EQ(found_disk("(F),,sda", ",,"), 0);
  EXPECT_EQ(found_disk("(F)", " "), 0);
}

TEST_F(member_list, member_is_failed_when_it_is_marked_so) {
  EXPECT_EQ(get_disk_state("sdb", "sda(F),sdb"), 0);
  EXPECT_EQ(get_disk_state("sda", "sda(F),sdb"), 1);
  EXPECT_EQ(get_disk_state("sda", "sda(S),sdb"), 0);
  EXPECT_EQ(get_disk_state("sdc", "sda(F),sdb"), 0);
  EXPECT_EQ(get_disk_state("sda", "sdab(F)"), 0);
  EXPECT_EQ(get_disk_state("sda", "sda("), 0);
}

TEST_F(member_list, missing_texts_name_no_failed_member) {
  EXPECT_EQ(get_disk_state(nullptr, "(F)"), 0);
  EXPECT_EQ(get_disk_state("", "(F)"), 0);
  EXPECT_EQ(get_disk_state("sda", static_cast<const char*>(nullptr)), 0);
}

TEST_F(member_list, items_are_counted) {
  EXPECT_EQ(count_disks("sda"), 1);
  EXPECT_EQ(count_disks("1,2,3"), 3);
  EXPECT_EQ(count_disks("1,,2"), 2);
  EXPECT_EQ(count_disks(",,"), 0);
  EXPECT_EQ(count_disks(""), 0);
  EXPECT_EQ(count_disks(nullptr), 0);
}
