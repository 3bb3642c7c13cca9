#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/disk/machine_with_disks.h"
#include "tests/sandbox/bend.h"

using testing::IsEmpty;

class diskinfo_file : public sandbox_test {};

TEST_F(diskinfo_file, is_a_copy) {
  machine.file("/proc/scsi/mvSata/0", "one\ntwo\n");
  EXPECT_EQ(get_diskinfo_to_file("/proc/scsi/mvSata/0", "/tmp/copy"), 0);
  EXPECT_EQ(machine.read("/tmp/copy"), "one\ntwo\n");
  EXPECT_EQ(machine.mode("/tmp/copy") & 0700, 0600U);
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(diskinfo_file, has_at_most_280_bytes) {
  machine.file("/source", std::string(279, 'a') + "bc");
  EXPECT_EQ(get_diskinfo_to_file("/source", "/tmp/copy"), 0);
  EXPECT_EQ(machine.read("/tmp/copy"), std::string(279, 'a') + "b");
}

TEST_F(diskinfo_file, has_mode_0644_when_no_bit_is_masked) {
  machine.file("/source", "text");
  const mode_t mask = umask(0);
  EXPECT_EQ(get_diskinfo_to_file("/source", "/tmp/copy"), 0);
  umask(mask);
  EXPECT_EQ(machine.mode("/tmp/copy"), 0644U);
}

TEST_F(diskinfo_file, has_what_one_read_brings) {
  ASSERT_EQ(mkfifo("/pipe", 0600), 0);
  const int writer = open("/pipe", O_RDWR | O_CLOEXEC);
  ASSERT_EQ(write(writer, "ab", 2), 2);
  // Before a second read there is more, and an end.
  sandbox::before("read", [writer] {
    sandbox::before("read", [writer] {
      EXPECT_EQ(write(writer, "cd", 2), 2);
      close(writer);
    });
  });
  EXPECT_EQ(get_diskinfo_to_file("/pipe", "/tmp/copy"), 0);
  EXPECT_EQ(machine.read("/tmp/copy"), "ab");
}

TEST_F(diskinfo_file, overwrites_the_beginning_of_an_older_one) {
  machine.file("/source", "new");
  machine.file("/tmp/copy", "older text", 0600);
  EXPECT_EQ(get_diskinfo_to_file("/source", "/tmp/copy"), 0);
  EXPECT_EQ(machine.read("/tmp/copy"), "newer text");
  EXPECT_EQ(machine.mode("/tmp/copy"), 0600U);
}

TEST_F(diskinfo_file, is_empty_without_a_source) {
  EXPECT_EQ(get_diskinfo_to_file("/none", "/tmp/copy"), 0);
  EXPECT_EQ(machine.read("/tmp/copy"), "");
  machine.file("/tmp/copy", "kept");
  EXPECT_EQ(get_diskinfo_to_file(nullptr, "/tmp/copy"), 0);
  EXPECT_EQ(machine.read("/tmp/copy"), "kept");
}

TEST_F(diskinfo_file, that_cannot_be_opened_cannot_be_closed) {
  machine.file("/source", "text");
  EXPECT_EQ(get_diskinfo_to_file("/source", "/none/copy"), -1);
  EXPECT_EQ(get_diskinfo_to_file("/source", nullptr), -1);
  EXPECT_EQ(get_diskinfo_to_file("", ""), -1);
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}
