#include "user/user_add.h"

#include <orv/user.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "common/command.h"
#include "common/control_characters.h"
#include "common/families.h"
#include "common/log.h"
#include "common/own_lock.h"
#include "common/secret_text.h"
#include "common/text.h"
#include "user/account_check.h"
#include "user/account_files.h"
#include "user/password_hash.h"
#include "user/shadow_file.h"
#include "user/user_file.h"

namespace {

/// The user numbers that were checked are not passed on: "adduser" finds its own.
orv::command adduser(std::string_view name) {
  return orv::command("adduser -DH -s /bin/nologin %s", name);
}

orv::command smbpasswd(std::string_view name, std::string_view password) {
  const orv::echoed_password echoed{password};
  return orv::command("echo -e \"%s\n%s\" | /usr/bin/smbpasswd -a -s %s", echoed, echoed, name);
}

/// False for a name that would end its field or line in an account file or in the user file.
bool fits_in_a_field(std::string_view name) {
  for (const char c : name) {
    if (orv::is_control(c) || c == ':' || c == '|') return false;
  }
  return true;
}

int append_to_user_file(std::string_view name, std::string_view password) {
  const orv::own_lock lock(orv::user_file_lock);
  if (!lock) return orv::log_failure(ORV_E_USER_FILE);
  orv::scoped_list<tag_user_info_list> users;
  const int result = orv::read_users_to_change(users.get());
  if (result != ORV_OK) return result;
  user_list_show(users.get());
  if (!orv::append_user(users.get(), name, password)) return orv::log_failure(ORV_E_USER_FILE);
  return orv::write_users(users.get());
}

int create_account(const std::string& name, const char* password) {
  // Hashed first: without a hash no account is made.
  const std::string hash = orv::password_hash(password);
  if (hash.empty()) return orv::log_failure(ORV_E_FAILED);
  int result = orv::run(adduser(name));
  if (result != ORV_OK) return result;
  std::printf("add user '%s', passwd '%s'\n", name.c_str(), hash.c_str());
  result = orv::set_password_hash(name, hash);
  if (result == ORV_OK) result = orv::run(smbpasswd(name, password));
  if (result != ORV_OK) return result;
  result = append_to_user_file(name, password);
  // Whatever the user file says: the account is there.
  orv::save_account_files(result == ORV_OK);
  return result;
}

}  // namespace

int orv::check_request(const tag_user_info& user) {
  const std::string_view name = text_of(user.name);
  const command account = adduser(name);
  if (!fits_in_a_field(name)) {
    errno = EINVAL;
    log_not_run(account);
    return ORV_E_COMMAND;
  }
  if (account.error() != 0) return run(account);
  const command smb = smbpasswd(name, text_of(user.password));
  return smb.error() != 0 ? run(smb) : ORV_OK;
}

ORV_CLEARS_ARGUMENT int sys_user_add(tag_user_info user) try {
  const orv::cleared_stack stack;
  const orv::cleared_at_end cleared(user);
  user.name[sizeof user.name - 1] = '\0';
  user.password[sizeof user.password - 1] = '\0';
  int result = orv::check_account(user);
  if (result == ORV_OK) result = orv::check_request(user);
  if (result != ORV_OK) return result;
  return create_account(std::string(orv::text_of(user.name)), user.password);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
