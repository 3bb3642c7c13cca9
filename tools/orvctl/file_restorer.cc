#include "tools/orvctl/file_restorer.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tools/orvctl/errors.h"
#include "tools/orvctl/share_files.h"

namespace orvctl {
namespace {

class descriptor {
 public:
  explicit descriptor(int number) : number_(number) {}
  ~descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  descriptor(const descriptor&) = delete;
  descriptor& operator=(const descriptor&) = delete;
  int number() const { return number_; }
  bool valid() const { return number_ >= 0; }

 private:
  int number_;
};

problem refused(const std::string& path, const std::string& why) {
  problem found = library_problem(ORV_E_FAILED, path + " " + why);
  found.meaning = "this file is not restored, and nothing was changed";
  found.advice = "restore it by hand from '/var/lib/orv/kept" + path + "'";
  return found;
}

problem not_written(const std::string& path) {
  const std::string why = std::strerror(errno);
  problem found = refused(path, "cannot be replaced: " + why);
  found.advice = "run orvctl as root, and check the space left on the file system";
  return found;
}

std::string directory_of(const std::string& path) { return path.substr(0, path.rfind('/') + 1); }

bool write_all(int file, const std::string& content) {
  std::size_t done = 0;
  while (done < content.size()) {
    const ssize_t written = ::write(file, content.data() + done, content.size() - done);
    if (written < 0 && errno != EINTR) return false;
    if (written > 0) done += static_cast<std::size_t>(written);
  }
  return true;
}

// The owner comes first: changing it may clear bits of the mode.
bool fill(int file, const file_text& copy) {
  return write_all(file, copy.content) &&
         ::fchown(file, copy.status.st_uid, copy.status.st_gid) == 0 &&
         ::fchmod(file, copy.status.st_mode & 07777U) == 0 && ::fsync(file) == 0;
}

void sync_directory(const std::string& path) {
  const descriptor directory(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory.valid()) ::fsync(directory.number());
}

// The share files are changed under record locks, by processes that do not wait for them.
int lock(int file) {
  struct flock whole {};
  whole.l_type = F_WRLCK;
  return ::fcntl(file, F_SETLK, &whole) == 0 ? ORV_OK : ORV_E_FILE_LOCKED;
}

void replace(const kept_file& file) {
  std::string temporary = file.path + ".XXXXXX";
  const descriptor made(::mkostemp(temporary.data(), O_CLOEXEC));
  if (!made.valid()) throw not_written(file.path);
  if (fill(made.number(), file.copy) && ::rename(temporary.c_str(), file.path.c_str()) == 0) {
    return sync_directory(directory_of(file.path));
  }
  const problem found = not_written(file.path);
  ::unlink(temporary.c_str());
  throw found;
}

}  // namespace

void must_be_restorable(const kept_file& file) {
  struct stat found {};
  if (::lstat(file.path.c_str(), &found) == 0) {
    if (S_ISLNK(found.st_mode)) throw refused(file.path, "is a symbolic link");
    if (!S_ISREG(found.st_mode)) throw refused(file.path, "is no regular file");
  } else if (::stat(directory_of(file.path).c_str(), &found) != 0) {
    throw refused(file.path, "has no directory");
  }
}

void restore(const kept_file& file) {
  must_be_restorable(file);
  const descriptor present(::open(file.path.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC));
  if (!present.valid() && errno != ENOENT) throw not_written(file.path);
  if (present.valid()) {
    const int result = with_patience([&] { return lock(present.number()); });
    if (result != ORV_OK) throw library_problem(result, file.path);
  }
  replace(file);
}

}  // namespace orvctl
