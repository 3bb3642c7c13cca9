#include "tests/security/watched_files.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>

#include "tests/sandbox/files.h"
#include "tests/sandbox/programs/records.h"

namespace security {
namespace {

bool examine(const std::string& path, struct stat& found) {
  return fstatat(AT_FDCWD, path.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0;
}

std::vector<std::string> names_in(const std::string& path) {
  return sandbox::names_in(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

}  // namespace

watched_files::watched_files(const std::vector<std::string>& roots)
    : events_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (events_ < 0) throw std::runtime_error("inotify_init1");
  for (const std::string& root : roots) watch(root);
}

watched_files::~watched_files() { close(events_); }

void watched_files::watch(const std::string& directory) {
  const int number = inotify_add_watch(events_, directory.c_str(),
                                       IN_MODIFY | IN_ATTRIB | IN_CREATE | IN_DELETE | IN_MOVE);
  if (number < 0) throw std::runtime_error("inotify_add_watch " + directory);
  const std::string folder = directory == "/" ? "/" : directory + '/';
  watched_[number] = folder;
  for (const std::string& name : names_in(directory)) {
    const std::string path = folder + name;
    struct stat found {};
    if (!examine(path, found)) continue;
    if (S_ISREG(found.st_mode)) {
      files_[path] = {found.st_mode & 07777U, sandbox::whole_file(path.c_str())};
    }
    if (S_ISDIR(found.st_mode) && directory != "/") watch(path);
  }
}

std::set<std::string> watched_files::touched() {
  std::set<std::string> paths;
  alignas(inotify_event) char block[65536];
  for (ssize_t got; (got = read(events_, block, sizeof block)) > 0;) {
    for (ssize_t at = 0; at < got;) {
      const auto* const event = reinterpret_cast<const inotify_event*>(block + at);
      if ((event->mask & IN_Q_OVERFLOW) != 0) throw std::runtime_error("too many events");
      if (event->len > 0) paths.insert(watched_.at(event->wd) + event->name);
      at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
  }
  return paths;
}

std::set<std::string> watched_files::changed() {
  std::set<std::string> paths = touched();
  std::erase_if(paths, [this](const std::string& path) {
    struct stat found {};
    return !files_.contains(path) && !examine(path, found);
  });
  return paths;
}

std::string watched_files::original(const std::string& path) const {
  const auto file = files_.find(path);
  return file == files_.end() ? "" : file->second.text;
}

void watched_files::restore(const std::set<std::string>& paths) {
  for (const std::string& path : paths) {
    const auto file = files_.find(path);
    if (file == files_.end()) {
      sandbox::remove_tree(path);
    } else {
      sandbox::write_file(path, file->second.text, file->second.mode);
    }
  }
  touched();
}

}  // namespace security
