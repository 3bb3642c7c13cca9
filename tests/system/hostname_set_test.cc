/// The host name is that of the sandbox's own UTS namespace.
#include <fcntl.h>
#include <orv/system.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "tests/sandbox/bend.h"
#include "tests/sandbox/libc.h"
#include "tests/sandbox/sandbox.h"

using testing::IsEmpty;

class hostname_change : public sandbox_test {
 protected:
  hostname_change() { EXPECT_EQ(sethostname("before", 6), 0); }

  static std::string applied() {
    char name[256] = "";
    EXPECT_EQ(gethostname(name, sizeof name), 0);
    return name;
  }

  static constexpr char file[] = "/etc/hostname";
};

TEST_F(hostname_change, is_stored_without_a_line_end_and_applied) {
  EXPECT_EQ(hostname_set("storage-10"), ORV_OK);
  EXPECT_EQ(machine.read(file), "storage-10");
  EXPECT_EQ(machine.mode(file), 0600U);
  EXPECT_EQ(applied(), "storage-10");
  EXPECT_EQ(machine.read("/var/lib/orv/kept/etc/hostname"), "storage-10");
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(hostname_change, replaces_a_longer_name_and_keeps_the_mode) {
  machine.file(file, "a-much-longer-name.example\nand more\n", 0644);
  EXPECT_EQ(hostname_set("nas"), ORV_OK);
  EXPECT_EQ(machine.read(file), "nas");
  EXPECT_EQ(machine.mode(file), 0644U);
}

TEST_F(hostname_change, is_read_back_by_the_getter) {
  EXPECT_EQ(hostname_set("nas-7"), ORV_OK);
  char name[16] = "";
  EXPECT_EQ(hostname_get(name, sizeof name), ORV_OK);
  EXPECT_STREQ(name, "nas-7");
}

TEST_F(hostname_change, may_have_64_bytes) {
  const std::string longest(64, 'n');
  EXPECT_EQ(hostname_set(longest.c_str()), ORV_OK);
  EXPECT_EQ(applied(), longest);
}

TEST_F(hostname_change, that_the_system_refuses_is_in_the_file_already) {
  const std::string too_long(65, 'n');
  EXPECT_EQ(hostname_set(too_long.c_str()), -2003);
  EXPECT_EQ(machine.read(file), too_long);
  EXPECT_EQ(applied(), "before");
  EXPECT_EQ(machine.log(), "set the current hostname fail for 'Invalid argument'!");
  EXPECT_FALSE(machine.exists("/var/lib/orv/kept/etc/hostname"));
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(hostname_change, file_that_cannot_be_opened_changes_nothing) {
  machine.directory(file);
  EXPECT_EQ(hostname_set("nas"), -2001);
  EXPECT_EQ(machine.log(), "can't open or create the file for 'Is a directory'!");
  EXPECT_EQ(applied(), "before");
}

TEST_F(hostname_change, file_on_a_read_only_disk_changes_nothing) {
  machine.mount_tmpfs("/etc");
  machine.file(file, "before");
  machine.remount_read_only("/etc");
  EXPECT_EQ(hostname_set("nas"), -2001);
  EXPECT_EQ(machine.log(), "can't open or create the file for 'Read-only file system'!");
  EXPECT_EQ(machine.read(file), "before");
}

TEST_F(hostname_change, file_on_a_full_disk_is_reported) {
  machine.link(file, "/dev/full");
  EXPECT_EQ(hostname_set("nas"), -2002);
  EXPECT_EQ(machine.log(), "can't write the file for 'No space left on device'!");
  EXPECT_EQ(applied(), "before");
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(hostname_change, waits_ten_seconds_for_another_one) {
  EXPECT_EQ(hostname_set("nas"), ORV_OK);
  const int other = ::open("/var/lib/orv/lock/hostname", O_RDWR | O_CLOEXEC);
  ASSERT_EQ(::flock(other, LOCK_EX), 0);
  sandbox::hasten(std::chrono::seconds(4));
  EXPECT_EQ(hostname_set("other"), -2001);
  EXPECT_EQ(machine.log(), "can't open or create the file for 'Resource temporarily unavailable'!");
  EXPECT_EQ(machine.read(file), "nas");
  EXPECT_EQ(applied(), "nas");
  ::close(other);
  EXPECT_EQ(hostname_set("other"), ORV_OK);
  EXPECT_EQ(applied(), "other");
}

/// Where a new file cannot take the place of the old one, that is written where it is.
TEST_F(hostname_change, is_stored_where_no_new_file_can_be_made) {
  machine.file(file, "a name of before", 0644);
  constexpr int third = 3;  // after the lock and the file itself
  const std::pair<const char*, int> failing[] = {{"lstat", 1}, {"fstat", 1},  {"open", third},
                                                 {"write", 1}, {"fchown", 1}, {"fchmod", 1},
                                                 {"fsync", 1}, {"rename", 1}};
  for (const auto& [function, nth_call] : failing) {
    machine.fail(function, EIO, nth_call);
    const std::string name = std::string("without-") + function;
    EXPECT_EQ(hostname_set(name.c_str()), ORV_OK) << function;
    EXPECT_EQ(machine.read(file), name);
    EXPECT_EQ(machine.mode(file), 0644U) << function;
    EXPECT_FALSE(machine.exists("/etc/hostname+")) << function;
    EXPECT_EQ(applied(), name);
    sandbox::libc::reset();
  }
  EXPECT_EQ(machine.log(), "");
}

TEST_F(hostname_change, does_not_replace_a_file_that_came_meanwhile) {
  machine.file(file, "before", 0644);
  sandbox::before("lstat", [this] {
    machine.remove(file);
    machine.file(file, "of somebody else", 0640);
  });
  EXPECT_EQ(hostname_set("nas"), ORV_OK);
  EXPECT_EQ(machine.read(file), "nas");
  EXPECT_EQ(machine.mode(file), 0640U);
}

TEST_F(hostname_change, file_that_cannot_be_opened_again_is_reported) {
  machine.file(file, "before");
  machine.fail("lstat", EIO, 1);
  machine.fail("open", EMFILE, 3);
  EXPECT_EQ(hostname_set("nas"), -2002);
  EXPECT_EQ(machine.log(), "can't write the file for 'Too many open files'!");
  EXPECT_EQ(machine.read(file), "before");
  EXPECT_EQ(applied(), "before");
  EXPECT_FALSE(machine.exists("/var/lib/orv/kept/etc/hostname"));
}

TEST_F(hostname_change, never_adds_a_line) {
  EXPECT_EQ(hostname_set("nas\nroot::0\r\t\x7f."), ORV_OK);
  EXPECT_EQ(machine.read(file), "nas root::0   .");
  EXPECT_EQ(applied(), "nas root::0   .");
}

TEST_F(hostname_change, may_have_any_other_character) {
  EXPECT_EQ(hostname_set("-n $(x);'\" \xc3\xbc[=#"), ORV_OK);
  EXPECT_EQ(machine.read(file), "-n $(x);'\" \xc3\xbc[=#");
  EXPECT_EQ(applied(), "-n $(x);'\" \xc3\xbc[=#");
}

TEST_F(hostname_change, that_is_missing_is_the_empty_name) {
  for (const char* name : {static_cast<const char*>(nullptr), ""}) {
    EXPECT_EQ(hostname_set(name), ORV_OK);
    EXPECT_EQ(machine.read(file), "");
  }
}
