#include <orv/share.h>
#include <orv/support.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "common/handles.h"
#include "common/log.h"
#include "common/text.h"
#include "share/share_index.h"
#include "share/share_list.h"

/// Users of FTP shares: of the directories in a user's home, and by per-user configurations.

namespace {

/// The number that stands for the line in the log of `find_one_user`, whatever its line.
constexpr int logged_line = 1166;
constexpr int logged_code = 1;

bool is_user_name(std::string_view user) {
  return !user.empty() && user != "." && user != ".." && user.find('/') == std::string_view::npos;
}

bool is_ftp(const tag_share_config& share) { return orv::has_service(share, "ftp"); }

void give(tag_share_config& share, std::string_view user, int writable) {
  orv::set_text(share.valid_users, user);
  share.writable = writable;
}

bool is_directory(const std::string& path) {
  struct stat examined {};
  return stat(path.c_str(), &examined) == 0 && S_ISDIR(examined.st_mode);
}

/// The first "KEY=VALUE" line of a key, empty without such a line; false when it cannot be read.
bool read_line(FILE* configuration, const char* key, std::string& text) {
  constexpr int no_line = -1;
  char line[128] = "";
  const int found = get_line_from_file(configuration, key, 0, "=", line, sizeof line);
  text = line;
  return found == 0 || found == no_line;
}

int log_unreadable_home() {
  orv::log_failure(logged_code, "find_one_user", logged_line);
  return ORV_E_FTP_USERS;
}

}  // namespace

int find_one_user(const char* user, tag_shareconf_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const std::string name(orv::text_or_empty(user));
  const std::string home = "/home/" + name;
  errno = EINVAL;
  const orv::unique_directory directory(is_user_name(name) ? opendir(home.c_str()) : nullptr);
  if (!directory) return log_unreadable_home();
  const orv::share_index shares(list, &tag_share_config::name, is_ftp);
  int result = 1;
  for (errno = 0; const dirent* const entry = readdir(directory.get()); errno = 0) {
    const std::string_view folder = entry->d_name;
    if (folder == "." || folder == ".." || !is_directory(home + '/' + entry->d_name)) continue;
    const orv::share_index::place found = shares.search(folder);
    if (found.share != nullptr) give(*found.share, name, 1);
    result = -static_cast<int>(found.passed_over);
  }
  return errno == 0 ? result : log_unreadable_home();
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int find_sub_user(const char* user, tag_shareconf_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const std::string name(orv::text_or_empty(user));
  const std::string path = "/etc/vsftpd/" + name;
  const orv::unique_file file(is_user_name(name) ? std::fopen(path.c_str(), "re") : nullptr);
  if (!file) return ORV_E_FAILED;
  std::string right;
  std::string root;
  if (!read_line(file.get(), "write_enable", right) || !read_line(file.get(), "local_root", root)) {
    return ORV_E_FAILED;
  }
  const int writable = orv::after_last(right, '=') == "NO" ? 0 : 1;
  const std::string_view share_name = orv::after_last(orv::after(root, '='), '/');
  if (share_name.empty()) return ORV_OK;
  for (tag_share_config& share : orv::records(list)) {
    if (!is_ftp(share) || orv::text_of(share.name) != share_name) continue;
    give(share, name, writable);
    break;
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
