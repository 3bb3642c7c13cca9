#include <orv/fs.h>

#include "tests/fs/file_systems.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class mdfstab_read : public fs_test {
 protected:
  void TearDown() override {
    EXPECT_THAT(machine.commands(), IsEmpty());
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  }
};

TEST_F(mdfstab_read, fills_device_mount_point_type_and_group) {
  table("/dev/vg1/data\t/mnt/data\txfs\tdefaults\t0 0\n");
  fs_list list;
  EXPECT_EQ(mdfstab_get(list.get()), ORV_OK);
  const tag_fs_info& fs = list.only();
  EXPECT_STREQ(fs.devname, "/dev/vg1/data");
  EXPECT_STREQ(fs.mountpoint, "/mnt/data");
  EXPECT_STREQ(fs.fstype, "xfs");
  EXPECT_STREQ(fs.vgname, "vg1");
  EXPECT_STREQ(fs.state, "");
  EXPECT_STREQ(fs.enclosure, "");
  EXPECT_EQ(fs.size, 0U);
  EXPECT_EQ(fs.used, 0U);
  EXPECT_EQ(machine.log(), "");
}

TEST_F(mdfstab_read, appends_in_the_order_of_the_table) {
  table("/dev/vg1/b /mnt/b xfs\n/dev/vg1/a /mnt/a xfs\n");
  fs_list list;
  list.add("/dev/vg0/first", "/mnt/first");
  EXPECT_EQ(mdfstab_get(list.get()), ORV_OK);
  ASSERT_EQ(list.records().size(), 3U);
  EXPECT_STREQ(list.records()[0]->mountpoint, "/mnt/first");
  EXPECT_STREQ(list.records()[1]->mountpoint, "/mnt/b");
  EXPECT_STREQ(list.records()[2]->mountpoint, "/mnt/a");
}

TEST_F(mdfstab_read, may_fill_a_list_again_once_it_is_released) {
  table("/dev/vg1/b /mnt/b xfs\n/dev/vg1/a /mnt/a xfs\n");
  fs_list list;
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(mdfstab_get(list.get()), ORV_OK);
    ASSERT_EQ(list.records().size(), 2U);
    EXPECT_STREQ(list.records()[0]->mountpoint, "/mnt/b");
    EXPECT_STREQ(list.records()[1]->mountpoint, "/mnt/a");
    EXPECT_EQ(fs_list_fini(list.get()), 0);
  }
}

TEST_F(mdfstab_read, takes_runs_of_blanks_and_tabs_as_one_separator) {
  EXPECT_THAT(read_back(" \t /dev/vg1/data \t\t /mnt/data  xfs\t \n"),
              ElementsAre("/dev/vg1/data|/mnt/data|xfs|vg1"));
}

TEST_F(mdfstab_read, has_no_line_end_in_a_field) {
  EXPECT_THAT(read_back("/dev/vg1/a /mnt/a xfs\n/dev/vg1/b /mnt/b xfs\r\n/dev/vg1/c /mnt/c xfs"),
              ElementsAre("/dev/vg1/a|/mnt/a|xfs|vg1", "/dev/vg1/b|/mnt/b|xfs|vg1",
                          "/dev/vg1/c|/mnt/c|xfs|vg1"));
}

TEST_F(mdfstab_read, makes_no_record_of_fewer_than_three_words) {
  EXPECT_THAT(read_back("\n \t\n/dev/vg1/a\n/dev/vg1/b /mnt/b\n/dev/vg1/c /mnt/c \r\n"), IsEmpty());
  EXPECT_THAT(read_back(""), IsEmpty());
}

TEST_F(mdfstab_read, makes_no_record_of_a_comment) {
  EXPECT_THAT(read_back("#/dev/vg1/a /mnt/a xfs\n  # one two three\n/dev/vg1/b /mnt/b xfs #\n"),
              ElementsAre("/dev/vg1/b|/mnt/b|xfs|vg1"));
}

TEST_F(mdfstab_read, takes_nothing_over_from_the_line_before) {
  EXPECT_THAT(read_back("/dev/vg1/long /mnt/long reiserfs\n/dev/x\n/dev/v/s /m\na /b c\n"),
              ElementsAre("/dev/vg1/long|/mnt/long|reiserfs|vg1", "a|/b|c|"));
}

TEST_F(mdfstab_read, cuts_words_to_their_fields) {
  const std::string device = "/dev/" + std::string(40, 'v') + '/' + std::string(70, 'p');
  const std::string mountpoint = '/' + std::string(120, 'm');
  EXPECT_THAT(read_back(device + ' ' + mountpoint + " 16characters....\n"),
              ElementsAre(device + '|' + mountpoint + "|16characters...|" + std::string(32, 'v')));
  const std::string longer = "/mnt/" + std::string(200, 'm');
  EXPECT_THAT(read_back("/dev/vg1/a " + longer + " xfs\n"),
              ElementsAre("/dev/vg1/a|" + longer.substr(0, 127) + "|xfs|vg1"));
  const std::string long_device = "/dev/vg1/" + std::string(150, 'p');
  EXPECT_THAT(read_back(long_device + " /mnt/a xfs\n"),
              ElementsAre(long_device.substr(0, 127) + "|/mnt/a|xfs|vg1"));
}

