#ifndef ORV_FUZZ_FUZZ_H
#define ORV_FUZZ_FUZZ_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "common/text.h"
#include "machine.h"
#include "records.h"

/// What a target is made of:
///
///     FUZZ_TARGET(partitions, in) {
///       the_machine.put("/proc/partitions", in.rest());
///       fuzz::list<tag_diskinfo_list> disks;
///       EXPECT(get_diskinfo_from_partitions(disks.get()) == ORV_OK);
///       disks.check();
///     }
///
/// Every execution begins with an empty machine, and ends with nothing left open on it.

namespace fuzz {

/// The bytes of one execution, taken apart from the front.
class input {
 public:
  input(const uint8_t* data, std::size_t size) : left_(reinterpret_cast<const char*>(data), size) {}

  bool empty() const { return left_.empty(); }

  /// One byte; 0 at the end.
  unsigned byte() {
    if (left_.empty()) return 0;
    const auto taken = static_cast<unsigned char>(left_.front());
    left_.remove_prefix(1);
    return taken;
  }

  /// A number below a limit. The digits stand for themselves, so that seeds can be written by hand.
  unsigned below(unsigned limit) { return (byte() + 256U - '0') % 256U % limit; }

  /// The text up to the next mark, which is none of a text file; all that is left when there is
  /// none.
  std::string_view part() {
    constexpr char mark = '\x1e';
    const std::size_t end = left_.find(mark);
    const std::string_view taken = left_.substr(0, end);
    left_.remove_prefix(end == left_.npos ? left_.size() : end + 1);
    return taken;
  }

  /// A part as an argument of C: it ends at a NUL.
  std::string word() { return std::string(part()).c_str(); }

  std::string_view rest() { return std::exchange(left_, std::string_view()); }

 private:
  std::string_view left_;
};

[[noreturn]] inline void fail(const char* what, const char* file, int line) {
  std::fprintf(stderr, "%s:%d: not true: %s\n", file, line, what);
  std::abort();
}

/// How many files an execution may leave in /tmp: where that is documented, its target says so.
inline std::size_t temporary_files_left = 0;

/// One execution of a target. What is still in use at its end is the machine's, or lost.
inline void execute(void (*target)(input&), const uint8_t* data, std::size_t size) {
  input in(data, size);
  target(in);
  if (open_handles() != 0) fail("nothing is left open", __FILE__, __LINE__);
  if (the_machine.temporary_files() > temporary_files_left) {
    fail("no temporary file is left", __FILE__, __LINE__);
  }
  the_machine.reset();
}

/// Every target of the program that replays inputs.
struct known_target {
  known_target(const char* its_name, void (*its_function)(input&))
      : name(its_name), function(its_function), next(first) {
    first = this;
  }
  const char* name;
  void (*function)(input&);
  known_target* next;
  static inline known_target* first = nullptr;
};

}  // namespace fuzz

using fuzz::the_machine;

#define EXPECT(condition) \
  ((condition) ? static_cast<void>(0) : fuzz::fail(#condition, __FILE__, __LINE__))

#ifdef ORV_FUZZ_REPLAY
#define FUZZ_TARGET(name, in)                                       \
  static void fuzz_##name(fuzz::input& in);                         \
  static const fuzz::known_target known_##name(#name, fuzz_##name); \
  static void fuzz_##name(fuzz::input& in)
#else
#define FUZZ_TARGET(name, in)                                                    \
  static void fuzz_##name(fuzz::input& in);                                      \
  extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) { \
    fuzz::execute(fuzz_##name, data, size);                                      \
    return 0;                                                                    \
  }                                                                              \
  static void fuzz_##name(fuzz::input& in)
#endif

#endif
