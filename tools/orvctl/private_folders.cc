#include "tools/orvctl/private_folders.h"

#include <dirent.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "tools/orvctl/errors.h"

namespace orvctl {
namespace {

constexpr char settings_folder[] = "/etc";
constexpr char temporary_folder[] = "/tmp";

problem refused(const std::string& what) {
  problem result;
  result.name = "dry_run";
  result.meaning = "private copies of the settings cannot be made, and so nothing was tried";
  result.detail = what + ": " + std::strerror(errno);
  result.advice = "run it as root";
  return result;
}

void must(bool succeeded, const std::string& what) {
  if (!succeeded) throw refused(what);
}

void leave_others_mounts() {
  must(::unshare(CLONE_NEWNS) == 0, "a mount namespace");
  must(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "private mounts");
}

/// Covers a directory by an empty one of the same mode.
void cover(const char* directory) {
  struct stat found {};
  must(::stat(directory, &found) == 0, directory);
  must(::mount("orvctl", directory, "tmpfs", 0, "mode=700") == 0, directory);
  must(::chmod(directory, found.st_mode & 07777U) == 0, directory);
}

/// Lets nobody write into the library's own folder, nor make it: it does without the locks and the
/// second texts of files that it would put there.
void seal_own_folder() {
  for (const char* folder : {"/var/lib/orv", "/var/lib", "/var"}) {
    if (::access(folder, F_OK) != 0) continue;
    must(::mount(folder, folder, nullptr, MS_BIND | MS_REC, nullptr) == 0, folder);
    mount_attr read_only{};
    read_only.attr_set = MOUNT_ATTR_RDONLY;
    must(::mount_setattr(AT_FDCWD, folder, AT_RECURSIVE, &read_only, sizeof read_only) == 0,
         folder);
    return;
  }
}

/// An entry of a directory, which stays reachable when the directory is covered.
struct entry_below {
  std::string path;
  struct stat found;
  std::string target;  // of a link
  int mount;           // of anything else; -1 when it has none
};

entry_below take(const std::string& path) {
  entry_below taken{path, {}, "", -1};
  if (::lstat(path.c_str(), &taken.found) != 0) return taken;
  if (S_ISLNK(taken.found.st_mode)) {
    char target[4096];
    const ssize_t length = ::readlink(path.c_str(), target, sizeof target);
    taken.target.assign(target, length > 0 ? static_cast<std::size_t>(length) : 0);
  } else {
    taken.mount =
        ::open_tree(AT_FDCWD, path.c_str(), OPEN_TREE_CLONE | OPEN_TREE_CLOEXEC | AT_RECURSIVE);
  }
  return taken;
}

std::vector<entry_below> take_all(const std::string& directory) {
  constexpr std::size_t most = 1000;
  std::vector<entry_below> all;
  const std::unique_ptr<DIR, int (*)(DIR*)> open(::opendir(directory.c_str()), ::closedir);
  while (const dirent* entry = open ? ::readdir(open.get()) : nullptr) {
    const std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    all.push_back(take(directory + "/" + name));
    if (all.size() == most) break;
  }
  return all;
}

/// What is in a temporary folder belongs to others, who go on with it: only the folder is private.
void put_back(const entry_below& taken) {
  const char* path = taken.path.c_str();
  if (S_ISLNK(taken.found.st_mode)) {
    static_cast<void>(!::symlink(taken.target.c_str(), path));
    return;
  }
  if (taken.mount < 0) return;
  const bool is_directory = S_ISDIR(taken.found.st_mode);
  const bool made = is_directory ? ::mkdir(path, S_IRWXU) == 0
                                 : ::mknod(path, S_IFREG | S_IRUSR | S_IWUSR, 0) == 0;
  if (made) ::move_mount(taken.mount, "", AT_FDCWD, path, MOVE_MOUNT_F_EMPTY_PATH);
  ::close(taken.mount);
}

}  // namespace

private_folders::private_folders() {
  leave_others_mounts();
  seal_own_folder();
  settings_ = read_tree(settings_folder);
  const std::vector<entry_below> temporary = take_all(temporary_folder);
  cover(settings_folder);
  write_tree(settings_folder, settings_);
  cover(temporary_folder);
  for (const entry_below& taken : temporary) put_back(taken);
}

std::vector<file_change> private_folders::changes() const {
  return changes_between(settings_folder, settings_, read_tree(settings_folder));
}

}  // namespace orvctl
