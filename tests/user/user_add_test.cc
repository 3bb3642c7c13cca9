#include "tests/user/user_machine.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

class user_add : public user_test {
 protected:
  void TearDown() override {
    EXPECT_THAT(machine.temp_files(), IsEmpty());
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  }

  /// Adding bob ends with "adduser", and nothing is changed.
  void expect_no_account(const std::string& how) {
    const sandbox::lines before = contents();
    EXPECT_EQ(add("bob", "secret"), ORV_E_COMMAND);
    EXPECT_THAT(machine.commands(), ElementsAre("adduser -DH -s /bin/nologin bob"));
    EXPECT_THAT(contents(), ElementsAreArray(before));
    EXPECT_THAT(committed(), IsEmpty());
    EXPECT_EQ(machine.output(), "");
    EXPECT_EQ(machine.log(),
              "system(\"adduser -DH -s /bin/nologin bob\") return " + how + " for 'Success'\n");
  }

  /// bob's account and its hash are there, and these files are committed.
  void expect_kept_account(const sandbox::lines& files) {
    expect_account("bob");
    EXPECT_THAT(committed(), ElementsAreArray(files));
    for (const std::string& path : files) {
      EXPECT_EQ(machine.read("/var/lib/orv/kept" + path), machine.read(path)) << path;
    }
  }
};

TEST_F(user_add, makes_account_hash_smb_user_and_line_and_commits_them) {
  users("ann||other\n");
  EXPECT_EQ(add("bob", "secret"), ORV_OK);
  EXPECT_THAT(machine.commands(),
              ElementsAre("adduser -DH -s /bin/nologin bob",
                          "echo -e \"secret\nsecret\" | /usr/bin/smbpasswd -a -s bob"));
  EXPECT_EQ(users(), "ann||other\nbob||secret\n");
  EXPECT_EQ(machine.output(),
            "add user 'bob', passwd '" + hash_of("bob") + "'\n0\tann\tother\t0\n");
  EXPECT_EQ(sys_user_validpwd("bob", "secret"), ORV_OK);
  EXPECT_THAT(committed(), ElementsAreArray(all_files()));
  for (const std::string& path : all_files()) {
    EXPECT_EQ(machine.read("/var/lib/orv/kept" + path), machine.read(path));
    EXPECT_EQ(machine.mode("/var/lib/orv/kept" + path), machine.mode(path));
  }
  EXPECT_EQ(machine.log(), "");
}

// Each step looks at what the steps before it have left.
TEST_F(user_add, goes_in_this_order) {
  machine.tool("adduser")
      .on("-DH -s /bin/nologin bob")
      .runs(
          "cat /etc/shadow /etc/nas_userfile.conf > /at_adduser\n"
          "[ -e /etc/shadow- ] && echo backup >> /at_adduser\n"
          "echo bob:!:1: >> /etc/shadow");
  smbpasswd()
      .on("-a -s bob")
      .runs(
          "cat /etc/shadow /etc/nas_userfile.conf > /at_smbpasswd\n"
          "[ -e /var/lib/orv ] && echo saved >> /at_smbpasswd\n"
          "true");
  EXPECT_EQ(add("bob", "secret"), ORV_OK);
  EXPECT_EQ(machine.read("/at_adduser"), root_in_shadow);
  EXPECT_EQ(machine.read("/at_smbpasswd"), root_in_shadow + ("bob:" + hash_of("bob")) + ":1:\n");
  EXPECT_EQ(machine.read("/etc/shadow-"), root_in_shadow + std::string("bob:!:1:\n"));
}

class user_add_saving : public user_add, public testing::WithParamInterface<int> {};

TEST_P(user_add_saving, saves_each_of_the_five_files_exactly_once_and_in_order) {
  lose_kept_copy(GetParam());
  EXPECT_EQ(add("bob", "secret"), ORV_OK);
  expect_kept_but(GetParam());
}

INSTANTIATE_TEST_SUITE_P(of, user_add_saving, testing::Range(1, 7));

TEST_F(user_add, ends_when_adduser_fails) {
  machine.tool("adduser").on("-DH -s /bin/nologin bob").fails(1);
  expect_no_account("normal with exit(1)");
}

