#include "tests/user/user_machine.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

/// bob and ann, each in every file.
class user_delete : public user_test {
 protected:
  user_delete() {
    EXPECT_EQ(add("bob", "secret"), ORV_OK);
    EXPECT_EQ(add("ann", "other"), ORV_OK);
    machine.remove("/var/lib/orv");
    machine.forget();
  }
  void TearDown() override {
    EXPECT_THAT(machine.temp_files(), IsEmpty());
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  }

  /// The log line of a command for bob that failed with 1.
  static std::string failed(const std::string& command) {
    return "system(\"" + command + "\") return normal with exit(1) for 'Success'\n";
  }
};

TEST_F(user_delete, leaves_no_trace_and_commits) {
  EXPECT_EQ(sys_user_delete("bob"), ORV_OK);
  EXPECT_THAT(machine.commands(), ElementsAre("smbpasswd -x bob", "userdel bob"));
  for (const std::string& path : all_files()) {
    EXPECT_EQ(machine.read(path).find("bob"), std::string::npos) << path;
    EXPECT_NE(machine.read(path).find("ann"), std::string::npos) << path;
  }
  EXPECT_THAT(committed(), ElementsAreArray(all_files()));
  EXPECT_EQ(machine.output(), "0\tbob\tsecret\t0\n0\tann\tother\t0\n");
  EXPECT_EQ(machine.log(), "");
}

class user_delete_saving : public user_delete, public testing::WithParamInterface<int> {};

TEST_P(user_delete_saving, saves_each_of_the_five_files_exactly_once_and_in_order) {
  lose_kept_copy(GetParam());
  EXPECT_EQ(sys_user_delete("bob"), ORV_OK);
  expect_kept_but(GetParam());
}

INSTANTIATE_TEST_SUITE_P(of, user_delete_saving, testing::Range(1, 7));

TEST_F(user_delete, takes_every_record_of_exactly_the_name) {
  users("bob||1\nbobby||2\nbob|x|3\nBob||4\nbob ||5\nbob\n");
  EXPECT_EQ(sys_user_delete("bob"), ORV_OK);
  EXPECT_EQ(users(), "bobby||2\nBob||4\nbob ||5\n");
}

TEST_F(user_delete, of_the_last_user_leaves_an_empty_file) {
  users("bob||1\n", 0640);
  EXPECT_EQ(sys_user_delete("bob"), ORV_OK);
  EXPECT_EQ(users(), "");
  EXPECT_EQ(machine.mode(user_file), 0640U);
}

TEST_F(user_delete, goes_on_without_an_smb_user) {
  smbpasswd().on("-x bob").fails(1);
  errno = 0;
  EXPECT_EQ(sys_user_delete("bob"), ORV_OK);
  EXPECT_THAT(machine.commands(), ElementsAre("smbpasswd -x bob", "userdel bob"));
  EXPECT_EQ(users(), "ann||other\n");
  EXPECT_THAT(committed(), ElementsAreArray(all_files()));
  EXPECT_EQ(machine.log(), failed("smbpasswd -x bob"));
}

TEST_F(user_delete, goes_on_without_an_account_and_reports_it) {
  machine.tool("userdel").on("bob").fails(1);
  errno = 0;
  EXPECT_EQ(sys_user_delete("bob"), ORV_E_COMMAND);
  EXPECT_EQ(users(), "ann||other\n");
  EXPECT_THAT(committed(), ElementsAreArray(all_files()));
  EXPECT_EQ(machine.log(), failed("userdel bob"));
}

TEST_F(user_delete, goes_on_without_either_and_reports_the_account) {
  smbpasswd().on("-x bob").fails(1);
  machine.tool("userdel").on("bob").fails(1);
  errno = 0;
  EXPECT_EQ(sys_user_delete("bob"), ORV_E_COMMAND);
  EXPECT_THAT(machine.commands(), ElementsAre("smbpasswd -x bob", "userdel bob"));
  EXPECT_EQ(users(), "ann||other\n");
  EXPECT_THAT(committed(), ElementsAreArray(all_files()));
  EXPECT_EQ(machine.log(), failed("smbpasswd -x bob") + failed("userdel bob"));
}

TEST_F(user_delete, of_an_unknown_user_changes_no_line) {
  machine.tool("userdel").on("eve").fails(6);
  const std::string before = users();
  EXPECT_EQ(sys_user_delete("eve"), ORV_E_COMMAND);
  EXPECT_EQ(users(), before);
}

TEST_F(user_delete, leaves_a_user_file_that_cannot_be_read) {
  machine.remove(user_file);
  machine.directory(user_file);
  EXPECT_EQ(sys_user_delete("bob"), ORV_E_USER_FILE);
  EXPECT_EQ(machine.commands().size(), 2U);
  EXPECT_EQ(machine.log(), "read_users_to_change:N return -2006 with Is a directory\n");
}

TEST_F(user_delete, commits_that_the_account_is_gone_whatever_the_user_file_says) {
  machine.remove(user_file);
  machine.directory(user_file);
  machine.tool("userdel").on("eve").fails(6);
  for (const char* const name : {"bob", "eve"}) {
    EXPECT_EQ(sys_user_delete(name), ORV_E_USER_FILE);
    EXPECT_THAT(committed(), ElementsAre("/etc/passwd", "/etc/shadow", "/etc/group", smb_file));
    EXPECT_EQ(machine.read("/var/lib/orv/kept/etc/passwd"), machine.read("/etc/passwd"));
    machine.remove("/var/lib/orv");
  }
}

TEST_F(user_delete, makes_a_missing_user_file) {
  machine.remove(user_file);
  EXPECT_EQ(sys_user_delete("bob"), ORV_OK);
  EXPECT_EQ(users(), "");
  EXPECT_EQ(machine.mode(user_file), 0600U);
}

TEST_F(user_delete, reports_a_user_file_that_cannot_be_written) {
  machine.mount_tmpfs("/flash");
  machine.file("/flash/users", "bob||secret\n", 0600);
  machine.remount_read_only("/flash");
  machine.remove(user_file);
  machine.link(user_file, "/flash/users");
  EXPECT_EQ(sys_user_delete("bob"), ORV_E_USER_FILE);
  EXPECT_EQ(users(), "bob||secret\n");
  EXPECT_EQ(machine.log(), "write_users:N return -2006 with Read-only file system\n");
}

TEST_F(user_delete, passes_a_strange_name_as_one_word) {
  for (const std::string name : {"o'brien", "a b", "$(reboot)", "a;reboot", "x\ny", "a:b"}) {
    machine.tool("userdel").on_exactly({name});
    smbpasswd().on_exactly({"-x", name});
    EXPECT_EQ(sys_user_delete(name.c_str()), ORV_OK);
  }
  EXPECT_EQ(users(), "bob||secret\nann||other\n");
}

TEST_F(user_delete, runs_nothing_for_a_name_that_is_no_word) {
  for (const char* const name : {"", "-r", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(sys_user_delete(name), ORV_E_COMMAND);
  }
  EXPECT_EQ(sys_user_delete(std::string(300, 'n').c_str()), ORV_E_COMMAND);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_EQ(machine.log_lines().size(), 8U);
  EXPECT_EQ(users(), "bob||secret\nann||other\n");
}

TEST_F(user_delete, takes_a_time_that_grows_with_the_number_of_users_only) {
  std::string listed;
  for (int i = 0; i < 10000; ++i) listed += "user" + std::to_string(i) + "||password\n";
  users(listed + "bob||secret\n");
  EXPECT_EQ(sys_user_delete("bob"), ORV_OK);
  EXPECT_EQ(users(), listed);
}

}  // namespace
