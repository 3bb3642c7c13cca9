/// What of a password is left in a process after a call that took or read one: a core would show
/// it. Each call is made by a child that wipes what is its own and stops; its memory is searched.
#include <fcntl.h>
#include <orv.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "common/families.h"
#include "common/text.h"
#include "tests/security/held_memory.h"
#include "tests/user/user_machine.h"

using testing::IsEmpty;
using testing::Not;

namespace {

using security::copy;

bool is_same(const char* text, const char* other) {
  while (*text != '\0' && *text == *other) ++text, ++other;
  return *text == *other;
}

/// Fills the user file: eve with the password, and adam.
bool put_user_file(const char* password) {
  char text[128];
  const char* const end = copy(copy(copy(text, "eve||"), password), "\nadam||other\n");
  const int file = open("/etc/nas_userfile.conf", O_WRONLY | O_TRUNC | O_CLOEXEC);
  const bool is_written = write(file, text, static_cast<std::size_t>(end - text)) == end - text;
  explicit_bzero(text, sizeof text);
  return close(file) == 0 && is_written;
}

/// Calls a function with a request that its maker wipes.
template <class Call>
int with_request(const char* name, const char* password, Call made) {
  tag_user_info user{};
  copy(user.name, name);
  copy(user.password, password);
  const int result = made(user);
  explicit_bzero(&user, sizeof user);
  return result;
}

int add_user(const char* name, const char* password) {
  return with_request(name, password, [](const tag_user_info& user) { return sys_user_add(user); });
}

int add_eve(const char* password) { return add_user("eve", password); }

int change_eve(const char* password) {
  return with_request("eve", password,
                      [](const tag_user_info& user) { return sys_user_modify("eve", user); });
}

tag_share_config volume() {
  tag_share_config share;
  share_conf_init(&share);
  orv::set_text(share.name, "vol");
  orv::set_text(share.service, "iscsi");
  orv::set_text(share.path, "/mnt/vol");
  orv::set_text(share.valid_users, "eve");
  return share;
}

int first_failure(std::initializer_list<int> results) {
  for (const int result : results) {
    if (result != ORV_OK) return result;
  }
  return ORV_OK;
}

}  // namespace

class core_of_a_caller : public user_test {
 protected:
  core_of_a_caller() {
    machine.file("/etc/sharefolder.conf", "");
    machine.file("/etc/ietd.conf", "", 0600);
    machine.tool("cat").is_real();
    machine.directory("/tmp");
  }

  /// No part of a password is left in the memory of a process after a call with this result.
  void expect_no_trace(const security::password_call& made, int result = ORV_OK,
                       std::size_t size = longest) {
    prepare_again();
    const security::traces found = security::traces_of(made, size);
    EXPECT_EQ(found.result, result);
    EXPECT_THAT(found.places, IsEmpty());
  }

  static constexpr std::size_t longest = 23;
  /// Short texts are kept in other places than long ones.
  static constexpr std::size_t short_one = 11;

 private:
  void prepare_again() {
    machine.remove("/var/lib/orv");
    passwd("");
    machine.file("/etc/shadow", root_in_shadow, 0640);
    machine.file("/etc/group", root_in_group);
    machine.file(user_file, "", 0600);
    machine.file("/etc/sharefolder.conf", "");
    machine.file("/etc/ietd.conf", "", 0600);
  }
};

TEST_F(core_of_a_caller, shows_what_somebody_keeps) {
  const auto keep_a_copy = [](char* password) { return strdup(password) == nullptr ? -1 : 0; };
  EXPECT_THAT(security::traces_of(keep_a_copy, 11).places, Not(IsEmpty()));
  const auto keep_a_part = [](char* password) {
    static std::string kept;
    kept = std::string(password).substr(12);
    return 0;
  };
  EXPECT_THAT(security::traces_of(keep_a_part, 23).places, Not(IsEmpty()));
}

TEST_F(core_of_a_caller, has_no_password_of_a_new_user) {
  expect_no_trace(add_eve);
  expect_no_trace(add_eve, ORV_OK, short_one);
}

