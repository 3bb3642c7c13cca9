#include <orv/share.h>
#include <orv/support.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "common/handles.h"
#include "common/log.h"
#include "common/text.h"

/// Users of FTP shares: everyone with a file of his own in a folder.

namespace {

constexpr char folder[] = "/etc/vsftpd";

/// The number that stands for the line in the log of `get_ftp_user`, whatever its line.
constexpr int logged_line = 1121;

/// Every user's own shares are found, but of this one, whose file serves all the others.
constexpr std::string_view common_user = "ftpuser";

constexpr std::size_t longest_path = 63;
constexpr int most_users = 32;

bool is_user_file(const char* name) {
  std::string path = std::string(folder) + '/' + name;
  path.resize(std::min(path.size(), longest_path));
  struct stat examined {};
  return stat(path.c_str(), &examined) == 0 && S_ISREG(examined.st_mode);
}

int log_unreadable_folder() {
  liborv_log_error("%s:%d return with %s\n", "get_ftp_user", logged_line, std::strerror(errno));
  return ORV_E_FTP_USERS;
}

}  // namespace

int get_ftp_user(char users[][33], int max) try {
  if (users == nullptr) return orv::log_missing_argument();
  const orv::unique_directory directory(opendir(folder));
  if (!directory) return log_unreadable_folder();
  int count = 0;
  while (count < max) {
    errno = 0;
    const dirent* const entry = readdir(directory.get());
    if (entry == nullptr && errno != 0) return log_unreadable_folder();
    if (entry == nullptr) break;
    // "." and ".." are no regular files.
    if (is_user_file(entry->d_name)) orv::set_text(users[count++], entry->d_name);
  }
  return count;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int get_shareinfo_from_ftpconf(tag_shareconf_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  char users[most_users][33] = {};
  const int count = get_ftp_user(users, most_users);
  for (int i = 0; i < count; ++i) {
    if (find_one_user(users[i], list) == 0) break;
  }
  for (int i = 0; i < count; ++i) {
    if (orv::text_of(users[i]) != common_user) find_sub_user(users[i], list);
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
