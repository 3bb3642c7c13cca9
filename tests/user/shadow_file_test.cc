#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "tests/sandbox/bend.h"
#include "tests/user/bent_accounts.h"
#include "tests/user/user_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {
/// A process of somebody else that holds a record lock on a byte of a file.
class lock_holder {
 public:
  explicit lock_holder(short kind, off_t byte = 0, const char* path = "/etc/shadow") {
    int ready[2];
    EXPECT_EQ(::pipe2(ready, O_CLOEXEC), 0);
    child_ = ::fork();
    if (child_ == 0) hold(kind, byte, path, ready[1]);
    ::close(ready[1]);
    char locked = 0;
    EXPECT_EQ(::read(ready[0], &locked, 1), 1);
    ::close(ready[0]);
  }
  ~lock_holder() {
    ::kill(child_, SIGKILL);
    ::waitpid(child_, nullptr, 0);
  }
  lock_holder(const lock_holder&) = delete;
  lock_holder& operator=(const lock_holder&) = delete;

 private:
  [[noreturn]] static void hold(short kind, off_t byte, const char* path, int ready) {
    struct flock lock {};
    lock.l_type = kind;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    const int file = ::open(path, O_RDWR | O_CLOEXEC);
    if (file < 0 || ::fcntl(file, F_SETLK, &lock) != 0 || ::write(ready, "x", 1) != 1) ::_exit(1);
    for (;;) ::pause();
  }

  pid_t child_;
};

/// What is written to standard error while it exists.
class stderr_capture {
 public:
  explicit stderr_capture(const char* path) : real_(::dup(STDERR_FILENO)) {
    const int file = ::open(path, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ::dup2(file, STDERR_FILENO);
    ::close(file);
  }
  ~stderr_capture() {
    ::dup2(real_, STDERR_FILENO);
    ::close(real_);
  }
  stderr_capture(const stderr_capture&) = delete;
  stderr_capture& operator=(const stderr_capture&) = delete;

 private:
  int real_;
};

class shadow_file : public user_test {
 protected:
  static constexpr char shadow_path[] = "/etc/shadow";

  void TearDown() override {
    EXPECT_THAT(machine.temp_files(), IsEmpty());
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  }

  std::string shadow() { return machine.read(shadow_path); }

  /// The shadow file once adduser, which writes it anew, has made bob's account.
  void adduser_writes(const std::string& text, mode_t mode = 0640) {
    adduser_leaves_ = text;
    machine.file("/new_shadow", text, mode);
    machine.tool("adduser")
        .on("-DH -s /bin/nologin bob")
        .runs("cat /new_shadow > /etc/shadow; echo bob:x:1000:1000::/: >> /etc/passwd");
  }
  void bob_is_added_to(const std::string& text) {
    adduser_writes(text);
    EXPECT_EQ(add("bob", "secret"), ORV_OK);
  }

  /// Adding bob fails in the shadow file: that stays as adduser left it, the account stays too,
  /// and nothing else is done.
  void expect_failure(int code, const std::string& reason) {
    EXPECT_EQ(add("bob", "secret"), code);
    EXPECT_THAT(machine.commands(), ElementsAre("adduser -DH -s /bin/nologin bob"));
    EXPECT_EQ(machine.log(), code_log(code, reason));
    EXPECT_NE(machine.read("/etc/passwd").find("\nbob:"), std::string::npos);
    EXPECT_EQ(users(), "");
    EXPECT_THAT(committed(), IsEmpty());
  }
  /// The new shadow file that a failure left is not in the way of a change that succeeds.
  void expect_next_change_replaces_what_stayed() {
    passwd("");
    machine.forget();
    bob_is_added_to("bob:!:2\n");
    EXPECT_EQ(shadow(), "bob:" + hash_of("bob") + ":2\n");
    EXPECT_EQ(machine.mode(shadow_path), 0640U);
    EXPECT_FALSE(machine.exists("/etc/shadow+"));
    EXPECT_EQ(machine.log(), "");
    // As before the first change.
    passwd("");
    users("");
    machine.remove("/etc/shadow-");
    machine.remove("/var/lib/orv");
    machine.forget();
  }
  static std::string code_log(int code, const std::string& reason) {
    const bool locked = code <= ORV_E_SHADOW_BACKUP;
    return std::string(locked ? "rewrite_locked" : "set_password_hash") + ":N return " +
           std::to_string(code) + " with " + reason + "\n";
  }

