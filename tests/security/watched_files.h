/// The files of the machine as they were, and what has been done to them since.
#pragma once

#include <sys/types.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace security {

/// Notices every file that is made, changed or removed in the folders of a machine, by the kernel's
/// own account, and puts everything back.
class watched_files {
 public:
  /// All folders below these are watched; what is in them now is how they should be.
  explicit watched_files(const std::vector<std::string>& roots);
  ~watched_files();
  watched_files(const watched_files&) = delete;
  watched_files& operator=(const watched_files&) = delete;

  /// Paths that are not as they were, also those that were written to and have their old content.
  /// A file that came and went does not count.
  std::set<std::string> changed();

  /// The text that the file should have; empty for one that should not be there.
  std::string original(const std::string& path) const;

  /// Puts these paths back.
  void restore(const std::set<std::string>& paths);

 private:
  struct content {
    mode_t mode;
    std::string text;
  };
  void watch(const std::string& directory);
  std::set<std::string> touched();

  int events_;
  std::map<int, std::string> watched_;
  std::map<std::string, content> files_;
};

}  // namespace security
