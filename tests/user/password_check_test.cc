#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>

#include "tests/user/user_machine.h"

using testing::IsEmpty;

namespace {

/// bob, who may log in with "secret".
class password_check : public user_test {
 protected:
  static constexpr char md5_of_secret[] = "$1$abcdefgh$cHJi5PXp/ki/ktXzqlk6I1";

  password_check() {
    passwd("bob:x:600:600::/:/bin/nologin\n");
    shadow_entry(std::string("bob:") + md5_of_secret + ":19000:0:99999:7:::\n");
  }
  void shadow_entry(const std::string& lines) {
    machine.file("/etc/shadow", root_in_shadow + lines, 0640);
  }
  void TearDown() override {
    EXPECT_THAT(machine.commands(), IsEmpty());
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  }
};

TEST_F(password_check, knows_the_right_password) {
  EXPECT_EQ(sys_user_validpwd("bob", "secret"), ORV_OK);
  EXPECT_EQ(machine.log(), "");
  EXPECT_EQ(machine.output(), "");
}

TEST_F(password_check, refuses_every_other_one_without_a_word) {
  for (const char* const password : {"", "Secret", "secret ", "secre", "secrets", md5_of_secret}) {
    EXPECT_EQ(sys_user_validpwd("bob", password), ORV_E_PASSWORD) << password;
  }
  EXPECT_EQ(sys_user_validpwd("bob", nullptr), ORV_E_PASSWORD);
  EXPECT_EQ(machine.log(), "");
  EXPECT_EQ(machine.output(), "");
}

TEST_F(password_check, knows_hashes_of_other_methods) {
  shadow_entry(
      "bob:$6$abcdefgh$ltjgWl6579NluT/Vi1nwEvcil.G5Nbc4NiXZaNGStk8PSwGfQv72N2CKPPrVACtLtip/cZ/1GM"
      "/O6IND4WQhG.:19000:0:99999:7:::\n");
  EXPECT_EQ(sys_user_validpwd("bob", "other"), ORV_E_PASSWORD);
  EXPECT_EQ(sys_user_validpwd("bob", "secret"), ORV_OK);
}

TEST_F(password_check, knows_an_empty_password) {
  shadow_entry("bob:$1$abcdefgh$M55TzYaaccxVGbptZWaxX/:19000:0:99999:7:::\n");
  EXPECT_EQ(sys_user_validpwd("bob", ""), ORV_OK);
  EXPECT_EQ(sys_user_validpwd("bob", nullptr), ORV_OK);
  EXPECT_EQ(sys_user_validpwd("bob", "x"), ORV_E_PASSWORD);
}

TEST_F(password_check, refuses_an_unknown_user) {
  for (const char* const name : {"ann", "", "Bob", "bob:x", "bob\n", "x\nbob"}) {
    machine.forget();
    EXPECT_EQ(sys_user_validpwd(name, "secret"), ORV_E_NO_USER) << name;
    EXPECT_EQ(machine.output(), "invalide username");
  }
  EXPECT_EQ(sys_user_validpwd(nullptr, "secret"), ORV_E_NO_USER);
  machine.remove("/etc/passwd");
  EXPECT_EQ(sys_user_validpwd("bob", "secret"), ORV_E_NO_USER);
}

TEST_F(password_check, refuses_an_account_without_a_shadow_entry) {
  for (const std::string lines :
       {"", "bobby:$1$abcdefgh$cHJi5PXp/ki/ktXzqlk6I1:19000:0:99999:7:::\n",
        "bob:$1$abcdefgh$cHJi5PXp/ki/ktXzqlk6I1:::::::\n", "bob:$1$abcdefgh$\n"}) {
    shadow_entry(lines);
    EXPECT_EQ(sys_user_validpwd("bob", "secret"), ORV_E_PASSWORD) << lines;
  }
}

TEST_F(password_check, refuses_an_account_that_is_locked_or_has_no_hash) {
  for (const std::string hash : {"", "*", "!", "x", "*0", "*1", "$1$", "$1$abcdefgh$",
                                 "!$1$abcdefgh$cHJi5PXp/ki/ktXzqlk6I1", "secret"}) {
    shadow_entry("bob:" + hash + ":19000:0:99999:7:::\n");
    EXPECT_EQ(sys_user_validpwd("bob", "secret"), ORV_E_PASSWORD) << hash;
    EXPECT_EQ(sys_user_validpwd("bob", ""), ORV_E_PASSWORD) << hash;
  }
}

TEST_F(password_check, goes_by_the_first_entry) {
  shadow_entry("bob:!:19000:0:99999:7:::\nbob:" + std::string(md5_of_secret) +
               ":19000:0:99999:7:::\n");
  EXPECT_EQ(sys_user_validpwd("bob", "secret"), ORV_E_PASSWORD);
}

TEST_F(password_check, passes_over_what_is_no_entry) {
  shadow_entry("# bob:x\n\n" + std::string(100000, 'x') + "\n" + std::string("\0:\xff\n", 4) +
               "bob:" + md5_of_secret + ":19000:0:99999:7:::");
  EXPECT_EQ(sys_user_validpwd("bob", "secret"), ORV_OK);
}

TEST_F(password_check, passes_over_entries_of_any_length) {
  passwd("ann:x:601:601:" + std::string(5000, 'a') +
         ":/:/bin/nologin\nbob:x:600:600:" + std::string(5000, 'b') + ":/:/bin/nologin\n");
  shadow_entry("ann:" + std::string(5000, 'x') + ":19000:0:99999:7:::\nbob:" + md5_of_secret +
               ":19000:0:99999:7:::\n");
  EXPECT_EQ(sys_user_validpwd("bob", "secret"), ORV_OK);
  EXPECT_EQ(sys_user_validpwd("ann", "secret"), ORV_E_PASSWORD);
}

TEST_F(password_check, of_one_thread_knows_nothing_of_another_ones) {
  std::atomic<bool> is_over = false;
  std::thread right([&] {
    while (!is_over) EXPECT_EQ(sys_user_validpwd("bob", "secret"), ORV_OK);
  });
  for (int i = 0; i < 300; ++i) EXPECT_EQ(sys_user_validpwd("bob", "wrong"), ORV_E_PASSWORD);
  is_over = true;
  right.join();
}

TEST_F(password_check, matches_no_entry_of_the_name_services) {
  passwd("-a:x:600:600::/:/bin/nologin\n+:x:601:601::/:/bin/nologin\n");
  shadow_entry("-a:\n+\n");
  for (const char* const name : {"-a", "+"}) {
    EXPECT_NE(sys_user_validpwd(name, "secret"), ORV_OK) << name;
    EXPECT_NE(sys_user_validpwd(name, ""), ORV_OK) << name;
  }
}

TEST_F(password_check, without_a_shadow_file_is_logged) {
  machine.remove("/etc/shadow");
  EXPECT_EQ(sys_user_validpwd("bob", "secret"), ORV_E_PASSWORD);
  EXPECT_EQ(machine.log(), "sys_user_validpwd:N return -12002 with No such file or directory\n");
}

}  // namespace
