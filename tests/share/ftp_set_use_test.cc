#include "tests/share/share_machine.h"

using testing::ElementsAre;
using testing::HasSubstr;

class ftp_parking : public share_test {
 protected:
  ftp_parking() {
    shares(listed("a", "ftp"));
    machine.file("/proc/mounts", "/dev/sda1 / ext4 rw 0 0\n");
    machine.file("/etc/mdfstab", table);
    machine.tool("chattr").succeeds().if_asked();
    machine.tool("rm").succeeds().if_asked();
    machine.tool("mv").is_real();
  }
  int park(const std::string& path = "/mnt/a") {
    tag_share_config share = a_share("a", "ftp");
    set_field(share.path, path);
    const int result = ftp_set_use(&share);
    EXPECT_STREQ(share.service, "");
    return result;
  }
  void expect_still_mounted(const std::string& path) {
    EXPECT_EQ(park(path), -11000) << path;
    EXPECT_EQ(shares(), listed("a", "ftp"));
    EXPECT_EQ(machine.read("/etc/mdfstab"), table);
    EXPECT_EQ(machine.log(), refusal("ftp_set_use", -11000, "Device or resource busy"));
  }
  ~ftp_parking() override { EXPECT_THAT(machine.open_descriptors(), testing::IsEmpty()); }
  static constexpr char table[] = "/dev/vg0/a\t/mnt/a\txfs\tdefaults\t0 0\n";
};