TEST_F(core_of_a_caller, has_no_password_of_a_user_that_is_not_added) {
  expect_no_trace([](char* password) { return add_user("root", password); }, ORV_E_LOGIN_USED);
  expect_no_trace(
      [](char* password) {
        password[8] = '\n';
        return add_eve(password);
      },
      ORV_E_COMMAND);
  smbpasswd().on("-a -s eve").fails(1);
  expect_no_trace(add_eve, ORV_E_COMMAND);
}

TEST_F(core_of_a_caller, has_no_password_of_a_changed_user) {
  expect_no_trace([](char* password) {
    return first_failure({add_eve("other"), change_eve(password)});
  });
  expect_no_trace([](char* password) {
    return first_failure({add_eve(password), change_eve("other")});
  });
}

TEST_F(core_of_a_caller, has_no_password_that_was_checked) {
  expect_no_trace([](char* password) {
    return first_failure({add_eve(password), sys_user_validpwd("eve", password)});
  });
  expect_no_trace(
      [](char* password) {
        add_eve("other");
        return sys_user_validpwd("eve", password);
      },
      ORV_E_PASSWORD);
}

TEST_F(core_of_a_caller, has_no_password_of_other_users) {
  expect_no_trace(
      [](char* password) { return put_user_file(password) ? sys_user_delete("adam") : -1; });
  expect_no_trace(
      [](char* password) { return put_user_file(password) ? add_user("carl", "other") : -1; });
}

TEST_F(core_of_a_caller, has_no_password_of_a_released_list) {
  expect_no_trace([](char* password) {
    if (!put_user_file(password)) return -1;
    tag_user_info_list users;
    const int result = first_failure(
        {sys_user_get(&users), get_users_from_conf(&users), set_users_to_conf(&users)});
    user_list_show(&users);
    return first_failure({result, user_list_fini(&users)});
  });
}

TEST_F(core_of_a_caller, has_no_password_that_was_shown) {
  expect_no_trace([](char* password) {
    return with_request("eve", password, [](const tag_user_info& user) {
      return user_info_show(&user) < 0 ? -1 : 0;
    });
  });
}

TEST_F(core_of_a_caller, has_no_password_of_a_file_that_is_made_whole) {
  expect_no_trace([](char* password) {
    orv::scoped_list<tag_user_info_list> users;
    if (!put_user_file(password) || sys_user_get(users.get()) != ORV_OK) return -1;
    if (set_users_to_conf(users.get()) != ORV_OK) return -1;
    // As a process leaves it that is killed while it writes.
    for (const auto& entry : std::filesystem::directory_iterator("/var/lib/orv/rewrites")) {
      if (entry.path().extension() == ".done") std::filesystem::remove(entry.path());
    }
    if (truncate("/etc/nas_userfile.conf", 2) != 0) return -1;
    user_list_fini(users.get());
    return first_failure({sys_user_get(users.get()), users.begin() != users.end() ? 0 : -1});
  });
}

TEST_F(core_of_a_caller, has_no_password_of_a_committed_file) {
  expect_no_trace([](char* password) {
    const bool is_put = put_user_file(password);
    return is_put ? first_failure({conf_save(user_file), conf_save(user_file)}) : -1;
  });
}

TEST_F(core_of_a_caller, has_no_password_that_was_asked_for) {
  const auto ask = [](char* password) {
    char out[64];
    const bool is_put = put_user_file(password);
    const int result = is_put ? get_pwd_from_conf("eve", out, sizeof out) : -1;
    const bool is_right = is_same(out, password);
    explicit_bzero(out, sizeof out);
    return is_right ? result : -1;
  };
  expect_no_trace(ask);
  expect_no_trace(ask, ORV_OK, short_one);
}

TEST_F(core_of_a_caller, has_no_password_of_an_iscsi_user) {
  const auto change_volumes = [](char* password) {
    tag_share_config share = volume();
    if (!put_user_file(password)) return -1;
    orv::scoped_list<tag_shareconf_list> shares;
    const int file = open("/etc/ietd.conf", O_RDWR | O_CLOEXEC);
    const int result = first_failure(
        {share_add(&share), share_mod(&share), get_share_from_ietd(file, shares.get()),
         get_shareinfo_from_ietd(shares.get()), put_share_to_ietd(file, shares.get())});
    close(file);
    return first_failure({result, share_del("vol", "iscsi")});
  };
  expect_no_trace(change_volumes);
  expect_no_trace(change_volumes, ORV_OK, short_one);
}
