#include "common/companion.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <utility>

#include "common/replacement_file.h"
#include "common/text.h"
#include "common/whole_file.h"
#include "support/companion_path.h"

namespace orv {
namespace {

using support::companions_directory;

/// No rewrite takes longer: its text is at hand and goes to the kernel's memory.
constexpr time_t longest_rewrite = 60;
constexpr time_t a_day = 24L * 60 * 60;

/// Of the link that says that a rewrite is finished, and of what is not yet under its name.
constexpr char mark_suffix[] = ".done";
constexpr char new_suffix[] = ".new";

/// A time as a text that is greater for a later one.
std::string text_of(const timespec& time, time_t later = 0) {
  char text[48];
  std::snprintf(text, sizeof text, "%020lld.%09ld", static_cast<long long>(time.tv_sec) + later,
                time.tv_nsec);
  return text;
}

/// The kernel's name of the time since the machine was started; empty when it does not tell.
std::string this_run() {
  constexpr std::size_t longest_name = 64;
  const unique_descriptor file(open("/proc/sys/kernel/random/boot_id", O_RDONLY | O_CLOEXEC));
  std::string name;
  if (!file || !read_up_to(file.get(), name, longest_name)) return "";
  return std::string(trimmed(name));
}

/// What the link says that stands beside a companion whose rewrite is finished.
struct mark {
  std::string companion;  ///< its time, which tells it from one that somebody wrote to: its kept
                          ///< copy is a link to it
  std::string change;     ///< when the file changed last
  std::string run;        ///< of the machine

  std::string text() const { return companion + ' ' + change + ' ' + run; }
  bool is_of_this_run() const { return !run.empty() && run == this_run(); }
};

/// Nothing when there is no mark.
std::optional<mark> mark_at(const std::string& path) {
  char target[128];
  const ssize_t size = readlink(path.c_str(), target, sizeof target);
  if (size <= 0) return std::nullopt;
  std::string_view rest(target, static_cast<std::size_t>(size));
  mark found;
  for (std::string* const word : {&found.companion, &found.change, &found.run}) {
    *word = before(rest, " ");
    rest.remove_prefix(std::min(word->size() + 1, rest.size()));
  }
  return found;
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
/// disk for long, and may be gone, since editors replace files. Not those of earlier runs of the
/// machine: one may be all that a power cut left of a file which nobody has changed since.
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
    if (const auto finished = mark_at(path)) {
      const std::string companion = path.substr(0, path.rfind('.'));
      struct stat own {};
      const bool is_its_mark =
          stat(companion.c_str(), &own) != 0 || finished->companion == text_of(own.st_mtim);
      if (!is_its_mark || !finished->is_of_this_run()) continue;
      unlink(companion.c_str());
    }
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
  struct stat own {};
  if (!S_ISREG(file_.st_mode)) return false;
  return lstat(path_.c_str(), &own) == 0 ||
         (errno != ENOENT && errno != ENOTDIR && errno != EACCES);
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
  if (!sync_directory()) return false;
  utimensat(AT_FDCWD, path_.c_str(), nullptr, 0);  // the rewrite begins now: a sync takes its time
  return true;
}

bool companion::is_finished() const {
  const auto finished = mark_at(mark_path());
  return finished && finished->is_of_this_run();
}

bool companion::is_overtaken() const {
  struct stat own {};
  if (stat(path_.c_str(), &own) != 0) return false;
  const auto change = change_after_finish(own);
  return change && std::is_gt(*change);
}

void companion::finish(int file) const {
  struct stat own {};
  struct stat written {};
  if (stat(path_.c_str(), &own) != 0 || fstat(file, &written) != 0) return;
  unlink(mark_path().c_str());
  const mark finished{text_of(own.st_mtim), text_of(written.st_ctim), this_run()};
  (void)!symlink(finished.text().c_str(), mark_path().c_str());
}

// The mark goes first: beside a companion of another time it would say that somebody changed the
// file.
bool companion::begin_again() const {
  const unique_descriptor own(open(path_.c_str(), O_RDONLY | O_CLOEXEC));
  return own && (unlink(mark_path().c_str()) == 0 || errno == ENOENT) &&
         utimensat(AT_FDCWD, path_.c_str(), nullptr, 0) == 0 && fsync(own.get()) == 0 &&
         sync_directory();
}

void companion::remove() const {
  unlink(path_.c_str());
  unlink(mark_path().c_str());
}

std::optional<std::strong_ordering> companion::change_after_finish(const struct stat& own) const {
  const auto finished = mark_at(mark_path());
  if (!finished) return std::nullopt;
  if (finished->companion != text_of(own.st_mtim)) return std::strong_ordering::greater;
  const auto order = text_of(file_.st_ctim) <=> finished->change;
  return std::is_lt(order) && finished->is_of_this_run() ? std::strong_ordering::greater : order;
}

bool companion::is_cut_short(const struct stat& own, std::string_view text,
                             std::string_view wanted) const {
  if (const auto change = change_after_finish(own)) {
    return std::is_lt(*change) || (std::is_eq(*change) && is_part_of(wanted, text));
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
  struct stat examined {};
  if (!file || fstat(fileno(file.get()), &examined) != 0) return nullptr;
  const companion beside(examined);
  if (!beside.exists() || beside.is_overtaken()) return file;
  const cleared_stack stack;
  unique_file whole(std::fopen(beside.path().c_str(), "re"));
  const auto unless_cut_short = [&](int reason) {
    const bool is_whole = reason == ENOENT || beside.is_finished();
    errno = reason;
    return is_whole ? std::move(file) : nullptr;
  };
  if (!whole) return unless_cut_short(errno);
  if (have_same_bytes(fileno(file.get()), fileno(whole.get()))) return file;
  secret_text text;
  secret_text wanted;
  if (!read_from_start(fileno(file.get()), text)) return nullptr;
  switch (beside.compare(text, wanted)) {
    case companion::relation::cut_short:
      return whole;
    case companion::relation::unknown:
      return unless_cut_short(errno);
    default:
      return file;
  }
}

}  // namespace orv
