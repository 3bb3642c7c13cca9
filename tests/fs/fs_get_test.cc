#include <cerrno>

#include "tests/fs/machine_with_pools.h"
#include "tests/lvm/list_commands.h"

using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

constexpr char data_entry[] = "/dev/vg1/data\t/mnt/data\txfs\tdefaults\t0 0\n";
constexpr sandbox::disk_space of_10_gib{.block_size = 4096, .blocks = 2621440, .available = 262144};

class fs_get_of : public pools_test {
 protected:
  void TearDown() override {
    EXPECT_THAT(machine.temp_files(), IsEmpty());
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  }

  /// The file systems as fs_list_show prints them, behind what fs_get printed.
  std::string shown() {
    fs_list list;
    EXPECT_EQ(fs_get(list.get()), ORV_OK);
    fs_list_show(list.get());
    EXPECT_EQ(machine.log(), "");
    return machine.output();
  }
};

TEST_F(fs_get_of, a_mounted_pool_shows_the_figures_of_its_file_system) {
  lvdisplay().prints(two_pools);
  table(data_entry);
  mounts("/dev/mapper/vg1-data /mnt/data xfs rw 0 0\n");
  machine.directory("/mnt/data");
  machine.statfs("/mnt/data", of_10_gib);
  EXPECT_EQ(shown(), "/dev/vg1/data\t/mnt/data\tavailable\t10240M\t9216M\tvg1\t2\n");
  EXPECT_THAT(machine.commands(), ElementsAreArray(list_commands::pools()));
}

TEST_F(fs_get_of, several_pools_keeps_the_order_of_the_mount_table) {
  lvdisplay().prints(two_pools);
  table(std::string("/dev/vg1/cold /mnt/cold xfs\n# comment\n") + data_entry);
  mounts("/dev/mapper/vg1-data /mnt/data xfs rw 0 0\n");
  machine.directory("/mnt/data");
  machine.statfs("/mnt/data", of_10_gib);
  EXPECT_EQ(shown(),
            "/dev/vg1/cold\t/mnt/cold\tnot available\t4096M\t0M\tvg1\t2\n"
            "/dev/vg1/data\t/mnt/data\tavailable\t10240M\t9216M\tvg1\t2\n");
}

TEST_F(fs_get_of, a_list_that_was_released_fills_it_again) {
  lvdisplay().prints(two_pools);
  table(data_entry);
  fs_list list;
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(fs_get(list.get()), ORV_OK);
    EXPECT_STREQ(list.only().mountpoint, "/mnt/data");
    EXPECT_EQ(fs_list_fini(list.get()), 0);
  }
}

TEST_F(fs_get_of, a_read_only_file_system_is_not_available) {
  lvdisplay().prints(two_pools);
  table(data_entry);
  mounts("/dev/mapper/vg1-data /mnt/data xfs ro 0 0\n");
  machine.mount_tmpfs("/mnt/data");
  machine.remount_read_only("/mnt/data");
  machine.statfs("/mnt/data", of_10_gib);
  EXPECT_EQ(shown(), "/dev/vg1/data\t/mnt/data\tnot available\t10240M\t9216M\tvg1\t2\n");
}

TEST_F(fs_get_of, an_unmounted_pool_without_a_mount_point_is_not_available) {
  lvdisplay().prints(two_pools);
  table(data_entry);
  EXPECT_EQ(shown(), "/dev/vg1/data\t/mnt/data\tnot available\t10240M\t0M\tvg1\t2\n");
}

// The mount point of a file system that is not mounted belongs to the file system above it: its
// figures are shown, and it is the one that the probe writes to.
TEST_F(fs_get_of, an_unmounted_pool_shows_the_file_system_that_holds_its_mount_point) {
  lvdisplay().prints(two_pools);
  table(data_entry);
  machine.directory("/mnt/data");
  machine.statfs("/mnt/data", {.block_size = 4096, .blocks = 512000, .available = 256000});
  EXPECT_EQ(shown(), "/dev/vg1/data\t/mnt/data\tumount\t2000M\t1000M\tvg1\t2\n");
  EXPECT_THAT(machine.list("/mnt/data"), IsEmpty());
}

