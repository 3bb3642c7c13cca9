#include <unistd.h>

#include <cerrno>
#include <set>

#include "tests/user/bent_accounts.h"
#include "tests/user/user_machine.h"

using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

class password_hash : public user_test {
 protected:
  /// "$1$" and the eight characters of the salt.
  static std::string setting_of(const std::string& hash) { return hash.substr(0, 11); }
};

TEST_F(password_hash, is_md5_crypt_with_a_salt_of_eight_characters) {
  ASSERT_EQ(add("bob", "secret"), ORV_OK);
  EXPECT_THAT(hash_of("bob"), MatchesRegex("\\$1\\$[./0-9A-Za-z]{8}\\$[./0-9A-Za-z]{22}"));
  EXPECT_EQ(sys_user_validpwd("bob", "secret"), ORV_OK);
}

TEST_F(password_hash, has_a_salt_made_of_time_process_and_processor_time) {
  bent::take_salt();
  for (const std::string name : {"a", "b", "c"}) {
    ASSERT_EQ(add(name, "secret"), ORV_OK);
    EXPECT_EQ(setting_of(hash_of(name)), "$1$" + bent::take_salt());
  }
}

TEST_F(password_hash, has_a_salt_that_differs_each_time) {
  std::set<std::string> salts;
  for (const std::string name : {"a", "b", "c", "d", "e"}) {
    ASSERT_EQ(add(name, "secret"), ORV_OK);
    salts.insert(setting_of(hash_of(name)));
  }
  EXPECT_EQ(salts.size(), 5U);
}

class failing_hash : public password_hash, public testing::WithParamInterface<const char*> {};

TEST_P(failing_hash, changes_nothing) {
  const sandbox::lines before = contents();
  {
    const bent::crypt_answer bent(GetParam());
    EXPECT_EQ(add("bob", "secret"), ORV_E_FAILED);
  }
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_THAT(contents(), ElementsAreArray(before));
  EXPECT_THAT(committed(), IsEmpty());
  EXPECT_EQ(machine.output(), "");
  EXPECT_EQ(machine.log(), "create_account:N return -1 with Invalid argument\n");
}

TEST_P(failing_hash, matches_no_password) {
  ASSERT_EQ(add("bob", "secret"), ORV_OK);
  const bent::crypt_answer bent(GetParam());
  EXPECT_EQ(sys_user_validpwd("bob", "secret"), ORV_E_PASSWORD);
  machine.file("/etc/shadow", "bob:*0:19000:0:99999:7:::\n");
  EXPECT_EQ(sys_user_validpwd("bob", "secret"), ORV_E_PASSWORD);
}

INSTANTIATE_TEST_SUITE_P(by, failing_hash, testing::Values(nullptr, "*0", "*1", ""));

TEST_F(password_hash, is_kept_up_to_127_characters) {
  const std::string hash = "$1$" + std::string(300, 'x');
  {
    const bent::crypt_answer bent(hash.c_str());
    EXPECT_EQ(add("bob", "secret"), ORV_OK);
  }
  EXPECT_EQ(hash_of("bob"), hash.substr(0, 127));
}

}  // namespace