TEST_F(ftp_parking, unmounts_and_removes_the_path_and_clears_the_service) {
  machine.tool("umount").succeeds();
  EXPECT_EQ(park(), ORV_OK);
  EXPECT_THAT(
      machine.commands(),
      ElementsAre("umount /mnt/a > /dev/null", "chattr  -i /mnt/a > /dev/null",
                  "rm -rf /mnt/a > /dev/null", "mv /tmp/mdfstab.XXXXXX /etc/mdfstab > /dev/null"));
  EXPECT_EQ(machine.read("/etc/mdfstab"), "");
  EXPECT_EQ(shares(), listed("a", ""));
  EXPECT_TRUE(is_committed(shares_path));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(ftp_parking, adds_a_share_that_is_not_listed_and_says_nothing_of_it) {
  machine.tool("umount").succeeds();
  shares("");
  EXPECT_EQ(park(), ORV_OK);
  EXPECT_THAT(shares(), testing::StartsWith("[a]\n"));
}

TEST_F(ftp_parking, changes_nothing_when_the_path_cannot_be_unmounted) {
  machine.tool("umount").fails(1);
  EXPECT_EQ(park(), -11000);
  EXPECT_THAT(machine.commands(), ElementsAre("umount /mnt/a > /dev/null"));
  EXPECT_EQ(shares(), listed("a", "ftp"));
  EXPECT_EQ(machine.read("/etc/mdfstab"), table);
}

TEST_F(ftp_parking, changes_nothing_while_something_is_still_mounted_there) {
  machine.tool("umount").succeeds();
  machine.file("/proc/mounts", "/dev/mapper/vg0-a /mnt/a xfs rw 0 0\n");
  expect_still_mounted("/mnt/a");
  EXPECT_THAT(machine.commands(), ElementsAre("umount /mnt/a > /dev/null"));
}

TEST_F(ftp_parking, finds_what_is_still_mounted_by_any_name_of_the_path) {
  machine.tool("umount").succeeds();
  machine.file("/proc/mounts", "/dev/mapper/vg0-a /mnt/a xfs rw 0 0\n");
  machine.directory("/mnt/a");
  machine.link("/mnt/link", "/mnt/a");
  for (const char* const path : {"/mnt/a/", "//mnt//a", "/mnt/./a", "/mnt/link"}) {
    machine.forget();
    expect_still_mounted(path);
    EXPECT_THAT(machine.commands(), testing::SizeIs(1)) << path;
  }
}

TEST_F(ftp_parking, goes_on_while_only_neighbours_and_parents_of_the_path_are_mounted) {
  machine.tool("umount").succeeds();
  machine.file("/proc/mounts", "x / ext4 rw 0 0\nx /mnt ext4 rw 0 0\nx /mnt/ab xfs rw 0 0\n");
  EXPECT_EQ(park("/mnt/a/"), ORV_OK);
  EXPECT_EQ(shares(), listed("a", ""));
}

TEST_F(ftp_parking, changes_nothing_when_the_mounts_are_not_known) {
  machine.tool("umount").succeeds();
  machine.remove("/proc/mounts");
  EXPECT_EQ(park(), -11000);
  EXPECT_EQ(shares(), listed("a", "ftp"));
  EXPECT_EQ(machine.read("/etc/mdfstab"), table);
}

TEST_F(ftp_parking, goes_on_when_the_directory_cannot_be_removed) {
  machine.tool("umount").succeeds();
  machine.tool("rm").on("-rf /mnt/a").fails(1);
  EXPECT_EQ(park(), ORV_OK);
  EXPECT_THAT(machine.log(), HasSubstr("system(\"rm -rf /mnt/a > /dev/null\")return normal"));
  EXPECT_EQ(machine.read("/etc/mdfstab"), "");
  EXPECT_EQ(shares(), listed("a", ""));
}

TEST_F(ftp_parking, goes_on_without_a_mount_table) {
  machine.tool("umount").succeeds();
  machine.remove("/etc/mdfstab");
  EXPECT_EQ(park(), ORV_OK);
  EXPECT_EQ(shares(), listed("a", ""));
  EXPECT_EQ(machine.log(), "cannot open /etc/mdfstab or tmpfile for No such file or directory");
}

/// What makes the share list fail comes last: the path is unmounted and gone by then.
TEST_F(ftp_parking, has_removed_the_path_when_the_share_list_fails) {
  machine.tool("umount").succeeds();
  const auto expect = [this](int code) {
    machine.forget();
    machine.file("/etc/mdfstab", table);
    EXPECT_EQ(park(), code);
    EXPECT_THAT(machine.commands(),
                ElementsAre("umount /mnt/a > /dev/null", "chattr  -i /mnt/a > /dev/null",
                            "rm -rf /mnt/a > /dev/null",
                            "mv /tmp/mdfstab.XXXXXX /etc/mdfstab > /dev/null"));
    EXPECT_EQ(machine.read("/etc/mdfstab"), "");
  };
  {
    const foreign_lock lock(shares_path);
    expect(-2060);
  }
  EXPECT_EQ(shares(), listed("a", "ftp"));
  shares("no sense\n");
  expect(-2063);
  std::string many = listed("a", "ftp");
  while (many.size() < 110000) many += listed("b" + std::to_string(many.size()), "ftp");
  shares(many);
  const file_size_limit full(100000);
  expect(-2064);
}

TEST_F(ftp_parking, fails_when_the_share_list_cannot_be_locked_read_or_written) {
  machine.tool("umount").succeeds();
  {
    const foreign_lock lock(shares_path);
    EXPECT_EQ(park(), -2060);
  }
  shares("no sense\n");
  EXPECT_EQ(park(), -2063);
  EXPECT_EQ(shares(), "no sense\n");
  std::string many = listed("a", "ftp");
  for (int i = 0; i < 1000; ++i) many += listed("b" + std::to_string(i), "ftp");
  shares(many);
  const file_size_limit full(100000);
  EXPECT_EQ(park(), -2064);
}

TEST_F(ftp_parking, needs_a_record_with_a_name) {
  EXPECT_EQ(ftp_set_use(nullptr), -1);
  tag_share_config nameless = a_share("", "ftp");
  EXPECT_EQ(ftp_set_use(&nameless), -1);
  EXPECT_STREQ(nameless.service, "");
  EXPECT_THAT(machine.commands(), testing::IsEmpty());
}