  std::string adduser_leaves_;
};

TEST_F(shadow_file, gets_the_hash_into_the_second_field) {
  bob_is_added_to("root:*:1:2:3:4:5:6:7\nbob:!:19900:0:99999:7:::\nann:x:1::::::\n");
  EXPECT_EQ(shadow(),
            "root:*:1:2:3:4:5:6:7\nbob:" + hash_of("bob") + ":19900:0:99999:7:::\nann:x:1::::::\n");
  EXPECT_THAT(hash_of("bob"), MatchesRegex("\\$1\\$.{31}"));
  EXPECT_FALSE(machine.exists("/etc/shadow+"));
}

TEST_F(shadow_file, keeps_mode_and_owner) {
  for (const mode_t mode : {0400U, 0600U, 0640U, 0644U}) {
    passwd("");
    machine.file("/etc/group", root_in_group);
    machine.file(shadow_path, root_in_shadow, mode);
    if (machine.knows_other_users()) {
      ASSERT_EQ(::chown(shadow_path, 12, 34), 0);
    }
    EXPECT_EQ(add("bob", "secret"), ORV_OK);
    struct stat after {};
    ASSERT_EQ(::stat(shadow_path, &after), 0);
    EXPECT_EQ(after.st_mode & 07777U, mode);
    if (!machine.knows_other_users()) continue;
    EXPECT_EQ(after.st_uid, 12U);
    EXPECT_EQ(after.st_gid, 34U);
  }
}

TEST_F(shadow_file, of_before_is_kept_beside_it) {
  machine.file("/etc/shadow-", "older and longer than the one of today, by quite some characters",
               0600);
  bob_is_added_to("bob:!:19900:0:99999:7:::\n");
  EXPECT_EQ(machine.read("/etc/shadow-"), "bob:!:19900:0:99999:7:::\n");
  EXPECT_EQ(machine.mode("/etc/shadow-"), 0600U);
}

TEST_F(shadow_file, has_every_line_of_the_name_changed_and_no_other) {
  bob_is_added_to(
      "bobby:a:1\nxbob:b:2\nbob:c:3\nbob:d:4:5\n bob:e:6\nbo:f:7\nbob:g\nBob:h:8\nbob\n");
  const std::string hash = hash_of("bob");
  EXPECT_EQ(shadow(), "bobby:a:1\nxbob:b:2\nbob:" + hash + ":3\nbob:" + hash +
                          ":4:5\n bob:e:6\nbo:f:7\nbob:" + hash + "\nBob:h:8\nbob\n");
}

TEST_F(shadow_file, keeps_every_byte_of_other_lines) {
  const std::string strange = std::string("\0\xff:\r\n\n", 6) + std::string(100000, 'x') +
                              "bob:" + std::string(252, 'y') + "bob:a:b\n";
  bob_is_added_to(strange + "bob:!:1");
  EXPECT_EQ(shadow(), strange + "bob:" + hash_of("bob") + ":1");
}

TEST_F(shadow_file, has_an_old_hash_of_any_length_replaced) {
  bob_is_added_to("bob:" + std::string(1000, 'h') + ":1:2\n");
  EXPECT_EQ(shadow(), "bob:" + hash_of("bob") + ":1:2\n");
}

TEST_F(shadow_file, without_the_name_stays_as_it_is) {
  bob_is_added_to("ann:x:1\n");
  EXPECT_EQ(shadow(), "ann:x:1\n");
}

TEST_F(shadow_file, that_is_missing_is_reported) {
  machine.remove(shadow_path);
  machine.tool("adduser")
      .on("-DH -s /bin/nologin bob")
      .runs("echo bob:x:1000:1000::/: >> /etc/passwd");
  expect_failure(ORV_E_NO_SHADOW, "No such file or directory");
  EXPECT_FALSE(machine.exists(shadow_path));
}

TEST_F(shadow_file, that_cannot_be_opened_or_examined_is_reported) {
  machine.tool("adduser")
      .on("-DH -s /bin/nologin bob")
      .runs("echo bob:x:1000:1000::/: >> /etc/passwd");
  machine.remove(shadow_path);
  machine.directory(shadow_path);
  expect_failure(ORV_E_SHADOW_OPEN, "Is a directory");
}

TEST_F(shadow_file, that_cannot_be_examined_is_reported) {
  adduser_writes("bob:!:1\n");
  machine.fail("fstat", EIO, 1);
  expect_failure(ORV_E_SHADOW_OPEN, "Input/output error");
  EXPECT_EQ(shadow(), adduser_leaves_);
}

class locked_shadow_file : public shadow_file {
 protected:
  /// A lock that adduser, who does not ask for it, does not mind.
  void expect_locked() {
    adduser_writes("ann:x:1\nbob:!:19900:0:99999:7:::\n");
    {
      const stderr_capture capture("/errors");
      expect_failure(ORV_E_SHADOW_LOCKED, "Resource temporarily unavailable");
    }
    EXPECT_EQ(machine.read("/errors"), "/etc/shadow: Resource temporarily unavailable\n");
    EXPECT_EQ(shadow(), adduser_leaves_);
    EXPECT_FALSE(machine.exists("/etc/shadow-"));
    EXPECT_FALSE(machine.exists("/etc/shadow+"));
    EXPECT_THAT(machine.output(), MatchesRegex("add user 'bob', passwd '\\$1\\$.{31}'\n"));
  }
};

TEST_F(locked_shadow_file, stays_as_adduser_left_it) {
  const lock_holder other(F_WRLCK);
  expect_locked();
}

TEST_F(locked_shadow_file, is_not_changed_under_a_reader_either) {
  const lock_holder other(F_RDLCK);
  expect_locked();
}

TEST_F(locked_shadow_file, is_locked_as_a_whole) {
  const lock_holder other(F_WRLCK, 1000000);
  expect_locked();
}

bool others_were_kept_out = false;

/// Another process tries to lock the file.
void try_to_lock() {
  const pid_t child = ::fork();
  if (child == 0) {
    struct flock whole {};
    whole.l_type = F_WRLCK;
    const int file = ::open("/etc/shadow", O_RDWR | O_CLOEXEC);
    ::_exit(file >= 0 && ::fcntl(file, F_SETLK, &whole) != 0 && errno == EAGAIN ? 0 : 1);
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  others_were_kept_out = status == 0;
}

// The new file gets its mode after the backup was made and closed.
TEST_F(locked_shadow_file, stays_locked_while_it_is_changed) {
  others_were_kept_out = false;
  bent::before_next_fchmod(try_to_lock);
  EXPECT_EQ(add("bob", "secret"), ORV_OK);
  EXPECT_TRUE(others_were_kept_out);
}

TEST_F(locked_shadow_file, is_locked_only_as_long_as_it_is_changed) {
  EXPECT_EQ(add("bob", "secret"), ORV_OK);
  const lock_holder other(F_WRLCK);
  EXPECT_EQ(sys_user_validpwd("bob", "secret"), ORV_OK);
}

// `lckpwdf`, which all programs take that change accounts.
class locked_accounts : public locked_shadow_file {
 protected:
  static constexpr char path[] = "/etc/.pwd.lock";

  void expect_changed() {
    EXPECT_EQ(add("bob", "secret"), ORV_OK);
    EXPECT_EQ(shadow(), "bob:" + hash_of("bob") + ":19900:0:99999:7:::\n");
  }
  void SetUp() override { adduser_writes("bob:!:19900:0:99999:7:::\n"); }
};

TEST_F(locked_accounts, are_waited_for_fifteen_seconds) {
  machine.file(path, "", 0600);
  const lock_holder other(F_WRLCK, 0, path);
  sandbox::hasten(std::chrono::seconds(6));
  {
    const stderr_capture capture("/errors");
    expect_failure(ORV_E_SHADOW_LOCKED, "Resource temporarily unavailable");
  }
  EXPECT_EQ(machine.read("/errors"), "/etc/shadow: Resource temporarily unavailable\n");
  EXPECT_EQ(shadow(), adduser_leaves_);
}

TEST_F(locked_accounts, are_changed_without_a_lock_that_cannot_be_made) {
  machine.directory(path);
  expect_changed();
}

TEST_F(locked_accounts, are_changed_when_the_lock_was_refused_for_a_while) {
  for (const int error : {EINTR, EACCES, ENOLCK}) {
    passwd("");
    machine.fail("fcntl", error, 1);
    expect_changed();
    machine.remove("/etc/nas_userfile.conf");
  }
}

TEST_F(shadow_file, gets_the_hash_into_a_line_that_ends_with_the_old_one) {
  bob_is_added_to("ann:x:1\nbob:!");
  EXPECT_EQ(shadow(), "ann:x:1\nbob:" + hash_of("bob"));
}

TEST_F(shadow_file, that_cannot_be_backed_up_is_reported) {
  machine.directory("/etc/shadow-");
  adduser_writes("bob:!:1\n");
  expect_failure(ORV_E_SHADOW_BACKUP, "Is a directory");
  EXPECT_EQ(shadow(), adduser_leaves_);
  EXPECT_FALSE(machine.exists("/etc/shadow+"));
}

TEST_F(shadow_file, is_not_replaced_when_the_new_one_cannot_be_made) {
  machine.directory("/etc/shadow+");
  adduser_writes("bob:!:1\n");
  expect_failure(ORV_E_SHADOW_CREATE, "Is a directory");
  EXPECT_EQ(shadow(), adduser_leaves_);
}

TEST_F(shadow_file, is_not_replaced_by_a_link) {
  machine.file("/elsewhere", "untouched");
  machine.link("/etc/shadow+", "/elsewhere");
  adduser_writes("bob:!:1\n");
  EXPECT_EQ(add("bob", "secret"), ORV_E_SHADOW_CREATE);
  EXPECT_EQ(shadow(), adduser_leaves_);
  EXPECT_EQ(machine.read("/elsewhere"), "untouched");
}

TEST_F(shadow_file, replaces_what_a_crash_left_of_a_new_one) {
  machine.file("/etc/shadow+", "half", 0644);
  bob_is_added_to("bob:!:1\n");
  EXPECT_EQ(shadow(), "bob:" + hash_of("bob") + ":1\n");
  EXPECT_EQ(machine.mode(shadow_path), 0640U);
}

// Nobody may read it, and nothing is in it.
TEST_F(shadow_file, is_not_replaced_when_the_new_one_cannot_take_its_owner_or_mode) {
  for (const char* const function : {"fchown", "fchmod"}) {
    adduser_writes("bob:!:1\n");
    machine.fail(function, EPERM, 1);
    expect_failure(ORV_E_SHADOW_CREATE, "Operation not permitted");
    EXPECT_EQ(shadow(), adduser_leaves_);
    EXPECT_EQ(machine.read("/etc/shadow+"), "");
    EXPECT_EQ(machine.mode("/etc/shadow+"), 0U);
    expect_next_change_replaces_what_stayed();
  }
}

TEST_F(shadow_file, is_not_replaced_when_the_new_one_does_not_reach_the_disk) {
  machine.fail("fsync", EIO, 1);
  adduser_writes("bob:!:1\n");
  expect_failure(ORV_E_SHADOW_WRITE, "Input/output error");
  EXPECT_EQ(shadow(), adduser_leaves_);
  EXPECT_EQ(machine.read("/etc/shadow-"), adduser_leaves_);
  EXPECT_FALSE(machine.exists("/etc/shadow+"));
}

TEST_F(shadow_file, is_not_replaced_when_it_cannot_be_read_to_its_end) {
  adduser_writes("bob:!:1\n");
  sandbox::before("fchown", [this] { machine.fail("fread", EIO, 1); });
  expect_failure(ORV_E_SHADOW_WRITE, "Input/output error");
  EXPECT_EQ(shadow(), adduser_leaves_);
  EXPECT_FALSE(machine.exists("/etc/shadow+"));
}

TEST_F(shadow_file, is_not_replaced_on_a_full_disk) {
  const std::string full_page = "bob:!:1\n" + std::string(4087, 'x') + '\n';
  machine.mount_tmpfs("/etc", "size=16k");  // passwd, group, shadow and its backup
  passwd("");
  machine.file("/etc/group", "");
  machine.file("/etc/shadow", "", 0600);
  adduser_writes(full_page);
  EXPECT_EQ(add("bob", "secret"), ORV_E_SHADOW_WRITE);
  EXPECT_EQ(machine.log(), code_log(ORV_E_SHADOW_WRITE, "No space left on device"));
  EXPECT_EQ(shadow(), full_page);
  EXPECT_EQ(machine.read("/etc/shadow-"), full_page);
  EXPECT_THAT(machine.list("/etc"),
              ElementsAre(".pwd.lock", "group", "passwd", "shadow", "shadow-"));
}

TEST_F(shadow_file, is_not_replaced_when_the_new_one_cannot_be_renamed) {
  machine.fail("rename", EPERM, 1);
  if (machine.knows_other_users()) {
    ASSERT_EQ(::chown(shadow_path, 0, 42), 0);
  }
  adduser_writes("bob:!:1\n");
  expect_failure(ORV_E_SHADOW_RENAME, "Operation not permitted");
  EXPECT_EQ(shadow(), adduser_leaves_);
  EXPECT_THAT(machine.read("/etc/shadow+"), MatchesRegex("bob:\\$1\\$.{31}:1\n"));
  struct stat left {};
  struct stat original {};
  ASSERT_EQ(::stat("/etc/shadow+", &left), 0);
  ASSERT_EQ(::stat(shadow_path, &original), 0);
  EXPECT_EQ(left.st_mode & 07777U, 0640U);
  EXPECT_EQ(left.st_uid, original.st_uid);
  EXPECT_EQ(left.st_gid, original.st_gid);
  expect_next_change_replaces_what_stayed();
}

}  // namespace
