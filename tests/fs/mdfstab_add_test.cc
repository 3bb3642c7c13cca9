#include <orv/fs.h>

#include "tests/fs/file_systems.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char data_line[] = "/dev/vg1/data\t/mnt/data\txfs\tdefaults\t0 0\n";

class mdfstab_add : public fs_test {
 protected:
  void TearDown() override {
    EXPECT_THAT(machine.commands(), IsEmpty());
    EXPECT_THAT(machine.temp_files(), IsEmpty());
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  }
};

TEST_F(mdfstab_add, makes_the_table_and_commits_it) {
  EXPECT_EQ(add_mdfstab("/mnt/data", "vg1", "data"), ORV_OK);
  EXPECT_EQ(table(), data_line);
  EXPECT_TRUE(is_committed());
  EXPECT_EQ(machine.log(), "");
  EXPECT_EQ(machine.output(), "");
}

TEST_F(mdfstab_add, appends_to_the_table) {
  table("# the appliance's own\n\n/dev/vg0/a /mnt/a xfs defaults 0 0\n", 0640);
  EXPECT_EQ(add_mdfstab("/mnt/data", "vg1", "data"), ORV_OK);
  EXPECT_EQ(table(), std::string("# the appliance's own\n\n/dev/vg0/a /mnt/a xfs defaults 0 0\n") +
                         data_line);
  EXPECT_EQ(machine.mode(table_path), 0640U);
  EXPECT_TRUE(is_committed());
}

TEST_F(mdfstab_add, starts_a_new_line_behind_a_line_without_an_end) {
  table("/dev/vg0/a /mnt/a xfs");
  EXPECT_EQ(add_mdfstab("/mnt/data", "vg1", "data"), ORV_OK);
  EXPECT_EQ(table(), std::string("/dev/vg0/a /mnt/a xfs\n") + data_line);
}

struct type_of_model {
  const char* model;
  const char* type;
};
class mdfstab_add_type : public mdfstab_add, public testing::WithParamInterface<type_of_model> {};

TEST_P(mdfstab_add_type, follows_the_device_model) {
  model(GetParam().model);
  EXPECT_EQ(add_mdfstab("/mnt/data", "vg1", "data"), ORV_OK);
  EXPECT_THAT(read_back(),
              ElementsAre("/dev/vg1/data|/mnt/data|" + std::string(GetParam().type) + "|vg1"));
}

INSTANTIATE_TEST_SUITE_P(
    of, mdfstab_add_type,
    testing::Values(type_of_model{"KTA7120E", "reiserfs"}, type_of_model{"KTA7120P", "reiserfs"},
                    type_of_model{"KTA7120U", "xfs"}, type_of_model{"KTA7120PX", "xfs"},
                    type_of_model{"kta7120e", "xfs"}, type_of_model{"ZOR7130L", "xfs"}),
    [](const auto& of) { return of.param.model; });

TEST_F(mdfstab_add, writes_a_line_of_the_other_type_in_the_same_form) {
  model("KTA7120P");
  EXPECT_EQ(add_mdfstab("/mnt/data", "vg1", "data"), ORV_OK);
  EXPECT_EQ(table(), "/dev/vg1/data\t/mnt/data\treiserfs\tdefaults\t0 0\n");
}

TEST_F(mdfstab_add, writes_xfs_when_the_model_cannot_be_read) {
  machine.remove("/etc/sys_info");
  EXPECT_EQ(add_mdfstab("/mnt/data", "vg1", "data"), ORV_OK);
  EXPECT_EQ(table(), data_line);
}

