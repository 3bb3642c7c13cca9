#include "user/account_check.h"

#include <orv/support.h>
#include <orv/user.h>

#include <cstdio>
#include <string>

#include "common/handles.h"
#include "common/text.h"
#include "user/account_database.h"

namespace orv {
namespace {

constexpr int lowest_uid = 500;
constexpr int highest_uid = 65000;

bool is_allowed(int uid) { return uid >= lowest_uid && uid <= highest_uid; }

int log_unreadable_passwords() {
  orv_perror_msg("%s", orv_path_passwd_file);
  return ORV_E_PASSWD_FILE;
}

/// Moves the user number above those in use. It only grows: a gap below an entry that was read
/// before is not found.
int check_login(const std::string& name, int& uid) {
  // Opened for writing too: an account cannot be added to a file that cannot be changed.
  const unique_file file(std::fopen(orv_path_passwd_file, "r+e"));
  if (!file) return log_unreadable_passwords();
  password_entries entries(file.get());
  while (const passwd* const entry = entries.next()) {
    if (name == entry->pw_name) {
      liborv_log_error("%s: login already in use", name.c_str());
      return ORV_E_LOGIN_USED;
    }
    if (entry->pw_uid >= static_cast<uid_t>(uid) && entry->pw_uid < highest_uid) {
      uid = static_cast<int>(entry->pw_uid) + 1;
    }
  }
  return std::ferror(file.get()) != 0 ? log_unreadable_passwords() : ORV_OK;
}

/// Moves the user number on until no group has it, so that user and group can have the same.
int check_group(const std::string& name, int& uid) {
  while (is_allowed(uid) && has_group(static_cast<gid_t>(uid))) ++uid;
  if (!has_group(name)) return ORV_OK;
  liborv_log_error("%s: group name already in use", name.c_str());
  return ORV_E_GROUP_USED;
}

}  // namespace

int check_account(const tag_user_info& user) {
  const std::string name(text_of(user.name));
  int uid = is_allowed(user.uid) ? user.uid : lowest_uid;
  int result = check_login(name, uid);
  if (result == ORV_OK && user.gid == 0) result = check_group(name, uid);
  if (result != ORV_OK || is_allowed(uid)) return result;
  liborv_log_error("illegal uid or no uids left");
  return ORV_E_NO_UID;
}

}  // namespace orv
