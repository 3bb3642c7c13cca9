#ifndef ORVCTL_KEPT_FILES_H
#define ORVCTL_KEPT_FILES_H

#include <sys/stat.h>

#include <string>
#include <vector>

/// The copies of configuration files that the library keeps below "/var/lib/orv/kept", each at its
/// file's own path, with owner and mode.

namespace orvctl {

/// A regular file as it was read. One that is not there has no content and no regular mode.
struct file_text {
  struct stat status {};
  std::string content;

  bool is_there() const { return S_ISREG(status.st_mode); }
};

struct kept_file {
  std::string path;  ///< of the file in use
  file_text copy;
  file_text in_use;

  /// "same", "differs", or "missing" when the file in use is not there.
  const char* state() const;
};

/// All copies, in the order of their paths. The folder of the copies is refused when others may
/// write to it.
std::vector<kept_file> kept_files();

/// The copy of one file. The command ends when the path is none or nothing is kept of it.
kept_file kept_file_of(const std::string& path);

}  // namespace orvctl

#endif
