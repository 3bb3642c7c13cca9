#include <orv/support.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "support/characters.h"
#include "support/companion_path.h"
#include "support/shared_child.h"

namespace {

constexpr std::string_view kept_root = "/var/lib/orv/kept";
constexpr mode_t kept_directory_mode = 0700;

/// A copy that is not complete yet, with the number of the thread that makes it.
constexpr std::string_view temporary_suffix = ".new";

/// A descriptor that is closed when it goes out of scope.
class descriptor {
 public:
  explicit descriptor(int number) : number_(number) {}
  ~descriptor() {
    if (number_ >= 0) close(number_);
  }
  descriptor(const descriptor&) = delete;
  descriptor& operator=(const descriptor&) = delete;
  int number() const { return number_; }
  bool valid() const { return number_ >= 0; }

 private:
  int number_;
};

std::string directory_of(const std::string& path) { return path.substr(0, path.rfind('/') + 1); }

/// The paths of one commit, all made before the child starts: the child allocates nothing.
struct commit {
  explicit commit(std::string file)
      : path(std::move(file)),
        directory(directory_of(path)),
        kept(std::string(kept_root) + path),
        kept_directory(directory_of(kept)),
        temporary(kept + std::string(temporary_suffix) + std::to_string(gettid()) + "-XXXXXX") {
    struct stat found {};
    if (stat(path.c_str(), &found) == 0) companion = orv::support::companion_path(found);
  }

