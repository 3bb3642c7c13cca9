#include <orv/share.h>
#include <orv/support.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "common/families.h"
#include "common/handles.h"
#include "common/log.h"
#include "common/text.h"

/// Users of FTP shares: of the directories in a user's home, and by per-user configurations.

namespace {

/// The number that stands for the line in the log of `find_one_user`, whatever its line.
constexpr int logged_line = 1166;
constexpr int logged_code = 1;

bool is_user_name(std::string_view user) {
  return !user.empty() && user != "." && user != ".." && user.find('/') == std::string_view::npos;
}

bool is_ftp_share(const tag_share_config& share, std::string_view name) {
  return orv::equal_ignoring_case(orv::text_of(share.service), "ftp") &&
         orv::text_of(share.name) == name;
}

void give(tag_share_config& share, std::string_view user, int writable) {
  orv::set_text(share.valid_users, user);
  share.writable = writable;
}

bool is_directory(const std::string& path) {
  struct stat examined {};
  return stat(path.c_str(), &examined) == 0 && S_ISDIR(examined.st_mode);
}

/// Gives the first FTP share of a name to a user. @return 0 less the records passed over before
int give_first(tag_shareconf_list* list, std::string_view name, std::string_view user) {
  int result = 0;
  for (tag_share_config& share : orv::records(list)) {
    if (is_ftp_share(share, name)) {
      give(share, user, 1);
      return result;
    }
    --result;
  }
  return result;
}

/// What stands behind the last "=" of the first line with a key; the fallback without such a line.
std::string last_value(FILE* file, const char* key, const char* fallback) {
  char line[128] = "";
  if (get_line_from_file(file, key, 0, "=", line, sizeof line) != 0) return fallback;
  return std::string(orv::after_last(line, '='));
}

}  // namespace

int find_one_user(const char* user, tag_shareconf_list* list) {
  if (list == nullptr) return orv::log_missing_argument();
  const std::string name(orv::text_or_empty(user));
  const std::string home = "/home/" + name;
  errno = EINVAL;
  const orv::unique_directory directory(is_user_name(name) ? opendir(home.c_str()) : nullptr);
  if (!directory) {
    orv::log_failure(logged_code, "find_one_user", logged_line);
    return ORV_E_FTP_USERS;
  }
  int result = 1;
  while (const dirent* const entry = readdir(directory.get())) {
    const std::string_view folder = entry->d_name;
    if (folder == "." || folder == ".." || !is_directory(home + '/' + entry->d_name)) continue;
    result = give_first(list, folder, name);
  }
  return result;
}

int find_sub_user(const char* user, tag_shareconf_list* list) {
  if (list == nullptr) return orv::log_missing_argument();
  const std::string name(orv::text_or_empty(user));
  const std::string path = "/etc/vsftpd/" + name;
  const orv::unique_file file(is_user_name(name) ? std::fopen(path.c_str(), "re") : nullptr);
  if (!file) return ORV_E_FAILED;
  const int writable = last_value(file.get(), "write_enable", "YES") == "NO" ? 0 : 1;
  const std::string root = last_value(file.get(), "local_root", "");
  const std::string_view share_name = orv::after_last(root, '/');
  if (share_name.empty()) return ORV_OK;
  for (tag_share_config& share : orv::records(list)) {
    if (!is_ftp_share(share, share_name)) continue;
    give(share, name, writable);
    break;
  }
  return ORV_OK;
}
