#include <fcntl.h>
#include <orv/support.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "tests/sandbox/sandbox.h"

using testing::ElementsAre;
using testing::IsEmpty;

class conf_save_ : public sandbox_test {
 protected:
  static constexpr const char* kept = "/var/lib/orv/kept/etc/samba/smb.conf";

  void SetUp() override { machine.file("/etc/samba/smb.conf", "[global]\n", 0640); }
};

TEST_F(conf_save_, keeps_a_copy_with_the_mode_of_the_file) {
  EXPECT_EQ(conf_save("/etc/samba/smb.conf"), 0);
  EXPECT_EQ(machine.read(kept), "[global]\n");
  EXPECT_EQ(machine.mode(kept), 0640U);
  EXPECT_EQ(machine.mode("/var/lib/orv/kept"), 0700U);
  EXPECT_EQ(machine.read("/etc/samba/smb.conf"), "[global]\n");
}

TEST_F(conf_save_, keeps_the_owner_of_the_file) {
  if (chown("/etc/samba/smb.conf", 8, 12) != 0) GTEST_SKIP() << "needs a second user";
  EXPECT_EQ(conf_save("/etc/samba/smb.conf"), 0);
  struct stat copy {};
  ASSERT_EQ(stat(kept, &copy), 0);
  EXPECT_EQ(copy.st_uid, 8U);
  EXPECT_EQ(copy.st_gid, 12U);
}

TEST_F(conf_save_, replaces_an_older_copy_and_leaves_nothing_else) {
  conf_save("/etc/samba/smb.conf");
  machine.file("/etc/samba/smb.conf", "new\n", 0600);
  EXPECT_EQ(conf_save("/etc/samba/smb.conf"), 0);
  EXPECT_EQ(machine.read(kept), "new\n");
  EXPECT_EQ(machine.mode(kept), 0600U);
  EXPECT_THAT(machine.list("/var/lib/orv/kept/etc/samba"), ElementsAre("smb.conf"));
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(conf_save_, runs_no_command) {
  conf_save("/etc/samba/smb.conf");
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_EQ(machine.output(), "");
}

TEST_F(conf_save_, leaves_the_record_locks_of_this_process) {
  const int file = open("/etc/samba/smb.conf", O_RDWR | O_CLOEXEC);
  struct flock lock {};
  lock.l_type = F_WRLCK;
  ASSERT_EQ(fcntl(file, F_SETLK, &lock), 0);
  EXPECT_EQ(conf_save("/etc/samba/smb.conf"), 0);
  const pid_t other = fork();
  if (other == 0) {
    struct flock seen {};
    seen.l_type = F_WRLCK;
    fcntl(file, F_GETLK, &seen);
    _exit(seen.l_type == F_UNLCK ? 1 : 0);
  }
  int status = -1;
  waitpid(other, &status, 0);
  EXPECT_EQ(status, 0) << "the lock was dropped";
  close(file);
}

TEST_F(conf_save_, copies_a_large_file_whole) {
  const std::string text(3000000, 'x');
  machine.file("/etc/samba/smb.conf", text);
  EXPECT_EQ(conf_save("/etc/samba/smb.conf"), 0);
  EXPECT_EQ(machine.read(kept), text);
}

TEST_F(conf_save_, reports_a_missing_file_and_keeps_the_older_copy) {
  conf_save("/etc/samba/smb.conf");
  machine.remove("/etc/samba/smb.conf");
  EXPECT_EQ(conf_save("/etc/samba/smb.conf"), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(machine.read(kept), "[global]\n");
}

TEST_F(conf_save_, reports_a_copy_that_cannot_be_written_and_leaves_no_part_of_it) {
  machine.mount_tmpfs("/var/lib/orv/kept", "size=64k");
  machine.file("/etc/samba/smb.conf", std::string(100000, 'x'));
  EXPECT_EQ(conf_save("/etc/samba/smb.conf"), -1);
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_THAT(machine.list("/var/lib/orv/kept/etc/samba"), IsEmpty());
}

TEST_F(conf_save_, puts_no_copy_in_place_that_is_not_on_disk) {
  conf_save("/etc/samba/smb.conf");
  machine.file("/etc/samba/smb.conf", "new\n");
  machine.fail("fsync", EIO, 1);
  EXPECT_EQ(conf_save("/etc/samba/smb.conf"), -1);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(machine.read(kept), "[global]\n");
  EXPECT_THAT(machine.list("/var/lib/orv/kept/etc/samba"), ElementsAre("smb.conf"));
}

TEST_F(conf_save_, reports_whatever_is_not_on_disk) {
  // The copy, its directory, the file and its directory.
  for (const int nth : {1, 2, 3, 4}) {
    machine.fail("fsync", EIO, nth);
    errno = 0;
    EXPECT_EQ(conf_save("/etc/samba/smb.conf"), -1) << nth;
    EXPECT_EQ(errno, EIO) << nth;
  }
  machine.fail("fsync", EIO, 5);
  EXPECT_EQ(conf_save("/etc/samba/smb.conf"), 0);
}

TEST_F(conf_save_, reports_a_copy_that_cannot_be_put_in_place_and_leaves_no_part_of_it) {
  machine.fail("rename", EACCES);
  EXPECT_EQ(conf_save("/etc/samba/smb.conf"), -1);
  EXPECT_EQ(errno, EACCES);
  EXPECT_THAT(machine.list("/var/lib/orv/kept/etc/samba"), IsEmpty());
}

TEST_F(conf_save_, does_not_wait_for_what_is_no_file) {
  ASSERT_EQ(mkfifo("/etc/pipe", 0600), 0);
  machine.directory("/etc/folder");
  for (const char* path : {"/etc/pipe", "/etc/folder"}) {
    EXPECT_EQ(conf_save(path), -1) << path;
    EXPECT_EQ(errno, EINVAL) << path;
  }
  EXPECT_THAT(machine.list("/var/lib/orv/kept/etc"), IsEmpty());
}

TEST_F(conf_save_, refuses_what_is_no_path_of_a_file) {
  for (const char* path : {"", "etc/hosts", "/etc/", "/etc/../etc/samba/smb.conf", "/etc/.."}) {
    EXPECT_EQ(conf_save(path), -1) << path;
    EXPECT_EQ(errno, EINVAL) << path;
  }
  EXPECT_EQ(conf_save(nullptr), -1);
}