  std::string path;
  std::string directory;
  std::string kept;
  std::string kept_directory;
  std::string temporary;
  std::string companion;  ///< of a file that is rewritten in place; empty: not known
  int error = 0;
};

bool copy_contents(int from, int to, off_t size) {
  off_t done = 0;
  while (done < size) {
    const ssize_t sent = sendfile(to, from, &done, static_cast<std::size_t>(size - done));
    if (sent < 0 && errno != EINTR) return false;
    if (sent == 0) break;
  }
  return true;
}

bool is_regular(const struct stat& file) {
  if (S_ISREG(file.st_mode)) return true;
  errno = EINVAL;
  return false;
}

bool is_owned_alike(const struct stat& first, const struct stat& second) {
  return first.st_uid == second.st_uid && first.st_gid == second.st_gid &&
         first.st_mode == second.st_mode;
}

bool have_same_contents(int first, int second, off_t size) {
  char of_first[8192];
  char of_second[8192];
  for (off_t done = 0; done < size;) {
    const ssize_t got = pread(first, of_first, sizeof of_first, done);
    if (got <= 0 || pread(second, of_second, static_cast<std::size_t>(got), done) != got ||
        std::memcmp(of_first, of_second, static_cast<std::size_t>(got)) != 0) {
      return false;
    }
    done += got;
  }
  return true;
}

/// True when a file is there, is regular and says what another one says.
bool is_same(const std::string& path, int file) {
  const descriptor opened(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat other {};
  struct stat original {};
  return opened.valid() && fstat(opened.number(), &other) == 0 && fstat(file, &original) == 0 &&
         S_ISREG(other.st_mode) && is_owned_alike(other, original) &&
         other.st_size == original.st_size &&
         have_same_contents(opened.number(), file, original.st_size);
}

/// A file whose text stands on the disk as its companion, by which it is completed after a power
/// cut, is on the disk itself. A link to the companion is the copy.
bool keep_companion(const commit& work, int file) {
  if (!is_same(work.companion, file)) return false;
  unlink(work.temporary.c_str());
  if (link(work.companion.c_str(), work.temporary.c_str()) != 0) return false;
  const bool is_kept = rename(work.temporary.c_str(), work.kept.c_str()) == 0;
  unlink(work.temporary.c_str());  // which stays when it was a link to the kept copy already
  return is_kept;
}

/// Replaces the kept copy atomically by one that is complete on disk; the copy is never more open
/// than its original.
bool keep_copy(commit& work, int file) {
  struct stat original {};
  if (fstat(file, &original) != 0 || !is_regular(original)) return false;
  const descriptor copy(mkostemp(work.temporary.data(), O_CLOEXEC));
  if (!copy.valid()) return false;
  if (copy_contents(file, copy.number(), original.st_size) &&
      fchown(copy.number(), original.st_uid, original.st_gid) == 0 &&
      fchmod(copy.number(), original.st_mode & 07777U) == 0 && fsync(copy.number()) == 0 &&
      rename(work.temporary.c_str(), work.kept.c_str()) == 0) {
    return true;
  }
  const int saved_errno = errno;
  unlink(work.temporary.c_str());
  errno = saved_errno;
  return false;
}

bool sync_directory(const std::string& path) {
  const descriptor directory(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return directory.valid() && fsync(directory.number()) == 0;
}

/// Runs in the child; the first failure is reported, but the file is synced all the same.
int commit_file(void* argument) noexcept {
  commit& work = *static_cast<commit*>(argument);
  const auto check = [&work](bool succeeded) {
    if (!succeeded && work.error == 0) work.error = errno;
  };
  // Nothing that is no file may keep the child, and this process with it, waiting.
  const descriptor file(open(work.path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  check(file.valid());
  if (!file.valid() || keep_companion(work, file.number())) return 0;
  check(keep_copy(work, file.number()) && sync_directory(work.kept_directory));
  check(fsync(file.number()) == 0);
  check(sync_directory(work.directory));
  return 0;
}

void make_directories_for(const std::string& path) {
  for (std::size_t end = path.find('/', 1); end != std::string::npos;
       end = path.find('/', end + 1)) {
    const bool private_part = end >= kept_root.size();
    mkdir(path.substr(0, end).c_str(), private_part ? kept_directory_mode : 0755);
  }
}

/// Removes what threads that are gone left of copies of the file.
void sweep_copies(const commit& work) {
  const std::string name = work.kept.substr(work.kept_directory.size());
  const std::string prefix = name + std::string(temporary_suffix);
  DIR* const directory = opendir(work.kept_directory.c_str());
  if (directory == nullptr) return;
  while (const dirent* const entry = readdir(directory)) {
    if (std::strncmp(entry->d_name, prefix.c_str(), prefix.size()) != 0) continue;
    const auto thread = static_cast<pid_t>(std::strtol(entry->d_name + prefix.size(), nullptr, 10));
    const bool is_gone = thread > 0 && kill(thread, 0) != 0 && errno == ESRCH;
    if (is_gone) unlinkat(dirfd(directory), entry->d_name, 0);
  }
  closedir(directory);
}

/// Runs the commit in a child that shares this process's memory but not its descriptors. The kernel
/// drops a process's record locks on a file when that process closes any descriptor of it; the
/// child's descriptors are not this process's, so the caller's locks stay.
bool run_in_child(commit& work) {
  constexpr std::size_t stack_size = 256UL * 1024;
  const auto stack = std::make_unique_for_overwrite<char[]>(stack_size);
  const pid_t child =
      orv::support::run_in_shared_child(commit_file, &work, {stack.get(), stack_size});
  if (child < 0) return false;
  while (waitpid(child, nullptr, __WALL) < 0 && errno == EINTR) {
  }
  // What it compared may hold passwords. It calls nothing that goes deeper.
  constexpr std::size_t deepest = 64UL * 1024;
  explicit_bzero(stack.get() + stack_size - deepest, deepest);
  return true;
}

/// A path that climbs would put its copy elsewhere than below the folder of the copies.
bool is_usable(std::string_view path) {
  const bool climbs = path.find("/../") != std::string_view::npos || path.ends_with("/..");
  return path.starts_with('/') && !path.ends_with('/') && !climbs;
}

}  // namespace

int conf_save(const char* path) try {
  const std::string_view file = orv::support::text_or_empty(path);
  if (!is_usable(file)) {
    errno = EINVAL;
    return -1;
  }
  commit work{std::string(file)};
  make_directories_for(work.kept);
  sweep_copies(work);
  if (!run_in_child(work)) return -1;
  if (work.error != 0) errno = work.error;
  return work.error == 0 ? 0 : -1;
} catch (const std::bad_alloc&) {
  errno = ENOMEM;
  return -1;
}
