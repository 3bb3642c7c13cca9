/// Files by their paths, and directories.

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statfs.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "handles.h"

using fuzz::fail_with;
using fuzz::file;
using fuzz::the_machine;

extern "C" {

static void describe(struct stat* examined, const file& content, bool is_directory) {
  *examined = {};
  examined->st_dev = 1;
  examined->st_ino = content.number;
  examined->st_nlink = 1;
  examined->st_mode = is_directory ? S_IFDIR | 0755 : S_IFREG | content.mode;
  examined->st_size = static_cast<off_t>(content.text.size());
  examined->st_mtim = examined->st_ctim = content.changed;
}

int machine_fstat(int number, struct stat* examined) {
  const fuzz::handle* const known = fuzz::handle_of(number);
  if (known == nullptr) return -1;
  describe(examined, *known->content, known->is_directory);
  return 0;
}

int machine_stat(const char* path, struct stat* examined) {
  const auto content = the_machine.find(path);
  const bool is_directory = !content && the_machine.is_directory(path);
  if (!content && !is_directory) return fail_with(ENOENT);
  describe(examined, content ? *content : file(), is_directory);
  return 0;
}

int machine_access(const char* path, int) {
  struct stat examined {};
  return machine_stat(path, &examined);
}

/// There are links where there is room for companions; they are read, not followed.
int machine_symlink(const char* target, const char* path) {
  if (!the_machine.has_room_for(path)) return fail_with(EPERM);
  if (the_machine.find(path)) return fail_with(EEXIST);
  const auto made = the_machine.make(path);
  made->text = target;
  made->is_link = true;
  return 0;
}

ssize_t machine_readlink(const char* path, char* target, std::size_t size) {
  const auto found = the_machine.find(path);
  if (!found || !found->is_link) return fail_with(found ? EINVAL : ENOENT);
  return static_cast<ssize_t>(found->text.copy(target, size));
}

int machine_lstat(const char* path, struct stat* examined) { return machine_stat(path, examined); }

/// The only time that is set is that of now.
int machine_utimensat(int, const char* path, const timespec*, int) {
  const auto found = the_machine.find(path);
  if (!found) return fail_with(ENOENT);
  the_machine.date(*found);
  return 0;
}

int machine_mkostemp(char* path, int) {
  static unsigned long count = 0;
  const std::size_t length = std::strlen(path);
  if (length < 6) return fail_with(EINVAL);
  std::snprintf(path + length - 6, 7, "%06lu", ++count % 1000000);
  const auto made = the_machine.make(path);
  made->mode = 0600;
  return fuzz::open_handle({made, 0, false, false});
}

int machine_unlink(const char* path) {
  if (!the_machine.find(path)) return fail_with(ENOENT);
  the_machine.remove(path);
  return 0;
}

int machine_rename(const char* from, const char* to) {
  return the_machine.move(from, to) ? 0 : fail_with(ENOENT);
}

int machine_mkdir(const char*, mode_t) { return 0; }

char* machine_realpath(const char* path, char*) {
  if (the_machine.find(path) || the_machine.is_directory(path)) return strdup(path);
  errno = ENOENT;
  return nullptr;
}

int machine_statfs(const char* path, struct statfs64* figures) {
  if (!the_machine.find(path) && !the_machine.is_directory(path)) return fail_with(ENOENT);
  *figures = {};
  figures->f_bsize = the_machine.block_size;
  figures->f_blocks = the_machine.blocks;
  figures->f_bavail = the_machine.available;
  return 0;
}

struct open_directory {
  std::vector<std::string> names;
  std::size_t next = 0;
  dirent entry{};
  int descriptor = -1;
};

DIR* machine_opendir(const char* path) {
  if (!the_machine.is_directory(path)) {
    errno = ENOENT;
    return nullptr;
  }
  auto* const opened = new open_directory{the_machine.names_in(path)};
  opened->names.insert(opened->names.begin(), {".", ".."});
  opened->descriptor = fuzz::open_handle({fuzz::no_content(), 0, false, true});
  return reinterpret_cast<DIR*>(opened);
}

dirent* machine_readdir(DIR* directory) {
  auto* const opened = reinterpret_cast<open_directory*>(directory);
  if (opened->next == opened->names.size()) return nullptr;
  const std::string& name = opened->names[opened->next++];
  const std::size_t length = name.copy(opened->entry.d_name, sizeof opened->entry.d_name - 1);
  opened->entry.d_name[length] = '\0';
  return &opened->entry;
}

int machine_closedir(DIR* directory) {
  auto* const opened = reinterpret_cast<open_directory*>(directory);
  machine_close(opened->descriptor);
  delete opened;
  return 0;
}

}  // extern "C"
