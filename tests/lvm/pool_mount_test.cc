#include "tests/lvm/storage_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

class pool_mount : public storage_machine {
 protected:
  pool_mount() {
    machine.tool("mount").succeeds().if_asked();
    machine.tool("chmod").succeeds().if_asked();
    machine.tool("umount").succeeds().if_asked();
  }

  /// Mounting ends with this command, which fails with 32.
  void expect_not_mounted(const std::string& command) {
    machine.forget();
    EXPECT_EQ(mount_fs("/mnt/lv0", "vg0", "lv0"), -11000);
    EXPECT_THAT(machine.commands(), ElementsAre(command));
    EXPECT_THAT(machine.log_lines(), ElementsAre(failed_command(command, 32)));
  }
};

TEST_F(pool_mount, mounts_xfs_with_large_inodes_and_opens_the_directory) {
  EXPECT_EQ(mount_fs("/mnt/lv0", "vg0", "lv0"), ORV_OK);
  EXPECT_THAT(machine.commands(),
              ElementsAre("mount -t xfs -o inode64 /dev/vg0/lv0 /mnt/lv0 > /dev/null",
                          "chmod 0777 /mnt/lv0 > /dev/null"));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(pool_mount, compares_kernel_releases_byte_by_byte) {
  const std::pair<const char*, bool> releases[] = {
      {"2.6.30", true},  {"2.6.30-rc1", true}, {"2.6.32-5-amd64", true}, {"3.0.0", true},
      {"2.6.9", true},   {"6.1.0-13", true},   {"10.0.0", false},        {"2.6.18", false},
      {"2.6.29", false}, {"2.6.3", false},     {"2.4.37", false},        {"\xff", true}};
  for (const auto& [release, large_inodes] : releases) {
    machine.forget();
    machine.kernel_release(release);
    EXPECT_EQ(mount_fs("/mnt", "vg0", "lv0"), ORV_OK);
    EXPECT_THAT(machine.commands(),
                ElementsAre(large_inodes ? "mount -t xfs -o inode64 /dev/vg0/lv0 /mnt > /dev/null"
                                         : "mount -t xfs /dev/vg0/lv0 /mnt > /dev/null",
                            "chmod 0777 /mnt > /dev/null"))
        << release;
  }
}

TEST_F(pool_mount, mounts_reiserfs_on_two_models_whatever_the_kernel) {
  for (const char* name : {"KTA7120E", "KTA7120P"}) {
    for (const char* release : {"2.6.18", "6.1.0"}) {
      machine.forget();
      model(name);
      machine.kernel_release(release);
      EXPECT_EQ(mount_fs("/mnt/lv0", "vg0", "lv0"), ORV_OK);
      EXPECT_THAT(machine.commands(),
                  ElementsAre("mount -t reiserfs /dev/vg0/lv0 /mnt/lv0 > /dev/null",
                              "chmod 0777 /mnt/lv0 > /dev/null"));
    }
  }
}

TEST_F(pool_mount, leaves_the_directory_closed_when_nothing_was_mounted) {
  machine.tool("mount").on("-t ...").fails(32);
  expect_not_mounted("mount -t xfs -o inode64 /dev/vg0/lv0 /mnt/lv0 > /dev/null");
  machine.kernel_release("2.6.18");
  expect_not_mounted("mount -t xfs /dev/vg0/lv0 /mnt/lv0 > /dev/null");
  model("KTA7120E");
  expect_not_mounted("mount -t reiserfs /dev/vg0/lv0 /mnt/lv0 > /dev/null");
}

TEST_F(pool_mount, reports_a_directory_that_cannot_be_opened_up) {
  machine.tool("chmod").on("0777 *").fails(1);
  EXPECT_EQ(mount_fs("/mnt/lv0", "vg0", "lv0"), -11000);
  EXPECT_THAT(machine.commands(),
              ElementsAre("mount -t xfs -o inode64 /dev/vg0/lv0 /mnt/lv0 > /dev/null",
                          "chmod 0777 /mnt/lv0 > /dev/null"))
      << "it stays mounted";
  EXPECT_THAT(machine.log_lines(), ElementsAre(failed_command("chmod 0777 /mnt/lv0 > /dev/null")));
}

TEST_F(pool_mount, needs_the_kernel_release) {
  machine.fail("uname", EFAULT);
  EXPECT_EQ(mount_fs("/mnt/lv0", "vg0", "lv0"), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_THAT(machine.log_lines(), ElementsAre("mount_fs:N return -11000 with Bad address"));
}

TEST_F(pool_mount, unmounts) {
  EXPECT_EQ(umount_fs("/mnt/lv0"), ORV_OK);
  EXPECT_THAT(machine.commands(), ElementsAre("umount /mnt/lv0 > /dev/null"));
}

TEST_F(pool_mount, reports_what_cannot_be_unmounted) {
  machine.tool("umount").on("*").fails(32);
  EXPECT_EQ(umount_fs("/mnt/lv0"), -11000);
  EXPECT_THAT(machine.log_lines(), ElementsAre(failed_command("umount /mnt/lv0 > /dev/null", 32)));
}

TEST_F(pool_mount, passes_strange_directories_as_one_word) {
  for (const hostile_name& hostile : hostile_names) {
    machine.forget();
    EXPECT_EQ(mount_fs(hostile.name, "vg0", "lv0"), ORV_OK);
    EXPECT_EQ(umount_fs(hostile.name), ORV_OK);
    EXPECT_THAT(machine.calls(), ElementsAre(ElementsAre("mount", "-t", "xfs", "-o", "inode64",
                                                         "/dev/vg0/lv0", hostile.name),
                                             ElementsAre("chmod", "0777", hostile.name),
                                             ElementsAre("umount", hostile.name)));
  }
}

TEST_F(pool_mount, runs_nothing_with_a_name_that_is_missing_an_option_or_too_long) {
  const std::string long_name(300, 'x');
  for (const char* name : {"", "-a", static_cast<const char*>(nullptr), long_name.c_str()}) {
    EXPECT_EQ(mount_fs(name, "vg0", "lv0"), -11000);
    EXPECT_EQ(umount_fs(name), -11000);
  }
  EXPECT_EQ(mount_fs("/mnt", "", "lv0"), -11000);
  EXPECT_EQ(mount_fs("/mnt", "vg0", nullptr), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
}
