#ifndef ORV_FUZZ_MACHINE_H
#define ORV_FUZZ_MACHINE_H

#include <sys/types.h>
#include <time.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// The machine that the library runs on while it is fuzzed: files in memory, and no process at all.
///
/// The library's objects are the ones that are installed. Their calls of the C library that would
/// reach the machine go to functions of `calls/` (calls.txt says which), so that an execution
/// makes no system call and hundreds of thousands of them fit a second.

namespace fuzz {

struct file {
  std::string text;
  mode_t mode = 0644;
  ino_t number = 0;
  timespec changed{};    ///< the last time
  bool is_link = false;  ///< a symbolic one, and the text is what it leads to
};

class machine {
 public:
  /// An empty machine; the one before is gone.
  void reset();

  void put(std::string_view path, std::string_view text);
  void remove(std::string_view path);
  /// Whether a file can be made here.
  bool has_room_for(std::string_view path) const;
  /// The text of a file; NULL when there is none.
  const std::string* text(std::string_view path) const;
  std::shared_ptr<file> find(std::string_view path) const;
  std::shared_ptr<file> make(std::string_view path);
  bool move(std::string_view from, std::string_view to);
  bool is_directory(std::string_view path) const;
  /// The names in a directory, in the order in which they were made.
  std::vector<std::string> names_in(std::string_view directory) const;
  std::size_t temporary_files() const;
  /// Gives a file the time of a change now.
  void date(file& changed);

  /// Runs what the shell would run: "cat A > B", "mv A B", and any other tool, which prints
  /// `tool_output` and ends with `tool_status`. @return the wait status
  int run(std::string_view command);

  std::string tool_output;   ///< what every tool prints
  int tool_status = 0;       ///< the wait status of every tool
  std::size_t commands = 0;  ///< commands that were run
  std::string release;       ///< of the kernel
  /// The time, which passes with every change of a text by the library. At 0 no time passes; there
  /// is no room for companions then, since they would tell a change by somebody else by its time.
  timespec now{};
  std::string from_peer;      ///< what a socket receives
  std::size_t piece = 1;      ///< bytes that a socket receives at most at a time
  std::string interfaces;     ///< what the kernel answers to questions about its interfaces
  int64_t block_size = 4096;  ///< of every file system
  uint64_t blocks = 0;
  uint64_t available = 0;

 private:
  struct entry {
    std::string path;
    std::shared_ptr<file> content;
  };
  entry room_for_file();

  std::vector<entry> entries_;
  /// What is gone, for its memory: allocations take most of the time. A descriptor may be open
  /// still.
  std::vector<entry> gone_;
  ino_t next_number_ = 1;
};

extern machine the_machine;

/// Descriptors, streams and directories that the library holds open.
std::size_t open_handles();

}  // namespace fuzz

#endif
