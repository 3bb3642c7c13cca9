#include <orv/user.h>

#include <cstdio>
#include <cstring>

#include "common/families.h"
#include "common/log.h"

// The type is left alone: it follows from the password and is set wherever one is read.
void user_info_init(tag_user_info* user) {
  if (user == nullptr) return;
  user->uid = 0;
  user->gid = 0;
  std::memset(user->name, 0, sizeof user->name);
  std::memset(user->password, 0, sizeof user->password);
}

void user_info_fini(tag_user_info* user) { user_info_init(user); }

int user_info_show(const tag_user_info* user) {
  if (user == nullptr) return orv::log_missing_argument();
  std::printf("%d\t%s\t%s", user->uid, user->name, user->password);
  return std::printf("\t%d\n", user->gid);
}

void user_list_init(tag_user_info_list* list) { orv::list_init(list); }

int user_list_fini(tag_user_info_list* list) { return orv::list_fini(list); }

void user_list_show(const tag_user_info_list* list) { orv::list_show(list, user_info_show); }
