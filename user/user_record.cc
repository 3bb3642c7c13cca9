#include <orv/user.h>

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string_view>

#include "common/families.h"
#include "common/log.h"
#include "common/secret_text.h"
#include "common/text.h"
#include "common/whole_file.h"

namespace {

/// Prints a text that may hold a password, which would stay in the buffer of standard output.
void print_past_buffer(const char* text) {
  std::fflush(stdout);
  const int file = fileno(stdout);
  if (file < 0) {
    std::fputs(text, stdout);
  } else {
    orv::write_whole(file, text);
  }
}

}  // namespace

// The type is left alone: it follows from the password and is set wherever one is read.
void user_info_init(tag_user_info* user) {
  if (user == nullptr) return;
  user->uid = 0;
  user->gid = 0;
  std::memset(user->name, 0, sizeof user->name);
  explicit_bzero(user->password, sizeof user->password);
}

void user_info_fini(tag_user_info* user) { user_info_init(user); }

int user_info_show(const tag_user_info* user) {
  const orv::cleared_stack stack;
  if (user == nullptr) return orv::log_missing_argument();
  char line[sizeof *user + 32];  // both numbers and both whole fields, ended or not
  const orv::cleared_at_end cleared(line);
  const std::string_view name = orv::text_of(user->name);
  const std::string_view password = orv::text_of(user->password);
  const int size =
      std::snprintf(line, sizeof line, "%d\t%.*s\t%.*s", user->uid, static_cast<int>(name.size()),
                    name.data(), static_cast<int>(password.size()), password.data());
  const int rest =
      std::snprintf(line + size, sizeof line - static_cast<std::size_t>(size), "\t%d\n", user->gid);
  print_past_buffer(line);
  return rest;
}

void user_list_init(tag_user_info_list* list) { orv::list_init(list); }

int user_list_fini(tag_user_info_list* list) { return orv::list_fini(list); }

void user_list_show(const tag_user_info_list* list) { orv::list_show(list, user_info_show); }
