#include <orv/user.h>

#include "user/account_files.h"
#include "user/user_add.h"

#include "common/log.h"

int sys_user_modify(const char* oldname, tag_user_info user) try {
  // The old user does not go for one that can never come.
  const int result = orv::check_request(user);
  if (result != ORV_OK) return result;
  {
    const orv::saving_held_back until_the_user_is_added;
    sys_user_delete(oldname);
  }
  return sys_user_add(user);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
