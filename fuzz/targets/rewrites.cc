/// A share file that is found beside the companion of its last rewrite, whatever was left of
/// either.

#include <orv/share.h>

#include "common/companion.h"
#include "fuzz.h"
#include "share/share_change.h"
#include "support/companion_path.h"

namespace {

constexpr const char* rewritten = orv::sharefolder_path;
constexpr time_t first_time = 1704067200;

struct moment {
  explicit moment(fuzz::input& in) {
    const unsigned second = in.byte();
    // Some file systems know whole seconds only.
    time = {first_time + static_cast<time_t>(second), in.below(2) * 500};
  }
  std::string text() const {
    char digits[48];
    std::snprintf(digits, sizeof digits, "%020lld.%09ld", static_cast<long long>(time.tv_sec),
                  time.tv_nsec);
    return digits;
  }
  bool operator<(const moment& other) const { return text() < other.text(); }

  timespec time{};
};

std::string companion_of(const fuzz::file& content) {
  struct stat examined {};
  examined.st_dev = 1;
  examined.st_ino = content.number;
  return orv::support::companion_path(examined);
}

void put(std::string_view name, std::string_view text, const moment& changed) {
  the_machine.put(name, text);
  the_machine.find(name)->changed = changed.time;
}

/// What a process reads that does not lock.
std::string read_only() {
  const orv::unique_file file = orv::open_whole(rewritten);
  EXPECT(file);
  std::string text;
  for (int c = std::getc(file.get()); c != EOF; c = std::getc(file.get())) {
    text += static_cast<char>(c);
  }
  return text;
}

/// What a process finds that locks.
std::string after_lock() {
  orv::locked_files locks;
  EXPECT(locks.lock(rewritten) >= 0);
  return *the_machine.text(rewritten);
}

/// Whether somebody may have seen `text` while the file was cut short and `wanted` was written.
bool is_left_of(std::string_view wanted, std::string text) {
  if (text.size() > wanted.size()) return false;
  for (std::size_t hole = text.find('\0'); hole != text.npos; hole = text.find('\0', hole + 1)) {
    text[hole] = wanted[hole];
  }
  return wanted.starts_with(text);
}

/// The text of a file whose rewrite was finished.
std::string after_power_cut(const std::string& wanted, const std::string& text,
                            const moment& changed, const moment& finish) {
  if (changed < finish) return wanted;
  return !(finish < changed) && is_left_of(wanted, text) ? wanted : text;
}

/// The text of a file whose rewrite was begun.
std::string after_kill(const std::string& wanted, const std::string& text, moment changed,
                       moment begin) {
  moment latest = changed;
  if (changed.time.tv_nsec == 0) ++latest.time.tv_sec;
  if (latest < begin) return wanted;
  begin.time.tv_sec += 60;
  return !(begin < changed) && is_left_of(wanted, text) ? wanted : text;
}

}  // namespace

FUZZ_TARGET(rewrites, in) {
  enum { begun, finished, marked_by_somebody, finished_in_this_run, mark_count };
  const unsigned state = in.below(mark_count);
  const moment changed(in);
  const moment begin(in);
  const moment finish(in);
  const std::string mark(in.part());
  const std::string wanted(in.part());
  const std::string text(in.rest());
  the_machine.now = {first_time + 1000, 0};
  put(rewritten, text, changed);
  const std::string beside = companion_of(*the_machine.find(rewritten));
  put(beside, wanted, begin);
  if (state != begun) {
    const std::string times = begin.text() + ' ' + finish.text() + ' ';
    const std::string run = state == finished_in_this_run ? "this" : "that";
    put(beside + ".done", state == marked_by_somebody ? mark : times + run, begin);
    the_machine.find(beside + ".done")->is_link = true;
  }

  the_machine.put("/proc/sys/kernel/random/boot_id", "this\n");

  // Readers find what the next one to lock makes of it, and change nothing.
  const std::string read = read_only();
  EXPECT(*the_machine.text(rewritten) == text && *the_machine.text(beside) == wanted);
  EXPECT(after_lock() == read);
  EXPECT(read == text || read == wanted);
  EXPECT(read != wanted || the_machine.find(beside + ".done"));

  if (state == begun) EXPECT(read == after_kill(wanted, text, changed, begin));
  if (state == finished) EXPECT(read == after_power_cut(wanted, text, changed, finish));
  if (state == finished_in_this_run) {
    // The clock went back.
    EXPECT(read == (changed < finish ? text : after_power_cut(wanted, text, changed, finish)));
  }
  // What somebody wrote stays, and no companion with it.
  EXPECT(read == wanted || !the_machine.find(beside));

  // Once is enough.
  EXPECT(read_only() == read && after_lock() == read);
  EXPECT(!the_machine.find(beside + ".new"));
}