TEST_F(fs_get_of, an_unmounted_pool_with_a_locked_mount_point_is_not_available) {
  lvdisplay().prints(two_pools);
  table(data_entry);
  machine.mount_tmpfs("/mnt/data");
  machine.remount_read_only("/mnt/data");
  machine.statfs("/mnt/data", {.block_size = 4096, .blocks = 512000, .available = 256000});
  EXPECT_EQ(shown(), "/dev/vg1/data\t/mnt/data\tnot available\t2000M\t1000M\tvg1\t2\n");
}

TEST_F(fs_get_of, an_entry_whose_pool_is_gone_keeps_the_group_of_its_device_path) {
  lvdisplay().prints("");
  table(data_entry);
  EXPECT_EQ(shown(), "/dev/vg1/data\t/mnt/data\tnot available\t0M\t0M\tvg1\tN.A.\n");
}

TEST_F(fs_get_of, an_entry_whose_pool_is_gone_shows_the_file_system_that_holds_its_mount_point) {
  lvdisplay().prints("");
  table(data_entry);
  machine.directory("/mnt/data");
  machine.statfs("/mnt/data", {.block_size = 4096, .blocks = 512000, .available = 256000});
  EXPECT_EQ(shown(), "/dev/vg1/data\t/mnt/data\tumount\t2000M\t1000M\tvg1\tN.A.\n");
}

TEST_F(fs_get_of, a_mounted_entry_whose_pool_is_gone_is_not_available) {
  lvdisplay().prints("");
  table(data_entry);
  mounts("/dev/mapper/vg1-data /mnt/data xfs rw 0 0\n");
  machine.directory("/mnt/data");
  machine.statfs("/mnt/data", of_10_gib);
  EXPECT_EQ(shown(), "/dev/vg1/data\t/mnt/data\tnot available\t10240M\t9216M\tvg1\tN.A.\n");
}

TEST_F(fs_get_of, an_empty_table_is_empty) {
  lvdisplay().prints(two_pools);
  table("");
  EXPECT_EQ(shown(), "");
}

TEST_F(fs_get_of, a_missing_table_fails_and_says_so) {
  fs_list list;
  EXPECT_EQ(fs_get(list.get()), ORV_E_FAILED);
  EXPECT_EQ(machine.output(), "for errno '-1'\n");
  EXPECT_EQ(machine.log(), "cannot open /etc/mdfstab for No such file or directory");
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(fs_get_of, pools_that_cannot_be_listed_fails_and_says_so) {
  table(data_entry);
  machine.fail("mkstemp", EMFILE);
  fs_list list;
  EXPECT_EQ(fs_get(list.get()), ORV_E_LVDISPLAY);
  EXPECT_THAT(machine.output(), testing::EndsWith("for errno '-1050'\n"));
  EXPECT_EQ(machine.log_lines().back(), "mountfs_get[N]: return with -1050");
  EXPECT_EQ(list.records().size(), 1U);
}

// A probe could not be removed and would be there still.
TEST_F(fs_get_of, pools_that_cannot_be_listed_measures_and_probes_nothing) {
  table(data_entry);
  machine.directory("/mnt/data");
  machine.statfs("/mnt/data", of_10_gib);
  machine.fail("mkstemp", EMFILE);
  machine.fail("unlink", EBUSY);
  fs_list list;
  EXPECT_EQ(fs_get(list.get()), ORV_E_LVDISPLAY);
  EXPECT_EQ(list.only().size, 0U);
  EXPECT_EQ(list.only().used, 0U);
  EXPECT_STREQ(list.only().state, "");
  EXPECT_THAT(machine.list("/mnt/data"), IsEmpty());
}

TEST_F(fs_get_of, no_list_is_refused) {
  EXPECT_EQ(fs_get(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "fs_get:N return -1 with Invalid argument\n");
  EXPECT_EQ(machine.output(), "");
}

}  // namespace
