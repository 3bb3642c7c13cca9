#ifndef ORVCTL_PRIVATE_FOLDERS_H
#define ORVCTL_PRIVATE_FOLDERS_H

#include <string>
#include <vector>

#include "tools/orvctl/file_changes.h"

namespace orvctl {

/// From here on this process, and what it starts, has copies of "/etc" and "/tmp" of its own: what
/// it writes there nobody else sees, and it goes with the process. The library's own folder
/// "/var/lib/orv" can only be read, and the library writes nowhere else.
class private_folders {
 public:
  /// Throws a problem when the kernel does not let this process have them.
  private_folders();

  /// What was written below "/etc" since then.
  std::vector<file_change> changes() const;

 private:
  file_tree settings_;
};

}  // namespace orvctl

#endif
