#include "tests/orvctl/command_line.h"
#include "tests/user/user_machine.h"
#include "tools/orvctl/table.h"

using orvctl::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

/// The machine of the users, and passwords as they are typed or piped in.
class user_verbs : public user_test {
 protected:
  static outcome piped(const std::string& words, const std::string& input) {
    return run(split(words), input, false);
  }
  static outcome typed(const std::string& words, const std::string& input) {
    return run(split(words), input, true);
  }
  void add_ann() { EXPECT_EQ(piped("user add ann", "rose bush\n").status, 0); }

  /// Nothing that a password is in may be seen.
  void expect_secret(const outcome& got, const std::string& password) {
    EXPECT_THAT(got.out + got.err + machine.output() + machine.log(), Not(HasSubstr(password)));
  }
};

TEST_F(user_verbs, add_a_user_with_a_password_from_a_pipe) {
  const outcome got = piped("user add ann", "rose bush\nmore\n");
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.out, "");
  EXPECT_EQ(got.err, "Added the user ann.\n");
  EXPECT_EQ(users(), "ann||rose bush\n");
  EXPECT_EQ(smb_input(), "rose bush\nrose bush\n");
  EXPECT_EQ(sys_user_validpwd("ann", "rose bush"), ORV_OK);
  expect_secret(got, "rose bush");
}

TEST_F(user_verbs, ask_twice_at_a_terminal) {
  const outcome got = typed("user add ann", "rose bush\nrose bush\n");
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.err, "New password of ann: \nThe same again: \nAdded the user ann.\n");
  EXPECT_EQ(users(), "ann||rose bush\n");
}

TEST_F(user_verbs, change_nothing_when_the_passwords_differ) {
  const sandbox::lines before = contents();
  const outcome got = typed("user add ann", "rose bush\nrose tree\n");
  EXPECT_EQ(got.status, 1);
  EXPECT_THAT(got.err, HasSubstr("orvctl: user add: the passwords are not the same, and so nothing "
                                 "was changed\n"));
  EXPECT_EQ(contents(), before);
}

TEST_F(user_verbs, want_a_password) {
  const sandbox::lines before = contents();
  EXPECT_THAT(piped("user add ann", "").err, HasSubstr("no password was given"));
  EXPECT_THAT(piped("user add ann", "\n").err, HasSubstr("the password is empty"));
  EXPECT_THAT(typed("user add ann", "secret\n").err, HasSubstr("no password was given"));
  EXPECT_THAT(piped("user add ann", std::string("a\0b\n", 4)).err, HasSubstr("a NUL character"));
  EXPECT_THAT(piped("user add ann", std::string(24, 'p') + "\n").err,
              HasSubstr("the password is longer than 23 characters"));
  EXPECT_EQ(piped("user check ann", "").status, 1);
  EXPECT_THAT(piped("user add ann secret", "secret\n").err, HasSubstr("was not expected: secret"));
  EXPECT_EQ(contents(), before);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(user_verbs, take_passwords_of_every_kind) {
  for (const std::string& password :
       {std::string("p"), std::string(11, 'p'), std::string(12, 'p'), std::string(23, 'p'),
        std::string(" !\"#$%&'()*+,-./:;<=>?"), std::string("@[\\]^_`{}~\xc3\xa4 n\\n")}) {
    const outcome got = piped("user add ann", password + "\n");
    ASSERT_EQ(got.status, 0) << password << got.err;
    EXPECT_EQ(sys_user_validpwd("ann", password.c_str()), ORV_OK) << password;
    EXPECT_EQ(piped("user check ann", password + "\n").status, 0);
    EXPECT_EQ(piped("user delete ann --yes", "").status, 0);
  }
}

TEST_F(user_verbs, tell_before_the_password_that_a_name_is_taken) {
  passwd("bob:x:1000:1000::/:/bin/nologin\n");
  machine.file("/etc/group", std::string(root_in_group) + "staff:x:50:\n");
  const outcome got = piped("user add bob", "");
  EXPECT_EQ(got.status, 4);
  EXPECT_THAT(got.err, HasSubstr("ORV_E_LOGIN_USED (-12004)"));
  EXPECT_THAT(piped("user add staff", "").err, HasSubstr("ORV_E_GROUP_USED (-12006)"));
  EXPECT_THAT(piped("user add " + std::string(24, 'n'), "").err,
              HasSubstr("the name of the user is longer than 23 characters"));
}

TEST_F(user_verbs, list_users_without_passwords) {
  users("ann||secret\nbob||twelve characters\n");
  const outcome got = piped("user list", "");
  EXPECT_EQ(got.out, "NAME TYPE\nann  NAS\nbob  SAN\n");
  EXPECT_EQ(json::parse(piped("user list --json", "").out), json::parse(R"({"format_version": 2,
      "users": [{"name": "ann", "type": "NAS"}, {"name": "bob", "type": "SAN"}]})"));
  users("");
  EXPECT_EQ(piped("user list", "").err, "There are no users.\n");
  machine.remove(user_file);
  EXPECT_THAT(piped("user list", "").err, HasSubstr("ORV_E_USER_FILE (-2006)"));
}

TEST_F(user_verbs, check_a_password) {
  add_ann();
  const outcome right = piped("user check ann", "rose bush\n");
  EXPECT_EQ(right.status, 0);
  EXPECT_EQ(right.out, "This is the password of ann.\n");
  const outcome wrong = typed("user check ann", "rose\n");
  EXPECT_EQ(wrong.status, 3);
  EXPECT_EQ(wrong.out, "This is not the password of ann.\n");
  EXPECT_EQ(wrong.err, "Password of ann: \n");
  EXPECT_EQ(json::parse(piped("user check ann --json", "x\n").out)["result"],
            json::parse(R"({"user": "ann", "password_matches": false})"));
  EXPECT_THAT(piped("user check bob", "x\n").err, HasSubstr("ORV_E_NO_USER (-12001)"));
  EXPECT_THAT(machine.output(), Not(HasSubstr("invalide")));
}

TEST_F(user_verbs, change_password_and_name) {
  add_ann();
  machine.forget();
  const outcome got = typed("user modify ann --name anna", "oak tree\noak tree\n");
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.err, "New password of anna: \nThe same again: \nChanged the user anna.\n");
  EXPECT_EQ(users(), "anna||oak tree\n");
  EXPECT_EQ(piped("user check anna", "oak tree\n").status, 0);
  EXPECT_EQ(piped("user modify anna", "elm\n").status, 0);
  EXPECT_EQ(users(), "anna||elm\n");
  expect_secret(got, "oak tree");
}

