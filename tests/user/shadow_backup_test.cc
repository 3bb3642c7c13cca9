#include <fcntl.h>
#include <sys/stat.h>
#include <utime.h>

#include <cstdio>

#include "tests/user/user_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class shadow_backup : public sandbox_test {
 protected:
  shadow_backup() { machine.file("/etc/source", content, 0644); }
  ~shadow_backup() override { std::fclose(source_); }
  void TearDown() override { EXPECT_THAT(machine.temp_files(), IsEmpty()); }

  FILE* source() { return source_ = std::fopen("/etc/source", "re"); }

  const std::string content = std::string("line\n\0\xff\n", 8) + std::string(100000, 'x');
  FILE* source_ = nullptr;
};

TEST_F(shadow_backup, copies_the_whole_stream_wherever_it_stands) {
  FILE* const stream = source();
  std::fseek(stream, 50, SEEK_SET);
  EXPECT_EQ(create_backup("/etc/backup", stream), 0);
  EXPECT_EQ(machine.read("/etc/backup"), content);
  EXPECT_EQ(machine.read("/etc/source"), content);
  EXPECT_EQ(machine.mode("/etc/backup"), 0600U);
  EXPECT_EQ(machine.log(), "");
}

TEST_F(shadow_backup, takes_over_the_times) {
  const utimbuf times{1000000000, 1100000000};
  ASSERT_EQ(::utime("/etc/source", &times), 0);
  EXPECT_EQ(create_backup("/etc/backup", source()), 0);
  struct stat copy {};
  ASSERT_EQ(::stat("/etc/backup", &copy), 0);
  EXPECT_EQ(copy.st_atim.tv_sec, 1000000000);
  EXPECT_EQ(copy.st_mtim.tv_sec, 1100000000);
}

TEST_F(shadow_backup, replaces_an_older_and_longer_one_and_keeps_its_mode) {
  machine.file("/etc/backup", content + "more", 0640);
  EXPECT_EQ(create_backup("/etc/backup", source()), 0);
  EXPECT_EQ(machine.read("/etc/backup"), content);
  EXPECT_EQ(machine.mode("/etc/backup"), 0640U);
}

TEST_F(shadow_backup, of_an_empty_stream_is_empty) {
  machine.file("/etc/source", "");
  EXPECT_EQ(create_backup("/etc/backup", source()), 0);
  EXPECT_EQ(machine.read("/etc/backup"), "");
}

TEST_F(shadow_backup, reports_every_failure) {
  FILE* const stream = source();
  EXPECT_EQ(create_backup("/no/directory", stream), 1);
  EXPECT_EQ(create_backup("/etc", stream), 1);
  EXPECT_EQ(create_backup("", stream), 1);
  EXPECT_EQ(create_backup("/dev/full", stream), 1);
  machine.fail("fstat", EIO, 1);
  EXPECT_EQ(create_backup("/etc/backup", stream), 1);
  EXPECT_FALSE(machine.exists("/etc/backup"));
  EXPECT_EQ(create_backup("/etc/backup", stream), 0);
}

TEST_F(shadow_backup, reports_a_stream_that_cannot_be_read) {
  source_ = std::fopen("/etc", "re");
  EXPECT_EQ(create_backup("/tmp-backup", source_), 1);
}

TEST_F(shadow_backup, reports_a_full_disk) {
  machine.mount_tmpfs("/small", "size=4k");
  EXPECT_EQ(create_backup("/small/backup", source()), 1);
}

TEST_F(shadow_backup, reports_a_full_disk_when_the_last_of_it_is_written) {
  machine.mount_tmpfs("/small", "size=4k");
  machine.file("/small/rest", std::string(4096, 'x'));
  machine.file("/etc/source", "short\n");
  EXPECT_EQ(create_backup("/small/backup", source()), 1);
}

TEST_F(shadow_backup, reports_a_backup_that_cannot_be_closed_or_emptied) {
  FILE* const stream = source();
  machine.file("/etc/backup", "old", 0666);
  machine.fail("fdopen", ENOMEM, 1);
  EXPECT_EQ(create_backup("/etc/backup", stream), 1);
  machine.fail("fstat", EIO, 2);
  EXPECT_EQ(create_backup("/etc/backup", stream), 1);
  machine.fail("fchmod", EROFS, 1);
  EXPECT_EQ(create_backup("/etc/backup", stream), 1);
  machine.fail("ftruncate", EIO, 1);
  EXPECT_EQ(create_backup("/etc/backup", stream), 1);
  EXPECT_EQ(machine.read("/etc/backup"), "old");
  machine.fail("futimens", EPERM, 1);
  EXPECT_EQ(create_backup("/etc/backup", stream), 1);
  EXPECT_THAT(machine.open_descriptors(), ElementsAre(testing::EndsWith(" /etc/source")));
  EXPECT_EQ(create_backup("/etc/backup", stream), 0);
  EXPECT_EQ(machine.read("/etc/backup"), content);
  EXPECT_EQ(machine.mode("/etc/backup"), 0644U);
}

TEST_F(shadow_backup, refuses_a_missing_argument) {
  EXPECT_EQ(create_backup(nullptr, source()), 1);
  EXPECT_EQ(create_backup("/etc/backup", nullptr), 1);
  EXPECT_EQ(machine.log(),
            "create_backup:N return -1 with Invalid argument\n"
            "create_backup:N return -1 with Invalid argument\n");
  EXPECT_FALSE(machine.exists("/etc/backup"));
}

}  // namespace
