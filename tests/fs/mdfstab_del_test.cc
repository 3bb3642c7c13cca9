#include <orv/fs.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "tests/fs/file_systems.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char move_command[] = "mv /tmp/mdfstab.XXXXXX /etc/mdfstab > /dev/null";
constexpr char three_entries[] =
    "/dev/vg1/a\t/mnt/a\txfs\tdefaults\t0 0\n"
    "/dev/vg1/b\t/mnt/b\txfs\tdefaults\t0 0\n"
    "/dev/vg1/c\t/mnt/c\txfs\tdefaults\t0 0\n";

class mdfstab_del : public fs_test {
 protected:
  mdfstab_del() { machine.tool("mv").is_real(); }
  void TearDown() override { EXPECT_THAT(machine.open_descriptors(), IsEmpty()); }

  /// What is left of a table when the mount point is deleted from it.
  std::string after_deleting(const std::string& mountpoint, std::string_view from) {
    table(from);
    EXPECT_EQ(del_mdfstab(mountpoint.c_str()), ORV_OK);
    return table();
  }
  void expect_failure(const std::string& reason) {
    EXPECT_EQ(del_mdfstab("/mnt/b"), ORV_E_MOUNT_TABLE);
    EXPECT_EQ(machine.log(), "cannot open /etc/mdfstab or tmpfile for " + reason);
    EXPECT_THAT(machine.commands(), IsEmpty());
    EXPECT_THAT(machine.temp_files(), IsEmpty());
    EXPECT_FALSE(machine.exists(kept_table_path));
  }
};

