#include "tests/lvm/storage_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

/// The log line of the steps that lack a blank before "return", up to the reason.
static std::string tightly_failed(const std::string& command, int exit_code) {
  return "system(\"" + command + "\")return normal with exit(" + std::to_string(exit_code) +
         ") for '";
}

class mount_point : public storage_machine {
 protected:
  mount_point() {
    mounts_are("");
    for (const char* tool : {"mkdir", "chattr", "rm"}) machine.tool(tool).succeeds().if_asked();
  }

  /// The kernel's mount table: the root file system, and these lines.
  void mounts_are(const std::string& lines) {
    machine.file("/proc/mounts", "/dev/sda1 / ext4 rw,relatime 0 0\n" + lines);
  }
  void mounted(const std::string& directory) {
    mounts_are("/dev/mapper/vg0-lv0 " + directory + " xfs rw,inode64 0 0\n");
  }

  void expect_removed(const std::string& path) {
    machine.forget();
    EXPECT_EQ(rmdir_path(path.c_str()), ORV_OK) << path;
    EXPECT_THAT(machine.calls(),
                ElementsAre(ElementsAre("chattr", "-i", path), ElementsAre("rm", "-rf", path)));
    EXPECT_EQ(machine.log(), "");
  }
  void expect_refused(const std::string& path, const std::string& reason) {
    machine.forget();
    EXPECT_EQ(rmdir_path(path.c_str()), -11000) << path;
    EXPECT_THAT(machine.commands(), IsEmpty());
    EXPECT_THAT(machine.log_lines(),
                ElementsAre(tightly_failed("rm -rf " + path + " > /dev/null", 127) + reason + "'"));
  }
  static constexpr char busy[] = "Device or resource busy";
  static constexpr char invalid[] = "Invalid argument";
};

TEST_F(mount_point, is_made_read_only_and_immutable) {
  EXPECT_EQ(mkdir_path("/mnt/vg0/lv0"), ORV_OK);
  EXPECT_THAT(machine.commands(), ElementsAre("mkdir -m 0444 -p /mnt/vg0/lv0 > /dev/null",
                                              "chattr  +i /mnt/vg0/lv0 > /dev/null"));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(mount_point, stays_mutable_when_it_cannot_be_made) {
  machine.tool("mkdir").on("-m ...").fails(1);
  EXPECT_EQ(mkdir_path("/mnt"), -11000);
  EXPECT_THAT(machine.commands(), ElementsAre("mkdir -m 0444 -p /mnt > /dev/null"));
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command("mkdir -m 0444 -p /mnt > /dev/null")));
}

TEST_F(mount_point, reports_that_it_cannot_be_made_immutable) {
  machine.tool("chattr").on("+i *").fails(1);
  EXPECT_EQ(mkdir_path("/mnt"), -11000);
  EXPECT_THAT(machine.commands(),
              ElementsAre("mkdir -m 0444 -p /mnt > /dev/null", "chattr  +i /mnt > /dev/null"));
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(testing::StartsWith(tightly_failed("chattr  +i /mnt > /dev/null", 1))));
}