TEST_F(user_add, ends_when_adduser_is_killed) {
  machine.tool("adduser").on("-DH -s /bin/nologin bob").dies_of(9);
  expect_no_account("unnormal with exit(0)");
}

TEST_F(user_add, ends_when_adduser_is_missing) {
  machine.tool("adduser").is_missing();
  expect_no_account("normal with exit(127)");
}

TEST_F(user_add, makes_a_missing_user_file_for_its_owner_alone) {
  machine.remove(user_file);
  EXPECT_EQ(add("bob", "secret"), ORV_OK);
  EXPECT_EQ(users(), "bob||secret\n");
  EXPECT_EQ(machine.mode(user_file), 0600U);
  EXPECT_EQ(machine.log(), "");
}

TEST_F(user_add, leaves_a_user_file_that_cannot_be_read) {
  machine.remove(user_file);
  machine.directory(user_file);
  EXPECT_EQ(add("bob", "secret"), ORV_E_USER_FILE);
  EXPECT_TRUE(machine.exists(user_file + std::string("/.")));
  expect_kept_account({"/etc/passwd", "/etc/shadow", "/etc/group", smb_file});
  EXPECT_EQ(machine.log(), "read_users_to_change:N return -2006 with Is a directory\n");
  EXPECT_EQ(machine.commands().size(), 2U);
}

TEST_F(user_add, leaves_a_user_file_that_leads_nowhere) {
  machine.remove(user_file);
  machine.link(user_file, user_file);
  EXPECT_EQ(add("bob", "secret"), ORV_E_USER_FILE);
  EXPECT_THAT(machine.log(), MatchesRegex("read_users_to_change:N .*symbolic links.*\n"));
}

TEST_F(user_add, reports_a_user_file_that_cannot_be_written) {
  machine.mount_tmpfs("/flash", "size=4k");
  std::string full;
  while (full.size() < 4096) full += "user||password1\n";
  machine.file("/flash/users", full, 0600);
  machine.remove(user_file);
  machine.link(user_file, "/flash/users");
  EXPECT_EQ(add("bob", "secret"), ORV_E_USER_FILE);
  EXPECT_EQ(machine.read("/flash/users"), full);
  expect_kept_account({"/etc/passwd", "/etc/shadow", "/etc/group", smb_file});
  EXPECT_EQ(machine.log(), "write_users:N return -2006 with No space left on device\n");
}

TEST_F(user_add, writes_the_records_of_others_as_they_were_read) {
  users(" ann || p|w \r\nno bar\n\n|x\n");
  EXPECT_EQ(add("bob", "se|cret:x"), ORV_OK);
  EXPECT_EQ(users(), "ann ||w\nno bar||\n||x\nbob||se|cret:x\n");
  EXPECT_EQ(sys_user_validpwd("bob", "se|cret:x"), ORV_OK);
}

TEST_F(user_add, goes_through_with_a_line_of_its_own_in_the_user_file) {
  users("bob||old\n");
  EXPECT_EQ(add("bob", "secret"), ORV_OK);
  EXPECT_EQ(users(), "bob||old\nbob||secret\n");
}

TEST_F(user_add, cuts_a_name_and_password_without_an_end) {
  tag_user_info user{};
  for (char& c : user.name) c = 'n';
  for (char& c : user.password) c = 'p';
  EXPECT_EQ(sys_user_add(user), ORV_OK);
  const std::string n23(23, 'n');
  const std::string p23(23, 'p');
  EXPECT_EQ(machine.commands().at(0), "adduser -DH -s /bin/nologin " + n23);
  EXPECT_EQ(smb_input(), p23 + '\n' + p23 + '\n');
  EXPECT_EQ(users(), n23 + "||" + p23 + "\n");
}

TEST_F(user_add, does_not_need_the_smb_file) {
  machine.remove(smb_file);
  EXPECT_EQ(add("bob", "secret"), ORV_OK);
  EXPECT_EQ(users(), "bob||secret\n");
}

TEST_F(user_add, goes_on_when_nothing_can_be_committed) {
  machine.file("/var/lib/orv", "in the way");
  EXPECT_EQ(add("bob", "secret"), ORV_OK);
}

}  // namespace
