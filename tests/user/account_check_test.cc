#include "tests/user/bent_accounts.h"
#include "tests/user/user_machine.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

class account_check : public user_test {
 protected:
  static std::string entry(const std::string& name, long uid) {
    return name + ":x:" + std::to_string(uid) + ":100::/:/bin/sh\n";
  }
  void groups(const std::string& lines) { machine.file("/etc/group", root_in_group + lines); }

  /// The result of adding bob, and the group numbers that were looked at for it.
  static int add_bob(int uid = 0, int gid = 0) {
    tag_user_info bob = request("bob", "secret");
    bob.uid = uid;
    bob.gid = gid;
    bent::take_looked_up_groups();
    return sys_user_add(bob);
  }

  /// Adding bob fails with a code and a message, and nothing is run or changed.
  void expect_refused(int code, const std::string& message, int uid = 0, int gid = 0) {
    const sandbox::lines before = contents();
    EXPECT_EQ(add_bob(uid, gid), code);
    EXPECT_THAT(machine.commands(), IsEmpty());
    EXPECT_THAT(contents(), ElementsAreArray(before));
    EXPECT_THAT(committed(), IsEmpty());
    EXPECT_EQ(machine.log(), message);
    EXPECT_EQ(machine.output(), "");
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
    machine.forget();
  }
};

TEST_F(account_check, starts_at_500_unless_an_allowed_number_is_wanted) {
  EXPECT_EQ(add_bob(), ORV_OK);
  EXPECT_THAT(bent::take_looked_up_groups(), ElementsAre(500));
}

struct wanted_number {
  int wanted;
  gid_t looked_up;
};
class account_check_start : public account_check,
                            public testing::WithParamInterface<wanted_number> {};

TEST_P(account_check_start, follows_the_number_wanted) {
  EXPECT_EQ(add_bob(GetParam().wanted), ORV_OK);
  EXPECT_THAT(bent::take_looked_up_groups(), ElementsAre(GetParam().looked_up));
}

INSTANTIATE_TEST_SUITE_P(of, account_check_start,
                         testing::Values(wanted_number{499, 500}, wanted_number{500, 500},
                                         wanted_number{501, 501}, wanted_number{65000, 65000},
                                         wanted_number{65001, 500}, wanted_number{-1, 500},
                                         wanted_number{2147483647, 500}));

TEST_F(account_check, ends_above_the_highest_number_in_use) {
  passwd(entry("a", 600) + entry("b", 550));
  EXPECT_EQ(add_bob(), ORV_OK);
  EXPECT_THAT(bent::take_looked_up_groups(), ElementsAre(601));
}

TEST_F(account_check, passes_numbers_of_groups_over) {
  passwd(entry("a", 600) + entry("b", 550));
  groups("a:x:601:\nb:x:602:\n");
  EXPECT_EQ(add_bob(), ORV_OK);
  EXPECT_THAT(bent::take_looked_up_groups(), ElementsAre(601, 602, 603));
}

TEST_F(account_check, does_not_count_numbers_below_the_start_or_above_64999) {
  passwd(entry("a", 499) + entry("b", 65000) + entry("c", 65534) + entry("d", 4294967294));
  EXPECT_EQ(add_bob(), ORV_OK);
  EXPECT_THAT(bent::take_looked_up_groups(), ElementsAre(500));
  passwd(entry("a", 699) + entry("b", 600));
  groups("");
  EXPECT_EQ(add_bob(700), ORV_OK);
  EXPECT_THAT(bent::take_looked_up_groups(), ElementsAre(700));
}

TEST_F(account_check, does_not_go_back_for_a_gap) {
  passwd(entry("a", 500) + entry("b", 501) + entry("c", 503) + entry("d", 502));
  EXPECT_EQ(add_bob(), ORV_OK);
  EXPECT_THAT(bent::take_looked_up_groups(), ElementsAre(504));
}

TEST_F(account_check, looks_at_no_group_when_one_is_wanted) {
  groups("bob:x:500:\n");
  EXPECT_EQ(add_bob(0, 500), ORV_OK);
  EXPECT_THAT(bent::take_looked_up_groups(), IsEmpty());
}

