#include "tests/user/user_machine.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

class user_modify : public user_test {
 protected:
  user_modify() {
    EXPECT_EQ(add("bob", "secret"), ORV_OK);
    machine.remove("/var/lib/orv");
    machine.forget();
  }
  void TearDown() override {
    EXPECT_THAT(machine.temp_files(), IsEmpty());
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  }
};

TEST_F(user_modify, deletes_the_old_user_and_adds_the_new_one) {
  EXPECT_EQ(sys_user_modify("bob", request("bob", "new secret")), ORV_OK);
  EXPECT_THAT(machine.commands(),
              ElementsAre("smbpasswd -x bob", "userdel bob", "adduser -DH -s /bin/nologin bob",
                          "echo -e \"new secret\nnew secret\" | /usr/bin/smbpasswd -a -s bob"));
  EXPECT_EQ(users(), "bob||new secret\n");
  EXPECT_EQ(sys_user_validpwd("bob", "new secret"), ORV_OK);
  EXPECT_EQ(sys_user_validpwd("bob", "secret"), ORV_E_PASSWORD);
  EXPECT_EQ(machine.log(), "");
}

TEST_F(user_modify, may_rename) {
  EXPECT_EQ(sys_user_modify("bob", request("ann", "secret")), ORV_OK);
  EXPECT_EQ(users(), "ann||secret\n");
  EXPECT_EQ(hash_of("bob"), "");
}

TEST_F(user_modify, saves_once_and_at_the_end) {
  machine.tool("adduser")
      .on("-DH -s /bin/nologin ann")
      .runs("[ -e /var/lib/orv/kept ] && echo saved > /saved_early; true");
  EXPECT_EQ(sys_user_modify("bob", request("ann", "secret")), ORV_OK);
  EXPECT_FALSE(machine.exists("/saved_early"));
  EXPECT_THAT(committed(), ElementsAreArray(all_files()));
}

class user_modify_saving : public user_modify, public testing::WithParamInterface<int> {};

TEST_P(user_modify_saving, saves_each_of_the_five_files_exactly_once_and_in_order) {
  lose_kept_copy(GetParam());
  EXPECT_EQ(sys_user_modify("bob", request("ann", "secret")), ORV_OK);
  expect_kept_but(GetParam());
}

TEST_F(user_modify, saves_the_account_whatever_the_user_file_says) {
  machine.remove(user_file);
  machine.directory(user_file);
  EXPECT_EQ(sys_user_modify("bob", request("ann", "secret")), ORV_E_USER_FILE);
  expect_account("ann");
  EXPECT_EQ(hash_of("bob"), "");
  EXPECT_THAT(committed(), ElementsAre("/etc/passwd", "/etc/shadow", "/etc/group", smb_file));
  EXPECT_EQ(machine.read("/var/lib/orv/kept/etc/passwd"), machine.read("/etc/passwd"));
  EXPECT_EQ(machine.log(),
            "read_users_to_change:N return -2006 with Is a directory\n"
            "read_users_to_change:N return -2006 with Is a directory\n");
}

INSTANTIATE_TEST_SUITE_P(of, user_modify_saving, testing::Range(1, 7));

TEST_F(user_modify, gives_the_result_of_adding) {
  machine.tool("userdel").on("bob").fails(1);
  errno = 0;
  EXPECT_EQ(sys_user_modify("bob", request("ann", "secret")), ORV_OK);
  EXPECT_EQ(machine.log(), "system(\"userdel bob\") return normal with exit(1) for 'Success'\n");
}

TEST_F(user_modify, that_cannot_add_says_so_and_saves_nothing) {
  machine.tool("adduser").on("-DH -s /bin/nologin ann").fails(3);
  errno = 0;
  EXPECT_EQ(sys_user_modify("bob", request("ann", "secret")), ORV_E_COMMAND);
  EXPECT_EQ(users(), "");
  EXPECT_THAT(committed(), IsEmpty());
  EXPECT_EQ(machine.log(),
            "system(\"adduser -DH -s /bin/nologin ann\") return normal with exit(3) for "
            "'Success'\n");
}

TEST_F(user_modify, lets_later_changes_save_again) {
  EXPECT_EQ(sys_user_modify("bob", request("root", "secret")), ORV_E_LOGIN_USED);
  EXPECT_THAT(committed(), IsEmpty());
  EXPECT_EQ(sys_user_delete("bob"), ORV_OK);
  EXPECT_THAT(committed(), ElementsAreArray(all_files()));
}

TEST_F(user_modify, deletes_nobody_for_a_user_that_can_never_be_added) {
  const sandbox::lines before = contents();
  for (const tag_user_info& user :
       {request("bob", "two\nlines"), request("", "secret"), request("-h", "secret"),
        request("a:b", "secret"), request("a|b", "secret"), request("a\nb", "secret")}) {
    EXPECT_EQ(sys_user_modify("bob", user), ORV_E_COMMAND);
  }
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_THAT(contents(), ElementsAreArray(before));
  EXPECT_EQ(machine.log_lines().size(), 6U);
}

TEST_F(user_modify, without_an_old_name_adds) {
  EXPECT_EQ(sys_user_modify(nullptr, request("ann", "secret")), ORV_OK);
  EXPECT_EQ(users(), "bob||secret\nann||secret\n");
}

}  // namespace
