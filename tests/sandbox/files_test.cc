/// Files, directories and mounts of the machine.
#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>

#include "code.h"
#include "sandbox.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Files = sandbox_test;

TEST_F(Files, AreWrittenWithTheirDirectories) {
  machine.file("/sys/block/sda/device/model", "ST3500630NS\n");
  EXPECT_EQ(machine.read("/sys/block/sda/device/model"), "ST3500630NS\n");
  EXPECT_EQ(machine.mode("/sys/block/sda/device/model"), 0644U);
  EXPECT_THAT(machine.list("/sys/block"), ElementsAre("sda"));
}

TEST_F(Files, AreReplacedWithTheirMode) {
  machine.file("/etc/shadow", "long content\n", 0644);
  machine.file("/etc/shadow", "short\n", 0600);
  EXPECT_EQ(machine.read("/etc/shadow"), "short\n");
  EXPECT_EQ(machine.mode("/etc/shadow"), 0600U);
}

TEST_F(Files, OfTheRealMachineAreOutOfSight) {
  EXPECT_THAT(machine.list("/etc"), IsEmpty());
  EXPECT_THAT(machine.list("/proc"), IsEmpty());
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_THAT(machine.list("/dev"), ElementsAre("full", "log", "null", "zero"));
  EXPECT_THAT(machine.list(),
              ElementsAre("bin", "dev", "etc", "mnt", "proc", "sbin", "sys", "tmp", "usr", "var"));
  EXPECT_EQ(machine.mode("/tmp"), 01777U);
}

TEST_F(Files, BinaryContentComesBack) {
  const std::string bytes("a\0b\377\n", 5);
  machine.file("/var/lib/x", bytes);
  EXPECT_EQ(machine.read("/var/lib/x"), bytes);
}

TEST_F(Files, CanBeLinksAndDirectories) {
  machine.directory("/mnt/data/share", 0770);
  machine.link("/etc/link", "/mnt/data/nowhere");
  EXPECT_EQ(machine.mode("/mnt/data/share"), 0770U);
  EXPECT_TRUE(machine.exists("/etc/link"));
  EXPECT_FALSE(machine.exists("/mnt/data/nowhere"));
}

TEST_F(Files, AndWholeTreesAreRemoved) {
  machine.file("/mnt/a/b/c", "x");
  machine.link("/mnt/a/link", "/etc");
  machine.remove("/mnt/a");
  machine.remove("/mnt/a");
  EXPECT_FALSE(machine.exists("/mnt/a"));
  EXPECT_TRUE(machine.exists("/etc"));
}

TEST_F(Files, MissingOnesEndTheTestWithTheirName) {
  EXPECT_THROW(machine.read("/etc/none"), std::runtime_error);
  EXPECT_THROW(machine.mode("/etc/none"), std::system_error);
  EXPECT_THROW(machine.list("/etc/none"), std::system_error);
}

TEST_F(Files, BelongToOthersWhereTheMachineKnowsThem) {
  machine.file("/etc/shadow", "");
  EXPECT_EQ(::chown("/etc/shadow", 0, 42) == 0, machine.knows_other_users());
}

TEST_F(Files, DevicesWork) {
  std::ofstream("/dev/null") << "x";
  const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
  EXPECT_EQ(::write(full, "x", 1), -1);
  EXPECT_EQ(errno, ENOSPC);
  ::close(full);
}

TEST_F(Files, FileSystemsOfTheirOwnFillUp) {
  machine.mount_tmpfs("/mnt/data", "size=64k");
  machine.tool("dd").is_real();
  EXPECT_NE(sandbox::run("dd if=/dev/zero of=/mnt/data/big bs=1k count=100 2> /dev/null"), 0);
  struct statvfs found {};
  EXPECT_EQ(::statvfs("/mnt/data", &found), 0);
  EXPECT_EQ(found.f_blocks * found.f_frsize, 65536U);
  EXPECT_EQ(found.f_bavail, 0U);
}

TEST_F(Files, FileSystemsOfTheirOwnCanBeReadOnlyAndGo) {
  machine.mount_tmpfs("/mnt/data");
  machine.file("/mnt/data/x", "x");
  machine.remount_read_only("/mnt/data");
  EXPECT_EQ(::open("/mnt/data/y", O_WRONLY | O_CREAT | O_CLOEXEC, 0600), -1);
  EXPECT_EQ(errno, EROFS);
  machine.unmount("/mnt/data");
  EXPECT_THAT(machine.list("/mnt/data"), IsEmpty());
}

}  // namespace
