#include "tests/user/user_machine.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

/// The shells that a machine may have: their `echo` knows "-e".
enum class shell { bash, busybox };

class smb_password : public user_test, public testing::WithParamInterface<shell> {
 protected:
  smb_password() {
    if (GetParam() == shell::bash) return;
    machine.remove("/bin/sh");
    machine.link("/bin/sh", "/.sandbox/bin/busybox");
  }

  /// A new user with this password, once it is shown to have arrived everywhere.
  void expect_verbatim(const std::string& password) {
    const std::string name = "user" + std::to_string(++users_);
    ASSERT_EQ(add(name, password), ORV_OK) << password;
    EXPECT_EQ(smb_input(), password + '\n' + password + '\n');
    EXPECT_EQ(sys_user_validpwd(name.c_str(), password.c_str()), ORV_OK) << password;
    EXPECT_EQ(machine.log(), "");
  }

  int users_ = 0;
};

TEST_P(smb_password, is_given_twice) {
  expect_verbatim("secret");
  EXPECT_THAT(machine.calls().back(), ElementsAre("/usr/bin/smbpasswd", "-a", "-s", "user1"));
  EXPECT_EQ(machine.call_records().back().input, "pipe");
}

TEST_P(smb_password, may_hold_every_character_but_a_line_end) {
  std::string password;
  for (int c = 1; c < 256; ++c) {
    if (c == '\n' || c == '\r') continue;
    password += static_cast<char>(c);
    password += 'n';  // which is part of an escape, behind a backslash
    if (password.size() < 20 && c < 255) continue;
    expect_verbatim(password);
    password.clear();
  }
}

TEST_P(smb_password, may_be_of_any_length_that_a_record_holds) {
  for (const std::size_t length : {0U, 1U, 11U, 12U, 22U, 23U}) {
    expect_verbatim(std::string(length, 'x'));
    expect_verbatim(std::string(length, '\\'));
    expect_verbatim(std::string(length, '"'));
  }
}

TEST_P(smb_password, means_nothing_to_the_shell_or_to_echo) {
  for (const char* const password : {"\\n",
                                     "\\\\n",
                                     "\\c",
                                     "\\0101",
                                     "\\x41",
                                     "\\u00e4",
                                     "\\e[0m",
                                     "\\",
                                     "a\\",
                                     "\"",
                                     "\\\"",
                                     "$(reboot)",
                                     "`reboot`",
                                     "${HOME}",
                                     "$$",
                                     "\\$HOME",
                                     "$'\\n'",
                                     "\"; reboot; \"",
                                     "'; reboot",
                                     "| reboot",
                                     "&& reboot #",
                                     "> /passwd",
                                     "!!",
                                     "!-1",
                                     "*",
                                     "?",
                                     "[a-z]",
                                     "{a,b}",
                                     "~",
                                     "%s%n",
                                     "-n",
                                     "-e",
                                     "-E",
                                     "-ne",
                                     "-",
                                     "--",
                                     " lead",
                                     "trail ",
                                     "  ",
                                     "\t",
                                     "\xc3\xa4\xe2\x82\xac"}) {
    expect_verbatim(password);
  }
  EXPECT_FALSE(machine.exists("/passwd"));
}

INSTANTIATE_TEST_SUITE_P(in, smb_password, testing::Values(shell::bash, shell::busybox),
                         [](const auto& of) {
                           return of.param == shell::bash ? "bash" : "busybox";
                         });

class smb_user : public user_test {
 protected:
  /// A request that is refused before anything is changed, with this line in the log.
  void expect_refused(const tag_user_info& user, const std::string& command,
                      const std::string& reason) {
    const sandbox::lines before = contents();
    EXPECT_EQ(sys_user_add(user), ORV_E_COMMAND);
    EXPECT_THAT(machine.commands(), IsEmpty());
    EXPECT_THAT(contents(), ElementsAreArray(before));
    EXPECT_THAT(committed(), IsEmpty());
    EXPECT_EQ(machine.output(), "");
    EXPECT_EQ(machine.log(),
              "system(\"" + command + "\") return normal with exit(127) for '" + reason + "'\n");
    machine.forget();
  }
};

