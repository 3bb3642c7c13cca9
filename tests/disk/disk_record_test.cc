#include <cstring>

#include "tests/disk/machine_with_disks.h"

using testing::IsEmpty;
using testing::SizeIs;

class disk_record : public disk_test {
 protected:
  static void add_attribute(tag_disk_info& disk, const char* id) {
    append_attribute(disk.smart_list, id);
  }
};

TEST_F(disk_record, starts_empty_with_an_unknown_smart_summary) {
  tag_disk_info disk;
  std::memset(static_cast<void*>(&disk), 'x', sizeof disk);
  list_node* const link = disk.list.next;
  disk_conf_init(&disk);
  EXPECT_STREQ(disk.name, "");
  EXPECT_EQ(disk.ch, 0);
  EXPECT_EQ(disk.size, 0U);
  EXPECT_STREQ(disk.state, "");
  EXPECT_STREQ(disk.model, "");
  EXPECT_STREQ(disk.usage, "");
  EXPECT_STREQ(disk.enclosure, "");
  EXPECT_EQ(disk.hotspare, 0);
  EXPECT_STREQ(disk.smart.device_model, "NaN");
  EXPECT_STREQ(disk.smart.health, "NaN");
  EXPECT_EQ(disk.smart_list.list.next, &disk.smart_list.list);
  EXPECT_EQ(disk.smart_list.list.prev, &disk.smart_list.list);
  EXPECT_EQ(disk.list.next, link);
}

TEST_F(disk_record, is_zeroed_and_its_attributes_freed_when_released) {
  tag_disk_info disk;
  disk_conf_init(&disk);
  liborv_strncpy(disk.name, sizeof disk.name, "sda");
  disk.ch = disk.hotspare = 1;
  disk.size = 7;
  add_attribute(disk, "1");
  add_attribute(disk, "3");
  disk_conf_fini(&disk);
  EXPECT_STREQ(disk.name, "");
  EXPECT_EQ(disk.ch + disk.hotspare, 0);
  EXPECT_EQ(disk.size, 0U);
  EXPECT_STREQ(disk.smart.device_model, "");
  EXPECT_EQ(disk.smart_list.list.next, &disk.smart_list.list);
  disk_conf_fini(&disk);
}

TEST_F(disk_record, shows_one_line_without_a_smart_summary) {
  tag_disk_info& disk = add("sda", 3, "0");
  disk.size = 931;
  liborv_strncpy(disk.state, sizeof disk.state, "running");
  liborv_strncpy(disk.model, sizeof disk.model, "WDC WD10");
  liborv_strncpy(disk.usage, sizeof disk.usage, "Free");
  disk.hotspare = 1;
  const std::string line = "'sda'\t'3'\t'931'\t'running'\t'WDC WD10'\t'Free'\t'0'\t'1'\n";
  EXPECT_EQ(disk_conf_show(&disk), 5);  // what prints whether it is a hot spare
  EXPECT_EQ(machine.output(), line);
}

TEST_F(disk_record, shows_a_size_that_no_tool_told_as_minus_one) {
  add("sda", -7, "0").size = UINT64_MAX;
  disk_list_show(&list);
  EXPECT_EQ(machine.output(), "'sda'\t'-7'\t'-1'\t''\t''\t''\t'0'\t'0'\n");
}

TEST_F(disk_record, shows_its_smart_summary_and_attributes_behind_its_line) {
  tag_disk_info& disk = add("sda", 1, "0");
  liborv_strncpy(disk.smart.device_model, sizeof disk.smart.device_model, "WD");
  liborv_strncpy(disk.smart.health, sizeof disk.smart.health, "PASSED");
  EXPECT_EQ(disk_conf_show(&disk), 9);  // what prints the health
  EXPECT_THAT(machine.output(), testing::EndsWith("DATA SECTION ===\n'PASSED'\n"));
  machine.forget();
  add_attribute(disk, "1");
  add_attribute(disk, "3");
  EXPECT_EQ(disk_conf_show(&disk), 2);  // what prints the last attribute's status
  EXPECT_THAT(machine.output(),
              testing::EndsWith("'PASSED'\n  1                       \t000 000 000\t0\t\n"
                                "  3                       \t000 000 000\t0\t\n"));
}

TEST_F(disk_record, list_is_shown_in_its_order) {
  disk_list_show(&list);
  EXPECT_EQ(machine.output(), "");
  add("sdb", 2, "0");
  add("sda", 1, "3");
  disk_list_show(&list);
  EXPECT_EQ(machine.output(),
            "'sdb'\t'2'\t'0'\t''\t''\t''\t'0'\t'0'\n"
            "'sda'\t'1'\t'0'\t''\t''\t''\t'3'\t'0'\n");
}

TEST_F(disk_record, list_is_released_with_every_record_and_can_be_filled_again) {
  add_attribute(add("sda", 1, "0"), "1");
  add("sdb", 2, "0");
  EXPECT_EQ(disk_list_fini(&list), 0);
  EXPECT_EQ(list.list.next, &list.list);
  EXPECT_EQ(list.list.prev, &list.list);
  EXPECT_EQ(disk_list_fini(&list), 0);
  add("sdc", 3, "0");
  EXPECT_THAT(disks(), SizeIs(1));
}

TEST_F(disk_record, list_that_is_missing_is_told_on_standard_output) {
  EXPECT_EQ(disk_list_fini(nullptr), -1);
  disk_list_show(nullptr);
  EXPECT_EQ(machine.output(), "Can't destory NULL list\nCan't show NULL list\n");
  disk_list_init(nullptr);
}

TEST_F(disk_record, that_is_missing_is_left_alone) {
  disk_conf_init(nullptr);
  disk_conf_fini(nullptr);
  EXPECT_EQ(disk_conf_show(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.output(), "");
  EXPECT_EQ(machine.log(), "disk_conf_show:N return -1 with Invalid argument\n");
}
