#ifndef ORVCTL_FILE_CHANGES_H
#define ORVCTL_FILE_CHANGES_H

#include <string>
#include <vector>

#include "tools/orvctl/file_tree.h"

namespace orvctl {

/// What would become of one file.
struct file_change {
  std::string path;
  std::string change;  ///< "created", "changed", "removed", or "mode" when only that changes
  std::string diff;    ///< lines of a unified diff, with passwords as "***"; empty when there is
                       ///< nothing to show
};

/// What differs below a directory, in the order of the paths.
std::vector<file_change> changes_between(const std::string& directory, const file_tree& before,
                                         const file_tree& after);

/// The lines that make one content of a file of the other, as they may be shown: nothing of a file
/// of passwords, and no other passwords.
std::string shown_diff(const std::string& path, const std::string& before,
                       const std::string& after);

}  // namespace orvctl

#endif