TEST_F(user_verbs, keep_the_old_user_when_the_new_one_cannot_be_added) {
  add_ann();
  users("ann||rose bush\nroot||x\n");
  const sandbox::lines before = contents();
  EXPECT_EQ(piped("user modify ann --name root", "elm\n").status, 4);
  EXPECT_EQ(piped("user modify bob", "elm\n").status, 3);
  EXPECT_EQ(piped("user modify bob --name carl", "elm\n").status, 3);
  EXPECT_EQ(piped("user modify ann --name " + std::string(24, 'n'), "elm\n").status, 2);
  EXPECT_EQ(contents(), before);
}

TEST_F(user_verbs, delete_a_user_after_a_question) {
  add_ann();
  EXPECT_EQ(piped("user delete ann", "").status, 2);
  const outcome declined = typed("user delete ann", "\n");
  EXPECT_EQ(declined.status, 1);
  EXPECT_THAT(declined.err,
              AllOf(HasSubstr("USER\nann\nThis user is removed"), HasSubstr("Continue? [y/N] ")));
  EXPECT_EQ(users(), "ann||rose bush\n");
  const outcome got = typed("user delete ann", "yes\n");
  EXPECT_EQ(got.status, 0);
  EXPECT_THAT(got.err, testing::EndsWith("Deleted the user ann.\n"));
  EXPECT_EQ(users(), "");
  expect_secret(got, "rose bush");
}

TEST_F(user_verbs, delete_no_other_account) {
  passwd("ftp:x:33:33::/:/bin/nologin\nowner:x:1001:1001::/home/owner:/bin/bash\n");
  users("ftp||x\n");
  const sandbox::lines before = contents();
  for (const std::string name : {"root", "ftp", "owner"}) {
    const outcome got = piped("user delete " + name + " --yes", "");
    EXPECT_EQ(got.status, 3) << name;
    EXPECT_THAT(got.err, HasSubstr("(-12001): there is no user of this name: " + name +
                                   " is another account\n"));
  }
  EXPECT_EQ(piped("user delete nobody --yes", "").status, 3);
  EXPECT_EQ(contents(), before);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(user_verbs, delete_what_an_add_left_behind) {
  passwd("half:x:1000:1000::/:/bin/nologin\n");
  EXPECT_EQ(piped("user delete half --yes", "").status, 0);
  EXPECT_EQ(machine.read("/etc/passwd"), root_in_passwd);
}

TEST_F(user_verbs, say_what_is_left_of_a_user_that_could_not_be_added) {
  machine.remove("/etc/shadow");
  machine.tool("adduser").on("-DH -s /bin/nologin bob");
  const outcome got = piped("user add bob", "secret\n");
  EXPECT_EQ(got.status, 5);
  EXPECT_THAT(got.err, AllOf(HasSubstr("ORV_E_NO_SHADOW (-2008)"),
                             HasSubstr("the account itself has been made")));
}

TEST_F(user_verbs, keep_standard_output_open) {
  add_ann();
  std::printf("after\n");
  EXPECT_EQ(machine.output(), "after\n");
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

}  // namespace
