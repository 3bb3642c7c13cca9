/// What the library asks of the C library and of its support library, counted while it runs: these
/// functions are defined in the benchmark's own program, which comes before the libraries.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace bench {

struct watched {
  std::vector<std::string> commands;  ///< what the command runner was given
  std::map<std::string, int> opens;   ///< of each path
  int processes = 0;                  ///< that commands were started in, in vain too
  /// Of each file that was cut short, as a rewrite in place does once.
  std::map<std::string, int> rewrites;
  int file_syncs = 0;
  int directory_syncs = 0;
};

/// Watches from its making to its end; not one inside the other.
class watch {
 public:
  watch();
  ~watch();
  watch(const watch&) = delete;
  watch& operator=(const watch&) = delete;

  const watched& seen() const { return seen_; }

 private:
  watched seen_;
};

}  // namespace bench
