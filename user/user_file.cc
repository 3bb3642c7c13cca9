#include "user/user_file.h"

#include <fcntl.h>
#include <orv/user.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <string_view>

#include "common/companion.h"
#include "common/control_characters.h"
#include "common/families.h"
#include "common/handles.h"
#include "common/in_place_rewrite.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/own_lock.h"
#include "common/secret_text.h"
#include "common/text.h"
#include "common/whole_file.h"
#include "user/account_files.h"
#include "user/private_file.h"

namespace orv {
namespace {

/// Passwords of SAN users are longer than those of all others.
constexpr std::size_t shortest_san_password = 12;

/// What stands before the first "|" is the name, what stands behind the last one the password.
bool append_line(tag_user_info_list* list, std::string_view line) {
  const std::string_view name = line.substr(0, line.find('|'));
  const std::string_view rest = line.substr(name.size());
  return append_user(list, name, rest.empty() ? rest : after_last(rest, '|'));
}

bool read_users(FILE* file, tag_user_info_list* list) {
  line_reader reader(file);
  while (reader.next()) {
    const std::string_view line = trimmed(reader.line());
    if (!line.empty() && !append_line(list, line)) return false;
  }
  return std::ferror(file) == 0;
}

/// A control character would end the line, or be lost when it is read.
void append_field(secret_text& text, std::string_view value) {
  for (const char c : value) text += is_control(c) && c != '\t' ? ' ' : c;
}

secret_text text_of_users(tag_user_info_list* list) {
  secret_text text;
  for (const tag_user_info& user : records(list)) {
    append_field(text, text_of(user.name));
    text += "||";
    append_field(text, text_of(user.password));
    text += '\n';
  }
  return text;
}

/// Finds room for a text without changing the file: a full disk leaves it as it was.
bool has_room(int file, std::size_t size) {
  if (size == 0 || fallocate(file, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(size)) == 0) {
    return true;
  }
  return errno == EOPNOTSUPP || errno == ENODEV || errno == ENOSYS;
}

/// Rewrites the file; a text for which there is no room after all leaves the old one.
bool overwrite(FILE* file, std::string_view text) {
  secret_text before;
  struct stat examined {};
  // What a killed process or a power cut left of the old text is not to be kept for it.
  if (!complete_rewrite(fileno(file)) || !has_room(fileno(file), text.size()) ||
      fstat(fileno(file), &examined) != 0) {
    return false;
  }
  // A device may have no end.
  if (S_ISREG(examined.st_mode) && !read_rest(file, before)) return false;
  return replace_in_place(fileno(file), before, text);
}

}  // namespace

bool append_user(tag_user_info_list* list, std::string_view name, std::string_view password) {
  tag_user_info* const user = append(list);
  if (user == nullptr) return false;
  set_text(user->name, name);
  set_text(user->password, password);
  set_text(user->type, password.size() < shortest_san_password ? "NAS" : "SAN");
  return true;
}

int read_users_to_change(tag_user_info_list* list) {
  const unique_file file = without_buffer(open_whole(user_file_path));
  if (!file && errno == ENOENT) return ORV_OK;
  return file && read_users(file.get(), list) ? ORV_OK : log_failure(ORV_E_USER_FILE);
}

int write_users(tag_user_info_list* list) {
  const unique_file file = open_private(user_file_path);
  return file && overwrite(file.get(), text_of_users(list)) ? ORV_OK : log_failure(ORV_E_USER_FILE);
}

}  // namespace orv

int sys_user_get(tag_user_info_list* list) {
  user_list_init(list);
  return get_users_from_conf(list);
}

int get_users_from_conf(tag_user_info_list* list) try {
  const orv::cleared_stack stack;
  if (list == nullptr) return orv::log_missing_argument();
  const orv::unique_file file = orv::without_buffer(orv::open_whole(orv::user_file_path));
  return file && orv::read_users(file.get(), list) ? ORV_OK : orv::log_failure(ORV_E_USER_FILE);
} catch (const std::bad_alloc&) {
  return orv::without_memory(ORV_E_USER_FILE);
}

// The result says nothing about the file: callers of this function never asked.
int set_users_to_conf(tag_user_info_list* list) try {
  const orv::cleared_stack stack;
  if (list == nullptr) return orv::log_missing_argument();
  const orv::own_lock lock(orv::user_file_lock);
  if (lock) {
    orv::write_users(list);
  } else {
    orv::log_failure(ORV_E_USER_FILE);
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
