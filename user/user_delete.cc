#include <orv/user.h>

#include "common/command.h"
#include "common/families.h"
#include "common/log.h"
#include "common/own_lock.h"
#include "common/secret_text.h"
#include "common/text.h"
#include "user/account_files.h"
#include "user/user_file.h"

namespace {

int delete_from_user_file(std::string_view name) {
  const orv::own_lock lock(orv::user_file_lock);
  if (!lock) return orv::log_failure(ORV_E_USER_FILE);
  orv::scoped_list<tag_user_info_list> users;
  const int result = orv::read_users_to_change(users.get());
  if (result != ORV_OK) return result;
  user_list_show(users.get());
  orv::remove_if(users.get(),
                 [name](const tag_user_info& user) { return orv::text_of(user.name) == name; });
  return orv::write_users(users.get());
}

}  // namespace

int sys_user_delete(const char* name) try {
  const orv::cleared_stack stack;
  // A user may have no SMB password: that is logged, and no more.
  orv::run(orv::command("smbpasswd -x %s", name));
  const int deleted = orv::run(orv::command("userdel %s", name));
  const int result = delete_from_user_file(orv::text_or_empty(name));
  // Whatever failed: an account that is gone stays gone.
  orv::save_account_files(result == ORV_OK);
  return result == ORV_OK ? deleted : result;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