TEST_F(mount_point, is_made_by_any_name_as_one_word) {
  for (const hostile_name& hostile : hostile_names) {
    machine.forget();
    EXPECT_EQ(mkdir_path(hostile.name), ORV_OK);
    EXPECT_THAT(machine.calls(), ElementsAre(ElementsAre("mkdir", "-m", "0444", "-p", hostile.name),
                                             ElementsAre("chattr", "+i", hostile.name)));
  }
  machine.forget();
  for (const char* path : {"", "-p", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(mkdir_path(path), -11000);
  }
  EXPECT_EQ(mkdir_path(("/" + std::string(300, 'x')).c_str()), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(mount_point, is_made_mutable_and_removed) {
  machine.directory("/mnt/lv0");
  EXPECT_EQ(rmdir_path("/mnt/lv0"), ORV_OK);
  EXPECT_THAT(machine.commands(),
              ElementsAre("chattr  -i /mnt/lv0 > /dev/null", "rm -rf /mnt/lv0 > /dev/null"));
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(mount_point, is_removed_although_it_cannot_be_made_mutable) {
  machine.tool("chattr").on("-i *").fails(1);
  EXPECT_EQ(rmdir_path("/mnt/lv0"), ORV_OK);
  EXPECT_THAT(machine.commands(),
              ElementsAre("chattr  -i /mnt/lv0 > /dev/null", "rm -rf /mnt/lv0 > /dev/null"));
  EXPECT_THAT(
      machine.log_lines(),
      ElementsAre(testing::StartsWith(tightly_failed("chattr  -i /mnt/lv0 > /dev/null", 1))));
}

TEST_F(mount_point, reports_that_it_cannot_be_removed) {
  machine.tool("rm").on("-rf *").fails(1);
  EXPECT_EQ(rmdir_path("/mnt/lv0"), -11000);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(testing::StartsWith(tightly_failed("rm -rf /mnt/lv0 > /dev/null", 1))));
}

TEST_F(mount_point, is_kept_while_something_is_mounted_at_it) {
  mounted("/mnt/lv0");
  for (const char* path : {"/mnt/lv0", "/mnt/lv0/", "//mnt//lv0", "/mnt/./lv0/.", "/./mnt/lv0//"}) {
    expect_refused(path, busy);
  }
}

TEST_F(mount_point, is_kept_while_something_is_mounted_below_it) {
  mounted("/mnt/lv0/a/b");
  for (const char* path : {"/mnt", "/mnt/lv0", "/mnt/lv0/a"}) expect_refused(path, busy);
}

TEST_F(mount_point, is_kept_until_the_last_of_stacked_mounts_is_gone) {
  mounts_are("/dev/a /mnt/lv0 xfs rw 0 0\n/dev/b /mnt/lv0 xfs rw 0 0\n");
  expect_refused("/mnt/lv0", busy);
  mounts_are("/dev/a /mnt/lv0 xfs rw 0 0\n");
  expect_refused("/mnt/lv0", busy);
  mounts_are("");
  expect_removed("/mnt/lv0");
}

TEST_F(mount_point, is_removed_while_only_its_neighbours_and_parents_are_mounted) {
  mounts_are(
      "a /mnt xfs rw 0 0\nb /mnt/lv xfs rw 0 0\nc /mnt/lv00 xfs rw 0 0\n"
      "/mnt/lv0 /other xfs rw 0 0\nd /other/mnt/lv0 xfs rw 0 0\n");
  expect_removed("/mnt/lv0");
}

TEST_F(mount_point, is_found_in_the_mount_table_whatever_its_characters) {
  mounted("/mnt/a\\040b\\011c\\012d\\134e");
  machine.forget();
  EXPECT_EQ(rmdir_path("/mnt/a b\tc\nd\\e"), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
  expect_removed("/mnt/a b");
}

TEST_F(mount_point, is_found_in_a_captured_mount_table) {
  machine.file("/proc/mounts", fixture("proc/mounts.txt"));
  for (const char* path : {"/mnt", "/mnt/data", "/dev", "/run"}) expect_refused(path, busy);
  machine.forget();
  EXPECT_EQ(rmdir_path("/mnt/with blank"), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
  expect_removed("/mnt/with");
  expect_removed("/mnt/backup-1");
}

TEST_F(mount_point, is_kept_when_a_link_leads_to_something_mounted) {
  machine.directory("/srv/pools/lv0");
  machine.link("/mnt/pools", "/srv/pools");
  machine.link("/mnt/link", "/srv/pools/lv0");
  mounted("/srv/pools/lv0");
  for (const char* path : {"/mnt/pools/lv0", "/mnt/pools", "/mnt/pools/", "/mnt/link/"}) {
    expect_refused(path, busy);
  }
  mounted("/mnt/pools/lv0");
  expect_refused("/mnt/pools", busy);
}

TEST_F(mount_point, is_never_the_root) {
  machine.link("/mnt/root", "/");
  for (const char* path : {"/", "//", "/.", "/./", "/mnt/root", "/mnt/root/"}) {
    expect_refused(path, invalid);
  }
}

TEST_F(mount_point, is_never_named_relative_or_through_a_parent) {
  for (const char* path :
       {"mnt/lv0", ".", "..", "/mnt/..", "/mnt/../etc", "/../mnt", "/mnt/lv0/../", "-rf"}) {
    expect_refused(path, invalid);
  }
  expect_refused("", invalid);
  machine.forget();
  EXPECT_EQ(rmdir_path(nullptr), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
  expect_removed("/mnt/..a");
  expect_removed("/mnt/a..");
}

TEST_F(mount_point, is_kept_when_the_mount_table_cannot_be_read) {
  machine.remove("/proc/mounts");
  expect_refused("/mnt/lv0", "No such file or directory");
  machine.directory("/proc/mounts");
  machine.forget();
  EXPECT_EQ(rmdir_path("/mnt/lv0"), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(mount_point, is_kept_when_the_mount_table_breaks_off) {
  mounted("/mnt/lv0");
  for (const int error : {EIO, ENOMEM}) {
    machine.fail("fread", error, 1);
    expect_refused("/mnt/lv0", "Input/output error");
  }
  // What stands behind a part that could be read may be the mount.
  mounts_are("/dev/x /" + std::string(40000, 'x') + " xfs rw 0 0\n/dev/a /mnt/lv0 xfs rw 0 0\n");
  machine.fail("fread", EIO, 2);
  expect_refused("/mnt/lv0", "Input/output error");
}

TEST_F(mount_point, is_kept_when_its_links_cannot_be_followed) {
  machine.link("/mnt/loop", "/mnt/loop");
  expect_refused("/mnt/loop/lv0", "Too many levels of symbolic links");
}

TEST_F(mount_point, is_found_behind_very_long_lines) {
  mounts_are("overlay /merged overlay lowerdir=" + std::string(30000, 'x') + " 0 0\n" +
             std::string(16000, 'd') + " /mnt/lv0/" + std::string(4000, 'y') + " xfs rw 0 0\n");
  expect_refused("/mnt/lv0", busy);
}

TEST_F(mount_point, survives_a_mount_table_cut_in_mid_line) {
  mounts_are("\n#x\nnodev\n/dev/a /mnt/lv0");
  expect_refused("/mnt/lv0", busy);
  expect_removed("/mnt/lv1");
}

TEST_F(mount_point, is_removed_by_any_name_as_one_word) {
  for (const hostile_name& hostile : hostile_names) {
    expect_removed(std::string("/mnt/") + hostile.name);
  }
}

TEST_F(mount_point, is_never_removed_by_half_its_name) {
  machine.forget();
  EXPECT_EQ(rmdir_path(("/" + std::string(240, 'x')).c_str()), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
}
