#include <orv/support.h>
#include <orv/user.h>

#include <cstdio>
#include <string>

#include "common/handles.h"
#include "common/log.h"
#include "common/secret_text.h"
#include "common/text.h"
#include "user/account_database.h"
#include "user/password_hash.h"

int sys_user_validpwd(const char* name, const char* password) try {
  const orv::cleared_stack stack;
  const std::string wanted(orv::text_or_empty(name));
  if (!orv::has_user(wanted)) {
    std::printf("invalide username");
    return ORV_E_NO_USER;
  }
  const orv::unique_file shadow(std::fopen(orv_path_shadow_file, "re"));
  if (!shadow) return orv::log_failure(ORV_E_PASSWORD);
  orv::password_entries entries(shadow.get());
  while (const passwd* const entry = entries.next()) {
    if (wanted != entry->pw_name) continue;
    // An entry of the name services, as "+NAME", has no hash at all.
    const std::string hash(orv::text_or_empty(entry->pw_passwd));
    return orv::has_hash(password == nullptr ? "" : password, hash) ? ORV_OK : ORV_E_PASSWORD;
  }
  return ORV_E_PASSWORD;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
