#include "files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "errors.h"
#include "programs/records.h"

namespace sandbox {

void make_parents(const std::string& path) {
  for (size_t slash = 0; (slash = path.find('/', slash + 1)) != std::string::npos;) {
    const auto parent = path.substr(0, slash);
    if (::mkdir(parent.c_str(), 0755) != 0 && errno != EEXIST) must(-1, parent);
  }
}

void make_directory(const std::string& path, mode_t mode) {
  make_parents(path);
  if (::mkdir(path.c_str(), mode) != 0 && errno != EEXIST) must(-1, path);
  must(::chmod(path.c_str(), mode), path);
}

void write_file(const std::string& path, std::string_view text, mode_t mode) {
  constexpr int how = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
  int file = ::open(path.c_str(), how, mode);
  if (file < 0 && errno == ENOENT) {
    make_parents(path);
    file = ::open(path.c_str(), how, mode);
  }
  must(file, path);
  const bool whole = write_whole(file, text) && ::fchmod(file, mode) == 0;
  const int error = errno;
  ::close(file);
  errno = error;
  must(whole ? 0 : -1, path);
}

std::vector<std::string> names_in(int directory) {
  std::vector<std::string> names;
  DIR* stream = ::fdopendir(must(directory, "directory"));
  while (const dirent* entry = ::readdir(stream)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  ::closedir(stream);
  std::sort(names.begin(), names.end());
  return names;
}

void remove_tree(const std::string& path) {
  struct stat found {};
  if (::fstatat(AT_FDCWD, path.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0) return;
  if (!S_ISDIR(found.st_mode)) {
    must(::unlink(path.c_str()), path);
    return;
  }
  const auto directory = path + '/';
  for (const auto& name : names_in(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)))
    remove_tree(directory + name);
  must(::rmdir(path.c_str()), path);
}

}  // namespace sandbox
