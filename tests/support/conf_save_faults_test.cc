/// What may go wrong while a file is committed, and what it may find in its way.
#include <orv/support.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "tests/sandbox/bend.h"
#include "tests/sandbox/sandbox.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class conf_save_faults : public sandbox_test {
 protected:
  static constexpr char path[] = "/etc/smb.conf";
  static constexpr char kept[] = "/var/lib/orv/kept/etc/smb.conf";
  static constexpr char kept_folder[] = "/var/lib/orv/kept/etc";

  void SetUp() override { machine.file(path, "[global]\n", 0640); }
  void TearDown() override { EXPECT_THAT(machine.open_descriptors(), IsEmpty()); }

  void expect_failure(int reason) {
    errno = 0;
    EXPECT_EQ(conf_save(path), -1);
    EXPECT_EQ(errno, reason);
    EXPECT_THAT(machine.list(kept_folder), IsEmpty());
    EXPECT_EQ(machine.read(path), "[global]\n");
  }

  static struct stat examined(const std::string& file) {
    struct stat found {};
    EXPECT_EQ(::stat(file.c_str(), &found), 0) << file;
    return found;
  }
  /// The file's text beside it, as a rewrite in place leaves it.
  std::string companion(const std::string& text, mode_t mode) {
    const struct stat of = examined(path);
    const std::string beside =
        "/var/lib/orv/rewrites/" + std::to_string(of.st_dev) + '-' + std::to_string(of.st_ino);
    machine.file(beside, text, mode);
    return beside;
  }
  bool is_link_to(const std::string& other) {
    return examined(kept).st_ino == examined(other).st_ino;
  }
};

TEST_F(conf_save_faults, copy_that_cannot_have_its_owner_or_mode_is_none) {
  machine.fail("fchown", EPERM, 1);
  expect_failure(EPERM);
  machine.fail("fchmod", EROFS, 1);
  expect_failure(EROFS);
}

TEST_F(conf_save_faults, copy_that_cannot_be_examined_or_copied_is_none) {
  machine.fail("fstat", EIO, 1);
  expect_failure(EIO);
  machine.fail("sendfile", EIO, 1);
  expect_failure(EIO);
}

TEST_F(conf_save_faults, copy_that_cannot_be_made_is_none) {
  machine.fail("mkstemp", EMFILE, 1);
  expect_failure(EMFILE);
}

