/// Changes of the table that are kept from it: by another change, or by what fails underneath.
#include <fcntl.h>
#include <orv/fs.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "tests/fs/file_systems.h"
#include "tests/sandbox/bend.h"

using testing::IsEmpty;

namespace {

constexpr char entries[] = "/dev/vg1/a\t/mnt/a\txfs\tdefaults\t0 0\n";
constexpr char added[] = "/dev/vg1/data\t/mnt/data\txfs\tdefaults\t0 0\n";

class mdfstab_faults : public fs_test {
 protected:
  mdfstab_faults() {
    machine.tool("mv").is_real();
    model("KTA7120X");
    table(entries);
  }
  void TearDown() override {
    EXPECT_THAT(machine.temp_files(), IsEmpty());
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  }

  static int add() { return add_mdfstab("/mnt/data", "vg1", "data"); }

  void expect_not_added(const std::string& reason) {
    EXPECT_EQ(add(), ORV_E_MOUNT_TABLE);
    EXPECT_EQ(machine.log(), "cannot open /etc/mdfstab for " + reason);
    EXPECT_FALSE(is_committed());
    machine.forget();
  }
  void expect_added_and_deleted() {
    EXPECT_EQ(add(), ORV_OK);
    EXPECT_EQ(table(), std::string(entries) + added);
    EXPECT_EQ(del_mdfstab("/mnt/data"), ORV_OK);
    EXPECT_EQ(table(), entries);
    EXPECT_EQ(machine.log(), "");
  }
};

TEST_F(mdfstab_faults, change_waits_ten_seconds_for_another_one) {
  expect_added_and_deleted();
  machine.remove("/var/lib/orv/kept");
  const int other = ::open("/var/lib/orv/lock/mdfstab", O_RDWR | O_CLOEXEC);
  ASSERT_EQ(::flock(other, LOCK_EX), 0);
  sandbox::hasten(std::chrono::seconds(4));
  expect_not_added("Resource temporarily unavailable");
  EXPECT_EQ(del_mdfstab("/mnt/a"), ORV_E_MOUNT_TABLE);
  EXPECT_EQ(machine.log(),
            "cannot open /etc/mdfstab or tmpfile for Resource temporarily unavailable");
  EXPECT_EQ(table(), entries);
  EXPECT_FALSE(is_committed());
  machine.forget();
  ::close(other);
  expect_added_and_deleted();
}

TEST_F(mdfstab_faults, change_goes_on_when_the_other_one_has_ended) {
  expect_added_and_deleted();
  const int other = ::open("/var/lib/orv/lock/mdfstab", O_RDWR | O_CLOEXEC);
  ASSERT_EQ(::flock(other, LOCK_EX), 0);
  // Before the second attempt.
  sandbox::before("flock", [other] { sandbox::before("flock", [other] { ::close(other); }); });
  expect_added_and_deleted();
}

TEST_F(mdfstab_faults, change_needs_no_lock_where_there_is_none) {
  for (const int error : {EINTR, ENOLCK}) {
    machine.fail("flock", error, 1);
    expect_added_and_deleted();
  }
  machine.remove("/var/lib/orv");
  machine.file("/var/lib/orv/lock", "in the way");
  expect_added_and_deleted();
}

TEST_F(mdfstab_faults, change_that_cannot_be_committed_is_made) {
  machine.file("/var/lib/orv/kept", "in the way");
  expect_added_and_deleted();
  EXPECT_EQ(machine.read("/var/lib/orv/kept"), "in the way");
}

TEST_F(mdfstab_faults, table_that_cannot_be_read_or_examined_is_not_written) {
  machine.fail("fread", EIO, 1);
  expect_not_added("Input/output error");
  machine.fail("fstat", ENOMEM, 1);
  expect_not_added("Cannot allocate memory");
  EXPECT_EQ(table(), entries);
}

TEST_F(mdfstab_faults, table_that_cannot_be_written_stays) {
  machine.fail("write", EIO, 1);
  expect_not_added("Input/output error");
  EXPECT_EQ(table(), entries);
}

TEST_F(mdfstab_faults, part_of_an_entry_that_cannot_be_taken_back_is_reported) {
  machine.mount_tmpfs("/etc", "size=8k");
  model("KTA7120X");
  const std::string before = '#' + std::string(4070, '-') + '\n';  // 24 bytes of its page are free
  table(before);
  machine.fail("ftruncate", EROFS, 1);
  expect_not_added("Read-only file system");
  EXPECT_EQ(table(), before + std::string(added, 24));
}

}  // namespace
