#include <cerrno>
#include <unordered_map>
#include <utility>

#include "common/text_hash.h"
#include "tests/fs/machine_with_pools.h"

using testing::IsEmpty;

namespace {

constexpr uint64_t mib_of_10_gib = 10240;
constexpr char data_mounted[] =
    "rootfs / rootfs rw 0 0\n/dev/mapper/vg1-data /mnt/data xfs rw,inode64 0 0\n";

class mount_check_of : public fs_test {
 protected:
  void mounts(std::string_view text) { machine.file("/proc/mounts", text); }
  void TearDown() override {
    EXPECT_EQ(machine.log(), "");
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  }
};

TEST_F(mount_check_of, a_mount_directory_succeeds) {
  mounts(data_mounted);
  EXPECT_EQ(mount_check("/mnt/data"), ORV_OK);
  EXPECT_EQ(mount_check("/"), ORV_OK);
}

TEST_F(mount_check_of, any_other_path_fails) {
  mounts(data_mounted);
  for (const char* path : {"/mnt/data/", "/mnt", "/mnt/data2", "mnt/data", "/mnt/data/share",
                           "/dev/mapper/vg1-data", "xfs", "", "/mnt/data xfs", "$(reboot)"}) {
    EXPECT_EQ(mount_check(path), ORV_E_FAILED) << path;
  }
  EXPECT_EQ(mount_check(nullptr), ORV_E_FAILED);
  EXPECT_EQ(mount_check(std::string(100000, '/').c_str()), ORV_E_FAILED);
}

TEST_F(mount_check_of, a_path_fails_without_a_list_of_mounts) {
  EXPECT_EQ(mount_check("/mnt/data"), ORV_E_FAILED);
  mounts("");
  EXPECT_EQ(mount_check("/mnt/data"), ORV_E_FAILED);
}

TEST_F(mount_check_of, a_path_fails_without_memory_for_the_list) {
  mounts(data_mounted);
  machine.fail("fread", ENOMEM, 1);
  EXPECT_EQ(mount_check("/mnt/data"), ORV_E_FAILED);
  EXPECT_THAT(machine.log(), testing::HasSubstr("Cannot allocate memory"));
  machine.forget();
}

TEST_F(mount_check_of, a_path_of_which_only_the_beginning_could_be_read_fails) {
  // The table is read in blocks, and one byte of the second is there before the error.
  constexpr std::size_t block = 32768;
  const std::string before = "/dev/a /mnt/before xfs rw 0 0\n";
  const std::string cut = "/dev/a /mnt/data/of/a";
  for (const std::string rest : {"/long/name xfs rw 0 0\n", " xfs rw,inode64 0 0\n"}) {
    const std::string filler(block + 1 - before.size() - cut.size() - 1, 'x');
    mounts(before + filler + '\n' + cut + rest);
    machine.fail("fread", EIO, 2);
    EXPECT_EQ(mount_check("/mnt/before"), ORV_OK) << rest;
    machine.fail("fread", EIO, 2);
    EXPECT_EQ(mount_check("/mnt/data/of/a"), ORV_E_FAILED) << rest;
  }
  EXPECT_EQ(mount_check("/mnt/data/of/a"), ORV_OK);
}

TEST_F(mount_check_of, a_path_of_a_table_that_breaks_off_behind_it_succeeds) {
  const std::string data = "/dev/a /mnt/data xfs rw 0 0\n";
  const std::string block(32768, 'x');
  for (const std::string cut : {"", "/dev/b /mnt/cut"}) {
    mounts(data + cut);
    for (const int error : {EIO, ENOMEM}) {
      machine.fail("fread at the end", error, 1);
      EXPECT_EQ(mount_check("/mnt/data"), ORV_OK) << cut;
    }
    machine.fail("fread at the end", EIO, 1);
    EXPECT_EQ(mount_check("/mnt/cut"), ORV_E_FAILED) << cut;
    mounts(block + '\n' + data + cut);
    machine.fail("fread at the end", EIO, 2);
    EXPECT_EQ(mount_check("/mnt/data"), ORV_OK) << cut;
    machine.fail("fread at the end", EIO, 2);
    EXPECT_EQ(mount_check("/mnt/cut"), ORV_E_FAILED) << cut;
  }
}

TEST_F(mount_check_of, a_path_with_blanks_sees_through_the_escapes_of_the_kernel) {
  mounts(
      "/dev/a /mnt/my\\040disk xfs rw 0 0\n/dev/b /mnt/a\\011b\\012c\\134d xfs rw 0 0\n"
      "\\043c /mnt/\\043one xfs rw 0 0\n");
  EXPECT_EQ(mount_check("/mnt/#one"), ORV_OK);
  EXPECT_EQ(mount_check("/mnt/my disk"), ORV_OK);
  EXPECT_EQ(mount_check("/mnt/a\tb\nc\\d"), ORV_OK);
  EXPECT_EQ(mount_check("/mnt/my\\040disk"), ORV_E_FAILED);
}

TEST_F(mount_check_of, a_mount_that_is_to_be_passed_over_succeeds_all_the_same) {
  mounts("/etc/auto.misc /misc autofs rw,relatime,ignore 0 0\n");
  EXPECT_EQ(mount_check("/misc"), ORV_OK);
}

TEST_F(mount_check_of, a_long_path_succeeds) {
  const std::string path = '/' + std::string(4000, 'm');
  mounts("/dev/a " + path + " xfs rw 0 0\n");
  EXPECT_EQ(mount_check(path.c_str()), ORV_OK);
}

TEST_F(mount_check_of, a_path_is_found_between_broken_lines) {
  mounts("word\n\n" + std::string(100000, 'x') + " /mnt/x\nover /mnt/o overlay " +
         std::string(5000, 'o') + " 0 0\n/dev/a /mnt/data");
  EXPECT_EQ(mount_check(""), ORV_E_FAILED);
  EXPECT_EQ(mount_check("/mnt/o"), ORV_OK);
  EXPECT_EQ(mount_check("/mnt/data"), ORV_OK);
}

TEST_F(mount_check_of, a_captured_mount_succeeds) {
  mounts(fixture("proc/mounts.txt"));
  for (const char* path : {"/", "/tmp", "/mnt/data", "/mnt/with blank"}) {
    EXPECT_EQ(mount_check(path), ORV_OK) << path;
  }
  for (const char* path : {"/mnt", "/mnt/with", "/mnt/with\\040blank", "/dev/mapper/vg1-data"}) {
    EXPECT_EQ(mount_check(path), ORV_E_FAILED) << path;
  }
}

class mountfs : public pools_test {
 protected:
  void TearDown() override {
    EXPECT_THAT(machine.temp_files(), IsEmpty());
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  }
};

void expect_facts(const tag_fs_info& fs, const std::string& state, const std::string& group,
                  const std::string& enclosure, uint64_t size) {
  EXPECT_EQ(fs.state, state) << fs.devname;
  EXPECT_EQ(fs.vgname, group) << fs.devname;
  EXPECT_EQ(fs.enclosure, enclosure) << fs.devname;
  EXPECT_EQ(fs.size, size) << fs.devname;
  EXPECT_EQ(fs.used, 0U) << fs.devname;
}

TEST_F(mountfs, completes_a_mounted_file_system_from_its_pool) {
  lvdisplay().prints(two_pools);
  mounts("/dev/mapper/vg1-data /mnt/data xfs rw 0 0\n/dev/mapper/x /mnt/cold xfs rw 0 0\n");
  fs_list list;
  for (const char* pool : {"data", "cold"}) {
    tag_fs_info& fs = list.add(std::string("/dev/vg1/") + pool, std::string("/mnt/") + pool);
    fs.size = fs.used = 7;
  }
  EXPECT_EQ(mountfs_get(list.get()), ORV_OK);
  expect_facts(*list.records()[0], "available", "vg1", "2", mib_of_10_gib);
  expect_facts(*list.records()[1], "not available", "vg1", "2", 4096);
  EXPECT_EQ(machine.log(), "");
}

TEST_F(mountfs, completes_an_unmounted_file_system_from_its_pool_but_for_the_state) {
  lvdisplay().prints(two_pools);
  fs_list list;
  list.add("/dev/vg1/data", "/mnt/data");
  EXPECT_EQ(mountfs_get(list.get()), ORV_OK);
  expect_facts(list.only(), "umount", "vg1", "2", mib_of_10_gib);
}

TEST_F(mountfs, calls_a_mounted_file_system_without_a_pool_not_available) {
  lvdisplay().prints(two_pools);
  mounts("/dev/sdx1 /mnt/usb xfs rw 0 0\n");
  fs_list list;
  list.add("/dev/vg1/gone", "/mnt/usb");
  EXPECT_EQ(mountfs_get(list.get()), ORV_OK);
  expect_facts(list.only(), "not available", "", "", 0);
}

TEST_F(mountfs, knows_nothing_but_the_state_of_an_unmounted_file_system_without_a_pool) {
  lvdisplay().prints("");
  fs_list list;
  list.add("/dev/vg1/gone", "/mnt/gone");
  EXPECT_EQ(mountfs_get(list.get()), ORV_OK);
  expect_facts(list.only(), "umount", "", "", 0);
  fs_list_show(list.get());
  EXPECT_EQ(machine.output(), "/dev/vg1/gone\t/mnt/gone\tumount\t0M\t0M\tN.A.\tN.A.\n");
}

TEST_F(mountfs, leaves_alone_what_the_mount_table_told_when_there_is_no_pool) {
  lvdisplay().prints("");
  table("/dev/vg9/gone /mnt/gone xfs\n");
  fs_list list;
  ASSERT_EQ(mdfstab_get(list.get()), ORV_OK);
  EXPECT_EQ(mountfs_get(list.get()), ORV_OK);
  expect_facts(list.only(), "umount", "vg9", "", 0);
}

TEST_F(mountfs, takes_everything_for_unmounted_without_a_list_of_mounts) {
  lvdisplay().prints(two_pools);
  machine.remove("/proc/mounts");
  fs_list list;
  list.add("/dev/vg1/data", "/mnt/data");
  EXPECT_EQ(mountfs_get(list.get()), ORV_OK);
  expect_facts(list.only(), "umount", "vg1", "2", mib_of_10_gib);
}

TEST_F(mountfs, calls_nothing_unmounted_when_memory_ends_while_something_is_read) {
  lvdisplay().prints(two_pools);
  mounts("/dev/mapper/vg1-data /mnt/data xfs rw 0 0\n");
  int failures = 0;
  for (int nth = 1; nth < 25; ++nth) {
    fs_list list;
    list.add("/dev/vg1/data", "/mnt/data");
    machine.fail("fread", ENOMEM, nth);
    failures += mountfs_get(list.get()) == ORV_E_FAILED ? 1 : 0;
    EXPECT_NE(list.only().state, std::string("umount")) << nth;
    machine.remove("/tmp");  // some outputs that cannot be read are left there
    machine.directory("/tmp");
  }
  EXPECT_EQ(failures, 1);  // of the mounts; the others are those of the tools' output
  EXPECT_THAT(machine.log(), testing::HasSubstr("mountfs_get:N return -1 with Cannot allocate"));
  machine.forget();
}

TEST_F(mountfs, compares_the_whole_device_path) {
  lvdisplay().prints(two_pools);
  fs_list list;
  list.add("/dev/vg1/dat", "/mnt/a");
  list.add("/dev/vg1/data2", "/mnt/b");
  list.add("data", "/mnt/c");
  EXPECT_EQ(mountfs_get(list.get()), ORV_OK);
  for (const tag_fs_info* fs : list.records()) expect_facts(*fs, "umount", "", "", 0);
}

TEST_F(mountfs, finds_a_mount_point_with_blanks) {
  lvdisplay().prints(two_pools);
  mounts("/dev/mapper/vg1-data /mnt/my\\040disk xfs rw 0 0\n");
  table("/dev/vg1/data /mnt/my\\040disk xfs\n");
  fs_list list;
  ASSERT_EQ(mdfstab_get(list.get()), ORV_OK);
  EXPECT_EQ(mountfs_get(list.get()), ORV_OK);
  expect_facts(list.only(), "available", "vg1", "2", mib_of_10_gib);
}

TEST_F(mountfs, completes_from_captured_pools_and_mounts) {
  lvdisplay().prints(fixture("lvdisplay/inactive_pool.txt"));
  mounts(fixture("proc/mounts.txt"));
  fs_list list;
  list.add("/dev/vg-two/all", "/mnt/with blank");
  list.add("/dev/vg1/data", "/mnt/data");
  list.add("/dev/vg1/backup-1", "/mnt/backup-1");
  EXPECT_EQ(mountfs_get(list.get()), ORV_OK);
  expect_facts(*list.records()[0], "available", "vg-two", "", 20480);
  expect_facts(*list.records()[1], "available", "vg1", "2", mib_of_10_gib);
  expect_facts(*list.records()[2], "umount", "vg1", "2", 5120);
}

TEST_F(mountfs, takes_a_file_system_without_a_mount_point_for_unmounted) {
  lvdisplay().prints(two_pools);
  mounts("word\n");
  fs_list list;
  list.add("/dev/vg1/data", "");
  EXPECT_EQ(mountfs_get(list.get()), ORV_OK);
  expect_facts(list.only(), "umount", "vg1", "2", mib_of_10_gib);
}

/// Two mount points that 32 bits of the hash with which they are looked up do not tell apart.
std::pair<std::string, std::string> mount_points_of_one_hash() {
  std::unordered_map<uint32_t, std::string> seen;
  for (int number = 0;; ++number) {
    const std::string next = "/mnt/" + std::to_string(number);
    const uint32_t hash = orv::text_hash(next);
    const auto [known, is_new] = seen.emplace(hash, next);
    if (!is_new) return {known->second, next};
  }
}

TEST_F(mountfs, tells_mount_points_of_one_hash_apart) {
  lvdisplay().prints(two_pools);
  const auto [mounted, other] = mount_points_of_one_hash();
  mounts("/dev/mapper/vg1-data " + mounted + " xfs rw 0 0\n");
  fs_list list;
  for (const std::string& mount_point : {other, mounted, other})
    list.add("/dev/vg1/data", mount_point);
  EXPECT_EQ(mountfs_get(list.get()), ORV_OK);
  expect_facts(*list.records()[0], "umount", "vg1", "2", mib_of_10_gib);
  expect_facts(*list.records()[1], "available", "vg1", "2", mib_of_10_gib);
  expect_facts(*list.records()[2], "umount", "vg1", "2", mib_of_10_gib);
}

TEST_F(mountfs, uses_what_a_failing_tool_has_listed) {
  lvdisplay().prints(two_pools).fails(5);
  mounts(data_mounted);
  fs_list list;
  list.add("/dev/vg1/data", "/mnt/data");
  EXPECT_EQ(mountfs_get(list.get()), ORV_OK);
  expect_facts(list.only(), "available", "vg1", "2", mib_of_10_gib);
  EXPECT_THAT(machine.log(),
              testing::MatchesRegex("system\\(\"/sbin/lvdisplay -c > /tmp/lvdisplay.XXXXXX \"\\) "
                                    "return normal with exit\\(5\\) for '[^'\n]+'\n"));
}

TEST_F(mountfs, reports_pools_that_cannot_be_listed_and_changes_no_record) {
  machine.fail("mkstemp", EMFILE);
  fs_list list;
  list.add("/dev/vg1/data", "/mnt/data");
  EXPECT_EQ(mountfs_get(list.get()), ORV_E_LVDISPLAY);
  expect_facts(list.only(), "", "", "", 0);
  ASSERT_FALSE(machine.log_lines().empty());
  EXPECT_EQ(machine.log_lines().back(), "mountfs_get[N]: return with -1050");
  EXPECT_FALSE(machine.log().ends_with('\n'));
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(mountfs, accepts_an_empty_list) {
  lvdisplay().prints(two_pools);
  fs_list list;
  EXPECT_EQ(mountfs_get(list.get()), ORV_OK);
  EXPECT_THAT(list.records(), IsEmpty());
}

TEST_F(mountfs, refuses_a_missing_list) {
  EXPECT_EQ(mountfs_get(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "mountfs_get:N return -1 with Invalid argument\n");
  EXPECT_THAT(machine.commands(), IsEmpty());
}

}  // namespace