TEST_F(conf_save_faults, folder_that_is_moved_away_meanwhile_is_reported) {
  machine.file("/conf/smb.conf", "[global]\n");
  // The copy is synced, its folder, the file, and then the file's folder.
  sandbox::before("fsync", [] {
    sandbox::before("fsync", [] {
      sandbox::before("fsync", [] { EXPECT_EQ(::rename("/conf", "/moved"), 0); });
    });
  });
  EXPECT_EQ(conf_save("/conf/smb.conf"), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(machine.read("/var/lib/orv/kept/conf/smb.conf"), "[global]\n");
}

TEST_F(conf_save_faults, parts_that_cannot_be_looked_for_stay) {
  const std::string part = std::string(kept_folder) + "/smb.conf.new999999999-abcdef";
  machine.file(part, "part");
  machine.fail("opendir", EMFILE, 1);
  EXPECT_EQ(conf_save(path), 0);
  EXPECT_TRUE(machine.exists(part));
}

TEST_F(conf_save_faults, interrupted_copy_goes_on) {
  machine.fail("sendfile", EINTR, 1);
  EXPECT_EQ(conf_save(path), 0);
  EXPECT_EQ(machine.read(kept), "[global]\n");
}

TEST_F(conf_save_faults, file_that_becomes_shorter_meanwhile_is_copied_as_far_as_it_goes) {
  sandbox::before("sendfile", [] { EXPECT_EQ(::truncate(path, 4), 0); });
  EXPECT_EQ(conf_save(path), 0);
  EXPECT_EQ(machine.read(kept), "[glo");
}

TEST_F(conf_save_faults, child_that_cannot_be_made_is_reported) {
  machine.fail("clone", EAGAIN, 1);
  expect_failure(EAGAIN);
}

TEST_F(conf_save_faults, interrupted_wait_goes_on) {
  machine.fail("waitpid", EINTR, 1);
  EXPECT_EQ(conf_save(path), 0);
  EXPECT_EQ(machine.read(kept), "[global]\n");
}

TEST_F(conf_save_faults, child_that_was_waited_for_by_another_one_is_done) {
  sandbox::before("waitpid", [] { EXPECT_GT(::wait4(-1, nullptr, __WALL, nullptr), 0); });
  EXPECT_EQ(conf_save(path), 0);
  EXPECT_EQ(machine.read(kept), "[global]\n");
}

TEST_F(conf_save_faults, parts_of_threads_that_are_gone_are_swept_and_nothing_else) {
  const std::string own = "smb.conf.new" + std::to_string(::getpid()) + "-abcdef";
  const std::string gone = "smb.conf.new999999999-abcdef";
  for (const std::string& name : {own, gone, std::string("smb.conf.newly"), std::string("other")})
    machine.file(std::string(kept_folder) + '/' + name, "part");
  EXPECT_EQ(conf_save(path), 0);
  EXPECT_THAT(machine.list(kept_folder), ElementsAre("other", "smb.conf", own, "smb.conf.newly"));
}

TEST_F(conf_save_faults, thread_that_may_not_be_asked_is_there) {
  const std::string part = std::string(kept_folder) + "/smb.conf.new999999999-abcdef";
  machine.file(part, "part");
  machine.fail("kill", EPERM, 1);
  EXPECT_EQ(conf_save(path), 0);
  EXPECT_TRUE(machine.exists(part));
  EXPECT_EQ(conf_save(path), 0);
  EXPECT_FALSE(machine.exists(part));
}

TEST_F(conf_save_faults, copy_is_a_link_to_what_stands_beside_the_file) {
  const std::string beside = companion("[global]\n", 0640);
  EXPECT_EQ(conf_save(path), 0);
  EXPECT_TRUE(is_link_to(beside));
  EXPECT_EQ(conf_save(path), 0) << "a link already";
  EXPECT_TRUE(is_link_to(beside));
  EXPECT_THAT(machine.list(kept_folder), ElementsAre("smb.conf"));
}

TEST_F(conf_save_faults, copy_is_no_link_to_anything_else) {
  for (const char* const text : {"[glob", "[GLOBAL]\n"}) {
    const std::string beside = companion(text, 0640);
    EXPECT_EQ(conf_save(path), 0);
    EXPECT_FALSE(is_link_to(beside)) << text;
    EXPECT_EQ(machine.read(kept), "[global]\n");
  }
  const std::string open = companion("[global]\n", 0644);
  EXPECT_EQ(conf_save(path), 0);
  EXPECT_FALSE(is_link_to(open));
  EXPECT_EQ(machine.mode(kept), 0640U);
  if (!machine.knows_other_users()) GTEST_SKIP() << "needs a second user";
  const std::string beside = companion("[global]\n", 0640);
  for (const auto& [user, group] : {std::pair(8U, 0U), std::pair(0U, 12U)}) {
    ASSERT_EQ(::chown(beside.c_str(), user, group), 0);
    EXPECT_EQ(conf_save(path), 0);
    EXPECT_FALSE(is_link_to(beside)) << user << ' ' << group;
  }
}

TEST_F(conf_save_faults, copy_is_no_link_where_that_cannot_be_compared) {
  const std::string beside = companion("[global]\n", 0640);
  machine.fail("pread", EIO, 1);
  EXPECT_EQ(conf_save(path), 0);
  EXPECT_FALSE(is_link_to(beside));
  machine.fail("pread", EIO, 2);
  EXPECT_EQ(conf_save(path), 0);
  EXPECT_FALSE(is_link_to(beside));
  for (const int nth : {1, 2}) {
    machine.fail("fstat", EIO, nth);
    EXPECT_EQ(conf_save(path), 0);
    EXPECT_FALSE(is_link_to(beside)) << nth;
  }
  machine.fail("stat", EIO, 1);
  EXPECT_EQ(conf_save(path), 0);
  EXPECT_FALSE(is_link_to(beside));
  EXPECT_EQ(machine.read(kept), "[global]\n");
}

TEST_F(conf_save_faults, copy_that_cannot_be_linked_into_its_place_is_written_there) {
  const std::string beside = companion("[global]\n", 0640);
  machine.fail("rename", EIO, 1);
  EXPECT_EQ(conf_save(path), 0);
  EXPECT_FALSE(is_link_to(beside));
  EXPECT_EQ(machine.read(kept), "[global]\n");
  machine.mount_tmpfs("/var/lib/orv/kept");  // links do not reach it
  EXPECT_EQ(conf_save(path), 0);
  EXPECT_EQ(machine.read(kept), "[global]\n");
  EXPECT_THAT(machine.list(kept_folder), ElementsAre("smb.conf"));
}

}  // namespace
