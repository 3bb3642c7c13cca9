#ifndef ORVCTL_FILE_TREE_H
#define ORVCTL_FILE_TREE_H

#include <sys/types.h>

#include <map>
#include <string>

namespace orvctl {

/// A file, link or directory with all that is in it.
struct tree_entry {
  mode_t mode = 0;  ///< with its type
  uid_t owner = 0;
  gid_t group = 0;
  std::string content;  ///< of a link the path that it leads to; of a directory empty
};

/// The entries below a directory by their paths relative to it: a directory comes before what is
/// in it.
using file_tree = std::map<std::string, tree_entry>;

/// Reads the entries below a directory. A link to settings that are kept elsewhere counts as what
/// it leads to, so that a copy does not lead there. Sockets, pipes and devices are left out, and
/// what cannot be read too.
/// Throws a problem when it is more than settings can be.
file_tree read_tree(const std::string& directory);

/// Makes the entries below an empty directory.
void write_tree(const std::string& directory, const file_tree& tree);

}  // namespace orvctl

#endif