TEST_F(mdfstab_del, moves_the_table_without_the_entry_into_place_and_commits_it) {
  table(three_entries);
  EXPECT_EQ(del_mdfstab("/mnt/b"), ORV_OK);
  EXPECT_EQ(table(),
            "/dev/vg1/a\t/mnt/a\txfs\tdefaults\t0 0\n"
            "/dev/vg1/c\t/mnt/c\txfs\tdefaults\t0 0\n");
  EXPECT_THAT(machine.commands(), ElementsAre(move_command));
  EXPECT_TRUE(is_committed());
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(mdfstab_del, drops_every_entry_of_the_mount_point) {
  EXPECT_EQ(
      after_deleting("/mnt/b", "/dev/vg1/b /mnt/b xfs\n/dev/vg1/a /mnt/a xfs\n/dev/vg2/b /mnt/b\n"),
      "/dev/vg1/a /mnt/a xfs\n");
}

TEST_F(mdfstab_del, drops_comments_and_empty_lines_and_trims_the_others) {
  EXPECT_EQ(after_deleting("/mnt/b",
                           "# a comment\n\n \t\n  # another /mnt/x\n"
                           " \t/dev/vg1/a   /mnt/a xfs \t\r\n/dev/vg1/b /mnt/b xfs\nword\n"),
            "/dev/vg1/a   /mnt/a xfs\nword\n");
}

TEST_F(mdfstab_del, leaves_an_empty_table_behind_the_last_entry) {
  EXPECT_EQ(after_deleting("/mnt/b", "/dev/vg1/b /mnt/b xfs"), "");
  EXPECT_TRUE(is_committed());
}

TEST_F(mdfstab_del, ends_the_last_line) {
  EXPECT_EQ(after_deleting("/mnt/b", "/dev/vg1/b /mnt/b xfs\n/dev/vg1/a /mnt/a xfs"),
            "/dev/vg1/a /mnt/a xfs\n");
}

TEST_F(mdfstab_del, keeps_the_table_byte_for_byte_when_the_mount_point_is_not_listed) {
  const std::string before = std::string("# kept\n\n  /dev/vg1/a /mnt/a xfs  \n") + three_entries;
  table(before);
  EXPECT_EQ(del_mdfstab("/mnt/d"), ORV_OK);
  EXPECT_EQ(table(), before);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_TRUE(is_committed());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(mdfstab_del, leaves_its_temporary_file_when_the_mount_point_is_not_listed) {
  table("# dropped\n /dev/vg1/a /mnt/a xfs\n");
  EXPECT_EQ(del_mdfstab("/mnt/d"), ORV_OK);
  EXPECT_THAT(machine.temp_files(), ElementsAre("mdfstab.XXXXXX"));
  machine.tool("cat").is_real();
  EXPECT_EQ(std::system("cat /tmp/mdfstab.*"), 0);
  EXPECT_EQ(machine.output(), "/dev/vg1/a /mnt/a xfs\n");
}

TEST_F(mdfstab_del, takes_only_the_whole_mount_point) {
  const std::string others =
      "/dev/vg1/a /mnt/b2 xfs\n/dev/vg1/b /mnt xfs\n/mnt/b /mnt/a xfs\n/dev/vg1/c /mnt/b/ xfs\n";
  EXPECT_EQ(after_deleting("/mnt/b", others), others);
}

TEST_F(mdfstab_del, finds_a_mount_point_with_separators_in_it) {
  ASSERT_EQ(add_mdfstab("/mnt/my disk", "vg1", "a"), ORV_OK);
  ASSERT_EQ(add_mdfstab("/mnt/my", "vg1", "b"), ORV_OK);
  ASSERT_EQ(add_mdfstab("/mnt/a\\b\n\tc", "vg1", "c"), ORV_OK);
  EXPECT_EQ(del_mdfstab("/mnt/my disk"), ORV_OK);
  EXPECT_EQ(del_mdfstab("/mnt/a\\b\n\tc"), ORV_OK);
  EXPECT_EQ(table(), "/dev/vg1/b\t/mnt/my\txfs\tdefaults\t0 0\n");
}

TEST_F(mdfstab_del, gives_the_mount_point_to_no_command) {
  table(three_entries);
  EXPECT_EQ(del_mdfstab("/mnt/b; reboot $(reboot) '"), ORV_OK);
  EXPECT_EQ(del_mdfstab("-b"), ORV_OK);
  EXPECT_EQ(table(), three_entries);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(mdfstab_del, finds_no_entry_for_a_missing_mount_point) {
  const std::string lines = "one\n/dev/vg1/a /mnt/a xfs\n";
  EXPECT_EQ(after_deleting("", lines), lines);
  EXPECT_EQ(del_mdfstab(nullptr), ORV_OK);
  EXPECT_EQ(table(), lines);
}

TEST_F(mdfstab_del, keeps_long_lines_whole) {
  const std::string long_line = "/dev/vg1/a /mnt/a xfs " + std::string(100000, 'o');
  EXPECT_EQ(after_deleting("/mnt/b", long_line + "\n/dev/vg1/b /mnt/b xfs\n"), long_line + '\n');
}

TEST_F(mdfstab_del, finds_the_mount_point_behind_a_long_word) {
  const std::string long_line = std::string(100000, 'd') + " /mnt/b xfs\n";
  EXPECT_EQ(after_deleting("/mnt/b", long_line + "word\n"), "word\n");
}

TEST_F(mdfstab_del, keeps_binary_lines) {
  const std::string binary("\x01\0\xff /mnt/a x\n", 13);
  EXPECT_EQ(after_deleting("/mnt/b", binary + "/dev/vg1/b /mnt/b xfs\n"), binary);
}

TEST_F(mdfstab_del, keeps_the_mode) {
  table(three_entries, 0664);
  EXPECT_EQ(del_mdfstab("/mnt/b"), ORV_OK);
  EXPECT_EQ(machine.mode(table_path), 0664U);
}

TEST_F(mdfstab_del, keeps_the_owner) {
  table(three_entries);
  if (::chown(table_path, 8, 12) != 0) GTEST_SKIP() << "needs a second user";
  EXPECT_EQ(del_mdfstab("/mnt/b"), ORV_OK);
  struct stat found {};
  ASSERT_EQ(::lstat(table_path, &found), 0);
  EXPECT_EQ(found.st_uid, 8U);
  EXPECT_EQ(found.st_gid, 12U);
}

TEST_F(mdfstab_del, reports_a_missing_table) {
  expect_failure("No such file or directory");
  EXPECT_FALSE(machine.exists(table_path));
}

TEST_F(mdfstab_del, reports_a_table_that_cannot_be_read) {
  machine.directory(table_path);
  expect_failure("Is a directory");
}

TEST_F(mdfstab_del, reports_that_no_temporary_file_can_be_made) {
  table(three_entries);
  machine.fail("mkstemp", EMFILE);
  expect_failure("Too many open files");
  EXPECT_EQ(table(), three_entries);
}

TEST_F(mdfstab_del, reports_a_temporary_file_that_cannot_be_written) {
  machine.mount_tmpfs("/tmp", "size=4k");
  const std::string before =
      three_entries + std::string(100, 'x') + ' ' + std::string(5000, 'y') + '\n';
  table(before);
  expect_failure("No space left on device");
  EXPECT_EQ(table(), before);
}

TEST_F(mdfstab_del, moves_nothing_that_is_not_on_the_disk) {
  table(three_entries);
  machine.fail("fsync", EIO);
  expect_failure("Input/output error");
  EXPECT_EQ(table(), three_entries);
}

class mdfstab_del_move : public fs_test {};

TEST_F(mdfstab_del_move, is_logged_when_it_fails_and_changes_nothing) {
  machine.tool("mv").on("/tmp/mdfstab.XXXXXX /etc/mdfstab").fails(1);
  table(three_entries);
  EXPECT_EQ(del_mdfstab("/mnt/b"), ORV_E_COMMAND);
  EXPECT_EQ(table(), three_entries);
  EXPECT_FALSE(is_committed());
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_THAT(machine.log(),
              testing::MatchesRegex("system\\(\"" + std::string(move_command) +
                                    "\"\\) return normal with exit\\(1\\) for '[^'\n]+'\n"));
}

TEST_F(mdfstab_del_move, leaves_the_new_table_in_tmp_when_it_fails_and_has_spoilt_the_old_one) {
  machine.tool("cat").is_real();
  machine.tool("rm").is_real();
  const std::string spoils[] = {"rm /etc/mdfstab", "echo -n /dev > /etc/mdfstab"};
  for (const std::string& spoil : spoils) {
    machine.tool("mv").on("/tmp/mdfstab.XXXXXX /etc/mdfstab").runs(spoil).fails(1);
    table(three_entries);
    machine.forget();
    EXPECT_EQ(del_mdfstab("/mnt/b"), ORV_E_COMMAND) << spoil;
    EXPECT_FALSE(is_committed());
    EXPECT_THAT(machine.log_lines(),
                ElementsAre(testing::StartsWith(std::string("system(\"") + move_command)));
    EXPECT_THAT(machine.temp_files(), ElementsAre("mdfstab.XXXXXX"));
    EXPECT_EQ(std::system("cat /tmp/mdfstab.*; rm /tmp/mdfstab.*"), 0);
    EXPECT_EQ(machine.output(),
              "/dev/vg1/a\t/mnt/a\txfs\tdefaults\t0 0\n"
              "/dev/vg1/c\t/mnt/c\txfs\tdefaults\t0 0\n");
  }
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

}  // namespace
