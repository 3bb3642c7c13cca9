#include "subject.h"

namespace faults {
namespace {

tag_user_info request(const char* name, const char* password) {
  tag_user_info user{};
  put(user.name, name);
  put(user.password, password);
  return user;
}

using list = tag_user_info_list;

/// The shadow file has a lock that counts; the one of `lckpwdf` is taken besides. A new shadow file
/// stays when it cannot take the place of the old one.
const std::vector<std::string> left_by_an_addition = {"/etc/.pwd.lock", "/etc/shadow+"};

/// Both users, or one of them, may be in each.
const std::vector<std::string> account_files = {"/etc/passwd", "/etc/shadow", "/etc/group",
                                                "/etc/samba/private/smbpasswd",
                                                "/etc/nas_userfile.conf"};

}  // namespace

std::vector<subject> user_subjects() {
  const codes addition = {ORV_E_COMMAND,       ORV_E_PASSWD_FILE,   ORV_E_LOGIN_USED,
                          ORV_E_GROUP_USED,    ORV_E_NO_UID,        ORV_E_FAILED,
                          ORV_E_NO_SHADOW,     ORV_E_SHADOW_OPEN,   ORV_E_SHADOW_LOCKED,
                          ORV_E_SHADOW_BACKUP, ORV_E_SHADOW_CREATE, ORV_E_SHADOW_WRITE,
                          ORV_E_SHADOW_RENAME, ORV_E_USER_FILE};
  return {
      {.name = "sys_user_add(tag_user_info)",
       .documented = addition,
       .prepare = call([] { return sys_user_add(request("bob", "secret of bob")); }),
       .cut_short = {"/etc/shadow-"},
       .leaves = left_by_an_addition},
      {.name = "sys_user_delete(char const*)",
       .documented = {ORV_E_USER_FILE, ORV_E_COMMAND},
       .prepare = call([] { return sys_user_delete("ann"); }),
       .overcomes = because("a user may have no SMB password", {"smbpasswd"})},
      {.name = "sys_user_modify(char const*, tag_user_info)",
       .documented = addition,
       .prepare = call([] { return sys_user_modify("ann", request("bob", "secret of bob")); }),
       .overcomes = because("whether the old user went is not told", {every_fault}),
       .cut_short = {"/etc/shadow-"},
       .mixed = account_files,
       .leaves = left_by_an_addition},
      {.name = "set_users_to_conf(tag_user_info_list*)",
       .prepare = with_list<list>(set_users_to_conf,
                                  [](list* users) { put(orv::append(users)->name, "bob"); }),
       .overcomes = because("callers never asked whether the file was written", {every_fault}),
       .cut_short = {"/etc/nas_userfile.conf"}},
      {.name = "create_backup(char const*, _IO_FILE*)",
       .documented = {1},
       .prepare =
           [](world&) {
             auto file = std::shared_ptr<FILE>(std::fopen("/etc/shadow", "re"), std::fclose);
             return ready_call{
                 .act = [=] { return long{create_backup("/etc/shadow-", file.get())}; }};
           },
       .cut_short = {"/etc/shadow-"}},
      {.name = "sys_user_get(tag_user_info_list*)",
       .documented = {ORV_E_USER_FILE},
       .prepare = with_list<list>(sys_user_get)},
      {.name = "get_users_from_conf(tag_user_info_list*)",
       .documented = {ORV_E_USER_FILE},
       .prepare = with_list<list>(get_users_from_conf)},
      {.name = "sys_user_validpwd(char const*, char const*)",
       .documented = {ORV_E_NO_USER, ORV_E_PASSWORD},
       .prepare =
           [](world& w) {
             w.machine.file("/etc/shadow",
                            "ann:$1$abcdefgh$"
                            "G//4keteveJp0qb8z2DxG/"
                            ":19900:0:99999:7:::\n",
                            0640);
             return ready_call{.act = [] { return long{sys_user_validpwd("ann", "password")}; }};
           }},
      {.name = "sys_user_validpwd(char const*, char const*)",
       .variant = "of a wrong password",
       .documented = {ORV_E_NO_USER},
       .prepare = call([] { return sys_user_validpwd("ann", "wrong"); }),
       .expected = ORV_E_PASSWORD},
  };
}

}  // namespace faults
