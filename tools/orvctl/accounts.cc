#include "tools/orvctl/accounts.h"

#include <grp.h>
#include <pwd.h>

#include "tools/orvctl/errors.h"
#include "tools/orvctl/records.h"

namespace orvctl {
namespace {

// Users have no lower number, and no shell to log in with.
constexpr uid_t lowest_user_number = 500;
constexpr char user_shell[] = "/bin/nologin";

}  // namespace

bool is_user(const std::string& name) {
  user_list users;
  check(sys_user_get(users.get()));
  for (const tag_user_info& user : users) {
    if (name == user.name) return true;
  }
  return false;
}

void must_be_user(const std::string& name) {
  if (!is_user(name)) throw library_problem(ORV_E_NO_USER, name);
}

void must_be_removable(const std::string& name) {
  const passwd* account = ::getpwnam(name.c_str());
  if (account == nullptr) return must_be_user(name);
  const bool is_system_account = account->pw_uid < lowest_user_number;
  const bool may_be_left = account->pw_shell == std::string(user_shell);
  if (!is_system_account && (may_be_left || is_user(name))) return;
  throw library_problem(ORV_E_NO_USER, name + " is another account");
}

void must_be_free(const std::string& name) {
  if (::getpwnam(name.c_str()) != nullptr) throw library_problem(ORV_E_LOGIN_USED, name);
  if (::getgrnam(name.c_str()) != nullptr) throw library_problem(ORV_E_GROUP_USED, name);
}

}  // namespace orvctl
