#include "common/companion.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <utility>

#include "common/replacement_file.h"
#include "common/whole_file.h"
#include "support/companion_path.h"

namespace orv {
namespace {

using support::companions_directory;

/// No rewrite takes longer: its text is at hand and goes to the kernel's memory.
constexpr time_t longest_rewrite = 60;
constexpr time_t a_day = 24 * 60 * 60;

/// Of the link that says that a rewrite is finished, and of what is not yet under its name.
constexpr char mark_suffix[] = ".done";
constexpr char new_suffix[] = ".new";

/// A time as a text that is greater for a later one.
std::string text_of(const timespec& time, time_t later = 0) {
  char text[48];
  std::snprintf(text, sizeof text, "%020lld.%09ld", static_cast<long long>(time.tv_sec + later),
                time.tv_nsec);
  return text;
}

/// Tells a companion from one that somebody wrote to: its kept copy is a link to it.
std::string identity_of(const struct stat& own) { return text_of(own.st_mtim) + ' '; }

std::string target_of(const std::string& link) {
  char target[128];
  const ssize_t size = readlink(link.c_str(), target, sizeof target);
  return size < 0 ? "" : std::string(target, static_cast<std::size_t>(size));
}

/// True for what a rewrite leaves when it is cut short: the beginning of the text, or holes where
/// blocks were not on the disk yet.
bool is_part_of(std::string_view wanted, std::string_view text) {
  if (text.size() > wanted.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != wanted[i] && text[i] != '\0') return false;
  }
  return true;
}

/// Compares two files, without holding either.
bool have_same_bytes(int file, int other) {
  char bytes[2][4096];
  const cleared_at_end cleared(bytes);
  ssize_t got = 0;
  off_t done = 0;
  do {
    got = pread(file, bytes[0], sizeof bytes[0], done);
    if (pread(other, bytes[1], sizeof bytes[1], done) != got || got < 0) return false;
    if (std::memcmp(bytes[0], bytes[1], static_cast<std::size_t>(got)) != 0) return false;
    done += got;
  } while (got > 0);
  return true;
}

bool sync_directory() {
  const unique_descriptor directory(open(companions_directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return directory && fsync(directory.get()) == 0;
}

void make_directories() {
  const std::string path = companions_directory;
  for (std::size_t end = path.find('/', 1); end != std::string::npos;
       end = path.find('/', end + 1)) {
    mkdir(path.substr(0, end).c_str(), end + 1 == path.size() ? 0700 : 0755);
  }
}

int create(const std::string& path) {
  constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
  unlink(path.c_str());  // what a killed process left of its own
  const int made = open(path.c_str(), flags, 0600);
  if (made >= 0 || errno != ENOENT) return made;
  make_directories();
  return open(path.c_str(), flags, 0600);
}

/// Removes the companions that are finished for longer than a day: their files have been on the
/// disk for long, and may be gone, since editors replace files.
void sweep() {
  const unique_directory directory(opendir(companions_directory));
  if (!directory) return;
  const time_t now = std::time(nullptr);
  while (const dirent* const entry = readdir(directory.get())) {
    const std::string_view name = entry->d_name;
    const std::string path = std::string(companions_directory).append(name);
    struct stat found {};
    if (name.find('.') == std::string_view::npos || lstat(path.c_str(), &found) != 0) continue;
    if (name.starts_with('.') || found.st_mtim.tv_sec > now - a_day) continue;
    if (name.ends_with(mark_suffix)) unlink(path.substr(0, path.rfind('.')).c_str());
    unlink(path.c_str());
  }
}

}  // namespace

std::string companion::mark_path() const { return path_ + mark_suffix; }

companion::companion(int file) {
  if (fstat(file, &file_) != 0) file_ = {};
  path_ = support::companion_path(file_);
}

companion::companion(const struct stat& file) : file_(file), path_(support::companion_path(file)) {}

bool companion::exists() const {
  return S_ISREG(file_.st_mode) && access(path_.c_str(), F_OK) == 0;
}

bool companion::begin(std::string_view text) const {
  if (!S_ISREG(file_.st_mode)) return false;
  const std::string path = path_ + new_suffix;
  replacement_file text_file(path, create);
  if (!text_file.exists() || !text_file.write(text) || !text_file.complete(file_)) return false;
  if (!exists()) sweep();
  if (std::rename(path.c_str(), path_.c_str()) != 0) return false;
  text_file.leave();
  unlink(mark_path().c_str());  // which said that an earlier rewrite was finished
  return sync_directory();
}

bool companion::is_finished() const { return !target_of(mark_path()).empty(); }

bool companion::is_overtaken() const {
  struct stat own {};
  if (stat(path_.c_str(), &own) != 0) return false;
  const auto change = change_after_finish(own);
  return change && *change > 0;
}

void companion::finish(int file) const {
  struct stat own {};
  struct stat written {};
  if (stat(path_.c_str(), &own) != 0 || fstat(file, &written) != 0) return;
  unlink(mark_path().c_str());
  (void)!symlink((identity_of(own) + text_of(written.st_ctim)).c_str(), mark_path().c_str());
}

void companion::begin_again() const {
  unlink(mark_path().c_str());
  utimensat(AT_FDCWD, path_.c_str(), nullptr, 0);
}

void companion::remove() const {
  unlink(path_.c_str());
  unlink(mark_path().c_str());
}

std::optional<std::strong_ordering> companion::change_after_finish(const struct stat& own) const {
  const std::string mark = target_of(mark_path());
  if (mark.empty()) return std::nullopt;
  const std::string identity = identity_of(own);
  if (!mark.starts_with(identity)) return std::strong_ordering::greater;
  return text_of(file_.st_ctim) <=> mark.substr(identity.size());
}

bool companion::is_cut_short(const struct stat& own, std::string_view text,
                             std::string_view wanted) const {
  if (const auto change = change_after_finish(own)) {
    return *change < 0 || (*change == 0 && is_part_of(wanted, text));
  }
  // Some file systems know whole seconds only: the change may have been later in that second.
  const time_t may_be_later = file_.st_ctim.tv_nsec == 0 ? 1 : 0;
  if (text_of(file_.st_ctim, may_be_later) < text_of(own.st_mtim)) return true;
  return text_of(file_.st_ctim) <= text_of(own.st_mtim, longest_rewrite) &&
         is_part_of(wanted, text);
}

companion::relation companion::compare(std::string_view text, secret_text& wanted) const {
  struct stat own {};
  if (!read_file(path_.c_str(), wanted, own)) return relation::unknown;
  if (wanted == text) return relation::same;
  return is_cut_short(own, text, wanted) ? relation::cut_short : relation::changed;
}

unique_file open_whole(const char* path) {
  unique_file file(std::fopen(path, "re"));
  if (!file) return file;
  const companion beside(fileno(file.get()));
  if (!beside.exists() || beside.is_overtaken()) return file;
  const cleared_stack stack;
  unique_file whole(std::fopen(beside.path().c_str(), "re"));
  if (!whole || have_same_bytes(fileno(file.get()), fileno(whole.get()))) return file;
  secret_text text;
  secret_text wanted;
  if (!read_from_start(fileno(file.get()), text) ||
      beside.compare(text, wanted) != companion::relation::cut_short) {
    return file;
  }
  whole.reset(std::fopen(beside.path().c_str(), "re"));
  return whole ? std::move(whole) : std::move(file);
}

}  // namespace orv