TEST_F(smb_user, is_made_by_the_documented_command) {
  EXPECT_EQ(add("bob", "secret"), ORV_OK);
  EXPECT_EQ(machine.commands().back(), "echo -e \"secret\nsecret\" | /usr/bin/smbpasswd -a -s bob");
  EXPECT_EQ(add("ann", "a\\b$c`d\"e"), ORV_OK);
  EXPECT_EQ(machine.commands().back(),
            "echo -e \"a\\\\\\\\b\\$c\\`d\\\"e\na\\\\\\\\b\\$c\\`d\\\"e\" | /usr/bin/smbpasswd -a "
            "-s ann");
}

TEST_F(smb_user, that_cannot_be_made_is_logged_without_the_password) {
  smbpasswd().on("-a -s bob").fails(1);
  EXPECT_EQ(add("bob", "secret"), ORV_E_COMMAND);
  EXPECT_EQ(machine.log(),
            "system(\"echo -e \"***\n***\" | /usr/bin/smbpasswd -a -s bob\") return normal with "
            "exit(1) for 'Success'\n");
  EXPECT_EQ(users(), "");
  EXPECT_THAT(committed(), IsEmpty());
  expect_account("bob");
}

TEST_F(smb_user, is_not_made_with_a_line_end_in_the_password) {
  for (const char* const password : {"two\nlines", "\n", "x\n", "\nx", "x\r", "a\r\nb"}) {
    expect_refused(request("bob", password), "echo -e \"***\n***\" | /usr/bin/smbpasswd -a -s bob",
                   "Invalid argument");
  }
}

TEST_F(smb_user, is_not_made_by_a_command_that_does_not_fit) {
  const std::string name(23, '\'');
  std::string quoted = "'";
  for (const char c : name) quoted += std::string("'\\'") + c;
  quoted += "'";
  expect_refused(request(name, std::string(23, '\\')),
                 "echo -e \"***\n***\" | /usr/bin/smbpasswd -a -s " + quoted, "File name too long");
}

TEST_F(smb_user, is_not_made_of_a_name_that_an_account_file_cannot_hold) {
  for (const char* const name : {"a:b", "a|b", ":", "|", "bob:x:0:0::/:/bin/sh", "bob||x"}) {
    const std::string quoted = name == std::string(":") || std::string(name) == "a:b" ||
                                       std::string(name) == "bob:x:0:0::/:/bin/sh"
                                   ? name
                                   : "'" + std::string(name) + "'";
    expect_refused(request(name, "secret"), "adduser -DH -s /bin/nologin " + quoted,
                   "Invalid argument");
  }
  for (const char c : {'\n', '\r', '\t', '\x01', '\x7f'}) {
    expect_refused(request(std::string("a") + c + "b", "secret"),
                   std::string("adduser -DH -s /bin/nologin 'a") + c + "b'", "Invalid argument");
  }
}

TEST_F(smb_user, is_not_made_of_a_name_that_is_no_word) {
  expect_refused(request("", "secret"), "adduser -DH -s /bin/nologin ", "Invalid argument");
  expect_refused(request("-h", "secret"), "adduser -DH -s /bin/nologin -h", "Invalid argument");
}

TEST_F(smb_user, may_have_a_name_that_the_shell_would_take_apart) {
  for (const std::string name :
       {"o'brien", "a b", "$(reboot)", "a;reboot", "\xc3\xa4", "*", "\"x\""}) {
    machine.tool("adduser").on_exactly({"-DH", "-s", "/bin/nologin", name});
    EXPECT_EQ(add(name, "secret"), ORV_OK);
    EXPECT_THAT(machine.calls().back(), ElementsAre("/usr/bin/smbpasswd", "-a", "-s", name));
  }
}

TEST_F(smb_user, has_a_password_that_no_failure_puts_into_the_log) {
  const std::string password = "S3cret\\$\"`w0rd";
  machine.tool("adduser").on("-DH -s /bin/nologin bob").fails(1).then().succeeds();
  smbpasswd().on("-a -s bob").fails(7);
  EXPECT_EQ(add("bob", password), ORV_E_COMMAND);
  EXPECT_EQ(add("bob", password), ORV_E_COMMAND);
  machine.remove("/etc/shadow");
  EXPECT_EQ(add("bob", password), ORV_E_NO_SHADOW);
  EXPECT_EQ(add("root", password), ORV_E_LOGIN_USED);
  EXPECT_EQ(add("bob", password + "\n"), ORV_E_COMMAND);
  machine.remove("/bin/sh");
  EXPECT_EQ(add("bob", password), ORV_E_COMMAND);
  EXPECT_THAT(machine.log(), Not(HasSubstr("S3cret")));
  EXPECT_THAT(machine.log(), Not(HasSubstr("w0rd")));
}

}  // namespace
