#include <orv/user.h>

#include "common/log.h"
#include "common/secret_text.h"
#include "user/account_files.h"
#include "user/user_add.h"

ORV_CLEARS_ARGUMENT int sys_user_modify(const char* oldname, tag_user_info user) try {
  const orv::cleared_stack stack;
  const orv::cleared_at_end cleared(user);
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
