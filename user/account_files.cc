#include "user/account_files.h"

#include <orv/support.h>

namespace orv {
namespace {

constexpr const char* account_files[] = {"/etc/passwd", "/etc/shadow", "/etc/group",
                                         "/etc/samba/private/smbpasswd"};

bool save_after_change = true;

}  // namespace

void save_account_files(bool is_user_file_rewritten) {
  if (!save_after_change) return;
  for (const char* const path : account_files) conf_save(path);
  if (is_user_file_rewritten) conf_save(user_file_path);
}

saving_held_back::saving_held_back() { save_after_change = false; }

saving_held_back::~saving_held_back() { save_after_change = true; }

}  // namespace orv