TEST_F(mdfstab_read, takes_the_group_from_behind_the_first_five_characters) {
  EXPECT_THAT(
      read_back("/dev/vg1 /m t\n/dev//vg1//a /m t\n/dev/ /m t\n/dev /m t\nUUID=1-2/3 /m t\n"
                "/dev/mapper/vg1-a /m t\n/dev/v\\040g/a /m t\n"),
      ElementsAre("/dev/vg1|/m|t|vg1", "/dev//vg1//a|/m|t|vg1", "/dev/|/m|t|", "/dev|/m|t|",
                  "UUID=1-2/3|/m|t|1-2", "/dev/mapper/vg1-a|/m|t|mapper", "/dev/v g/a|/m|t|v g"));
}

TEST_F(mdfstab_read, reads_back_what_fstab_escapes) {
  EXPECT_THAT(read_back("/dev/vg1/a /mnt/my\\040disk\\011\\012\\134040 xfs\n"),
              ElementsAre("/dev/vg1/a|/mnt/my disk\t\n\\040|xfs|vg1"));
}

TEST_F(mdfstab_read, leaves_a_backslash_alone_that_begins_no_code) {
  EXPECT_THAT(read_back("/dev/vg1/a /mnt\\04\\0x0\\08\\n\\\\000\\000\\777\\ xfs\n"),
              ElementsAre("/dev/vg1/a|/mnt\\04\\0x0\\08\\n\\\\000\\000\\777\\|xfs|vg1"));
}

TEST_F(mdfstab_read, sees_the_first_255_characters_of_a_line) {
  const std::string long_line =
      "/dev/vg1/a /mnt/a xfs " + std::string(300, 'o') + " /dev/vg9/x /mnt/x xfs ";
  EXPECT_THAT(read_back(long_line + std::string(100000, 'o') + "\n/dev/vg1/b /mnt/b xfs\n"),
              ElementsAre("/dev/vg1/a|/mnt/a|xfs|vg1", "/dev/vg1/b|/mnt/b|xfs|vg1"));
  EXPECT_THAT(read_back(std::string(254, 'd') + " /mnt/a xfs\n"), IsEmpty());
}

TEST_F(mdfstab_read, goes_on_behind_a_binary_line) {
  EXPECT_THAT(read_back(std::string("\xff\0 /mnt/x xfs\n/dev/vg1/b /mnt/b xfs\n", 36)),
              ElementsAre("/dev/vg1/b|/mnt/b|xfs|vg1"));
}

TEST_F(mdfstab_read, reports_a_table_that_cannot_be_opened) {
  fs_list list;
  EXPECT_EQ(mdfstab_get(list.get()), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "cannot open /etc/mdfstab for No such file or directory");
  EXPECT_THAT(list.records(), IsEmpty());
}

TEST_F(mdfstab_read, reports_a_table_that_cannot_be_read) {
  machine.directory(table_path);
  fs_list list;
  EXPECT_EQ(mdfstab_get(list.get()), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "cannot open /etc/mdfstab for Is a directory");
}

TEST_F(mdfstab_read, refuses_a_missing_list) {
  EXPECT_EQ(mdfstab_get(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "mdfstab_get:N return -1 with Invalid argument\n");
}

using fs_check_name = mdfstab_read;

TEST_F(fs_check_name, is_the_last_component_of_a_listed_device_path) {
  table("/dev/vg1/data /mnt/data xfs\n/dev/vg2/my\\040pool /mnt/x xfs\n");
  EXPECT_EQ(fs_check("data"), 1);
  EXPECT_EQ(fs_check("my pool"), 1);
  EXPECT_EQ(fs_check("dat"), 0);
  EXPECT_EQ(fs_check("ata"), 0);
  EXPECT_EQ(fs_check("vg1"), 0);
  EXPECT_EQ(fs_check("vg1/data"), 0);
  EXPECT_EQ(fs_check(""), 0);
  EXPECT_EQ(fs_check(nullptr), 0);
  EXPECT_EQ(machine.log(), "");
}

TEST_F(fs_check_name, is_compared_whole) {
  table("/dev/vg1/data2 /mnt/data xfs\n");
  EXPECT_EQ(fs_check("data"), 0);
  EXPECT_EQ(fs_check("data2"), 1);
}

TEST_F(fs_check_name, needs_a_slash_before_it_and_three_words) {
  table("data /mnt/data xfs\n/dev/vg1/data /mnt/data\n# /dev/vg1/data xfs\n");
  EXPECT_EQ(fs_check("data"), 0);
}

TEST_F(fs_check_name, cannot_be_looked_up_without_a_table) {
  EXPECT_EQ(fs_check("data"), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "cannot open /etc/mdfstab for No such file or directory");
}

}  // namespace
