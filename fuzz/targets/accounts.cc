/// The system's account files: what a new user is checked against, passwords, and the shadow file
/// when it gets a new hash.

#include <orv/user.h>

#include "fuzz.h"
#include "user/account_check.h"
#include "user/shadow_file.h"

namespace {

std::size_t colons_in(std::string_view text) {
  std::size_t found = 0;
  for (const char c : text) found += c == ':' ? 1U : 0U;
  return found;
}

void change_hash(const std::string& name, const std::string& shadow) {
  constexpr std::string_view hash = "$1$abcdefgh$0123456789012345678901";
  the_machine.put("/etc/shadow", shadow);
  EXPECT(orv::set_password_hash(name, hash) == ORV_OK);
  EXPECT(*the_machine.text("/etc/shadow-") == shadow);
  const std::string changed = *the_machine.text("/etc/shadow");
  // No line comes or goes, and other users' lines stay as they are.
  EXPECT(fuzz::lines_in(changed) == fuzz::lines_in(shadow));
  std::string_view old_rest = shadow;
  std::string_view new_rest = changed;
  while (!old_rest.empty()) {
    const std::string_view old_line = orv::before(old_rest, "\n");
    const std::string_view new_line = orv::before(new_rest, "\n");
    const bool is_changed = old_line.starts_with(name + ':');
    EXPECT(is_changed ? new_line.starts_with(name + ':' + std::string(hash))
                      : new_line == old_line);
    old_rest.remove_prefix(std::min(old_rest.size(), old_line.size() + 1));
    new_rest.remove_prefix(std::min(new_rest.size(), new_line.size() + 1));
  }
  EXPECT(colons_in(changed) >= colons_in(shadow) || name.find(':') != name.npos);
  EXPECT(orv::set_password_hash(name, hash) == ORV_OK);
  EXPECT(*the_machine.text("/etc/shadow") == changed);
}

}  // namespace

FUZZ_TARGET(accounts, in) {
  const std::string name = in.word();
  const std::string passwords(in.part());
  const std::string groups(in.part());
  const std::string shadow(in.rest());
  the_machine.put("/etc/passwd", passwords);
  the_machine.put("/etc/group", groups);
  tag_user_info user{};
  orv::set_text(user.name, name);
  const int checked = orv::check_account(user);
  EXPECT(checked == ORV_OK || checked == ORV_E_LOGIN_USED || checked == ORV_E_GROUP_USED ||
         checked == ORV_E_NO_UID);
  the_machine.put("/etc/shadow", shadow);
  const int valid = sys_user_validpwd(name.c_str(), "secret");
  EXPECT(valid == ORV_OK || valid == ORV_E_NO_USER || valid == ORV_E_PASSWORD);
  if (!name.empty() && name.find('\n') == name.npos) change_hash(name, shadow);
}