TEST_F(mdfstab_add, refuses_a_listed_mount_point) {
  ASSERT_EQ(add_mdfstab("/mnt/data", "vg1", "data"), ORV_OK);
  machine.remove(kept_table_path);
  EXPECT_EQ(add_mdfstab("/mnt/data", "vg2", "other"), ORV_E_FAILED);
  EXPECT_EQ(table(), data_line);
  EXPECT_FALSE(is_committed());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(mdfstab_add, counts_every_line_whose_second_word_is_the_mount_point) {
  for (const std::string listed :
       {"/dev/vg0/a /mnt/data", "/dev/vg0/a /mnt/data\r", "  \t/dev/vg0/a \t /mnt/data\t ",
        "# /mnt/data", "#x\t/mnt/data xfs", "/dev/vg0/a /mnt/data xfs\r",
        "/dev/vg0/a /mnt/dat\\141 xfs"}) {
    table(listed + "\n");
    EXPECT_EQ(add_mdfstab("/mnt/data", "vg1", "data"), ORV_E_FAILED) << listed;
    EXPECT_EQ(table(), listed + "\n");
  }
}

TEST_F(mdfstab_add, sees_a_mount_point_behind_a_long_word) {
  table(std::string(100000, 'x') + " /mnt/data xfs\n");
  EXPECT_EQ(add_mdfstab("/mnt/data", "vg1", "data"), ORV_E_FAILED);
}

TEST_F(mdfstab_add, does_not_mistake_another_line_for_the_mount_point) {
  const std::string others =
      "/mnt/data\n/dev/vg0/a /mnt/data2 xfs\n/dev/vg0/b /mnt /mnt/data\n \t \n"
      "/dev/vg0/c /mnt/data/ xfs\n";
  table(others);
  EXPECT_EQ(add_mdfstab("/mnt/data", "vg1", "data"), ORV_OK);
  EXPECT_EQ(table(), others + data_line);
}

TEST_F(mdfstab_add, keeps_what_it_does_not_understand) {
  const std::string binary("\x01\xff\0\r\n\0\n", 7);
  table(binary);
  EXPECT_EQ(add_mdfstab("/mnt/data", "vg1", "data"), ORV_OK);
  EXPECT_EQ(table(), binary + data_line);
}

TEST_F(mdfstab_add, writes_separators_and_control_characters_as_fstab_does) {
  EXPECT_EQ(add_mdfstab("/mnt/my disk", "vg1", "a"), ORV_OK);
  EXPECT_EQ(add_mdfstab("/mnt/tab\there", "vg1", "b"), ORV_OK);
  EXPECT_EQ(add_mdfstab("/mnt/line\nend /dev/vg9/x /mnt/x", "vg1", "c"), ORV_OK);
  EXPECT_EQ(add_mdfstab("/mnt/back\\slash\\040", "vg1", "d"), ORV_OK);
  EXPECT_EQ(add_mdfstab("/mnt/\r\x01\x7f", "vg1", "e"), ORV_OK);
  EXPECT_EQ(table(),
            "/dev/vg1/a\t/mnt/my\\040disk\txfs\tdefaults\t0 0\n"
            "/dev/vg1/b\t/mnt/tab\\011here\txfs\tdefaults\t0 0\n"
            "/dev/vg1/c\t/mnt/line\\012end\\040/dev/vg9/x\\040/mnt/x\txfs\tdefaults\t0 0\n"
            "/dev/vg1/d\t/mnt/back\\134slash\\134040\txfs\tdefaults\t0 0\n"
            "/dev/vg1/e\t/mnt/\\015\\001\\177\txfs\tdefaults\t0 0\n");
  EXPECT_THAT(read_back(),
              ElementsAre("/dev/vg1/a|/mnt/my disk|xfs|vg1", "/dev/vg1/b|/mnt/tab\there|xfs|vg1",
                          "/dev/vg1/c|/mnt/line\nend /dev/vg9/x /mnt/x|xfs|vg1",
                          "/dev/vg1/d|/mnt/back\\slash\\040|xfs|vg1",
                          "/dev/vg1/e|/mnt/\r\x01\x7f|xfs|vg1"));
  EXPECT_EQ(add_mdfstab("/mnt/my disk", "vg2", "z"), ORV_E_FAILED);
  EXPECT_EQ(add_mdfstab("/mnt/back\\slash\\040", "vg2", "z"), ORV_E_FAILED);
}

TEST_F(mdfstab_add, writes_every_other_character_as_it_is) {
  EXPECT_EQ(add_mdfstab("/mnt/#1;$(reboot)'\"\xc3\xa4", "v g", "d\na"), ORV_OK);
  EXPECT_EQ(table(), "/dev/v\\040g/d\\012a\t/mnt/#1;$(reboot)'\"\xc3\xa4\txfs\tdefaults\t0 0\n");
  EXPECT_THAT(read_back(), ElementsAre("/dev/v g/d\na|/mnt/#1;$(reboot)'\"\xc3\xa4|xfs|v g"));
}

TEST_F(mdfstab_add, refuses_a_missing_argument_and_a_relative_mount_point) {
  EXPECT_EQ(add_mdfstab(nullptr, "vg1", "data"), ORV_E_FAILED);
  EXPECT_EQ(add_mdfstab("", "vg1", "data"), ORV_E_FAILED);
  EXPECT_EQ(add_mdfstab("mnt/data", "vg1", "data"), ORV_E_FAILED);
  EXPECT_EQ(add_mdfstab("/mnt/data", nullptr, "data"), ORV_E_FAILED);
  EXPECT_EQ(add_mdfstab("/mnt/data", "", "data"), ORV_E_FAILED);
  EXPECT_EQ(add_mdfstab("/mnt/data", "vg1", nullptr), ORV_E_FAILED);
  EXPECT_EQ(add_mdfstab("/mnt/data", "vg1", ""), ORV_E_FAILED);
  EXPECT_FALSE(machine.exists(table_path));
  EXPECT_EQ(machine.log_lines(),
            sandbox::lines(7, "add_mdfstab:N return -1 with Invalid argument"));
}

TEST_F(mdfstab_add, cuts_the_line_at_255_characters) {
  const std::string mountpoint = "/mnt/" + std::string(226, 'm');
  EXPECT_EQ(add_mdfstab(mountpoint.c_str(), "vg1", "data"), ORV_OK);
  EXPECT_EQ(table(), "/dev/vg1/data\t" + mountpoint + "\txfs\tdefau\n");
  EXPECT_EQ(table().size(), 256U);
  EXPECT_EQ(add_mdfstab(mountpoint.c_str(), "vg1", "data"), ORV_E_FAILED);
  EXPECT_THAT(read_back(), ElementsAre("/dev/vg1/data|" + mountpoint.substr(0, 127) + "|xfs|vg1"));
}

TEST_F(mdfstab_add, writes_a_line_whose_type_just_fits) {
  const std::string mountpoint = "/mnt/" + std::string(232, 'm');
  EXPECT_EQ(add_mdfstab(mountpoint.c_str(), "vg1", "data"), ORV_OK);
  EXPECT_EQ(table(), "/dev/vg1/data\t" + mountpoint + "\txfs\n");
  EXPECT_EQ(table().size(), 256U);
  EXPECT_THAT(read_back(), ElementsAre("/dev/vg1/data|" + mountpoint.substr(0, 127) + "|xfs|vg1"));
}

TEST_F(mdfstab_add, cuts_the_line_also_within_its_type_mount_point_and_device) {
  const std::string mountpoint = "/mnt/" + std::string(233, 'm');
  const std::string longer = "/mnt/" + std::string(100000, 'n');
  const std::string pool(100000, 'p');
  EXPECT_EQ(add_mdfstab(mountpoint.c_str(), "vg1", "data"), ORV_OK);
  EXPECT_EQ(add_mdfstab(longer.c_str(), "vg1", "data"), ORV_OK);
  EXPECT_EQ(add_mdfstab("/mnt/data", "vg1", pool.c_str()), ORV_OK);
  EXPECT_EQ(table(), "/dev/vg1/data\t" + mountpoint + "\txf\n/dev/vg1/data\t" +
                         longer.substr(0, 241) + "\n/dev/vg1/" + pool.substr(0, 246) + '\n');
  EXPECT_THAT(read_back(), ElementsAre("/dev/vg1/data|" + mountpoint.substr(0, 127) + "|xf|vg1"));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(mdfstab_add, reports_a_table_that_cannot_be_opened) {
  machine.directory(table_path);
  EXPECT_EQ(add_mdfstab("/mnt/data", "vg1", "data"), ORV_E_MOUNT_TABLE);
  EXPECT_EQ(machine.log(), "cannot open /etc/mdfstab for Is a directory");
}

TEST_F(mdfstab_add, leaves_the_table_as_it_was_when_the_disk_is_full) {
  machine.mount_tmpfs("/etc", "size=8k");
  model("KTA7120X");
  const std::string before = '#' + std::string(4070, '-') + '\n';  // 24 bytes of its page are free
  table(before);
  EXPECT_EQ(add_mdfstab("/mnt/data", "vg1", "data"), ORV_E_MOUNT_TABLE);
  EXPECT_EQ(table(), before);
  EXPECT_FALSE(is_committed());
  EXPECT_EQ(machine.log(), "cannot open /etc/mdfstab for No space left on device");
}

}  // namespace