TEST_F(account_check, refuses_a_login_name_in_use) {
  passwd(entry("bob", 600));
  expect_refused(ORV_E_LOGIN_USED, "bob: login already in use");
  expect_refused(ORV_E_LOGIN_USED, "bob: login already in use", 700, 700);
  passwd(entry("bobby", 600) + entry("Bob", 601));
  EXPECT_EQ(add_bob(), ORV_OK);
}

TEST_F(account_check, refuses_a_group_name_in_use) {
  groups("bob:x:700:\n");
  expect_refused(ORV_E_GROUP_USED, "bob: group name already in use");
}

TEST_F(account_check, refuses_when_no_number_is_left) {
  passwd(entry("a", 64999));
  groups("a:x:65000:\n");
  expect_refused(ORV_E_NO_UID, "illegal uid or no uids left");
  expect_refused(ORV_E_NO_UID, "illegal uid or no uids left", 65000);
  groups("a:x:65000:\nbob:x:65001:\n");
  expect_refused(ORV_E_GROUP_USED, "bob: group name already in use");
}

TEST_F(account_check, allows_the_last_number) {
  passwd(entry("a", 64999));
  EXPECT_EQ(add_bob(), ORV_OK);
  EXPECT_THAT(bent::take_looked_up_groups(), ElementsAre(65000));
}

TEST_F(account_check, asks_for_a_password_file_that_can_be_read_and_written) {
  machine.remove("/etc/passwd");
  expect_refused(ORV_E_PASSWD_FILE, "/etc/passwd: No such file or directory\n");
}

TEST_F(account_check, asks_for_a_password_file_that_is_a_file) {
  machine.remove("/etc/passwd");
  machine.directory("/etc/passwd");
  EXPECT_EQ(add_bob(), ORV_E_PASSWD_FILE);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_THAT(committed(), IsEmpty());
  EXPECT_EQ(machine.log(), "/etc/passwd: Is a directory\n");
}

TEST_F(account_check, asks_for_a_password_file_that_is_not_read_only) {
  machine.mount_tmpfs("/etc");
  passwd("");
  machine.remount_read_only("/etc");
  EXPECT_EQ(add_bob(), ORV_E_PASSWD_FILE);
  EXPECT_EQ(machine.log(), "/etc/passwd: Read-only file system\n");
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_THAT(committed(), IsEmpty());
}

TEST_F(account_check, passes_over_what_is_no_entry) {
  passwd("# bob:x:900:\n\nbob\nbob:x\nbob:x:many:100::/:\n" + std::string(100000, ':') + "\n" +
         std::string("\0\xff\n", 3) + entry("a", 600));
  EXPECT_EQ(add_bob(), ORV_OK);
  EXPECT_THAT(bent::take_looked_up_groups(), ElementsAre(601));
}

TEST_F(account_check, needs_no_group_file) {
  machine.remove("/etc/group");
  EXPECT_EQ(add_bob(), ORV_OK);
}

TEST_F(account_check, asks_for_one_group_however_many_accounts_there_are) {
  std::string accounts;
  std::string own_groups;
  std::string hashes;
  std::string listed;
  for (int i = 0; i < 10000; ++i) {
    const std::string name = "user" + std::to_string(i);
    accounts += entry(name, 500 + i);
    own_groups += name + ":x:" + std::to_string(500 + i) + ":\n";
    hashes += name + ":$1$abcdefgh$0123456789012345678901:19000:0:99999:7:::\n";
    listed += name + "||password\n";
  }
  passwd(accounts);
  groups(own_groups);
  machine.file("/etc/shadow", hashes, 0640);
  users(listed);
  EXPECT_EQ(add_bob(), ORV_OK);
  EXPECT_THAT(bent::take_looked_up_groups(), ElementsAre(10500));
  EXPECT_EQ(users(), listed + "bob||secret\n");
  EXPECT_EQ(machine.read("/etc/shadow").substr(0, hashes.size()), hashes);
}

}  // namespace
