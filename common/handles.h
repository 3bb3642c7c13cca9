#ifndef ORV_COMMON_HANDLES_H
#define ORV_COMMON_HANDLES_H

#include <dirent.h>
#include <mntent.h>

#include <cstdio>
#include <memory>

namespace orv {

struct close_file {
  void operator()(FILE* file) const { std::fclose(file); }
};
struct close_directory {
  void operator()(DIR* directory) const { closedir(directory); }
};
struct close_mount_table {
  void operator()(FILE* table) const { endmntent(table); }
};

/// An open stdio stream; closed when it goes out of scope. Open it with mode "...e": every
/// descriptor is close-on-exec.
using unique_file = std::unique_ptr<FILE, close_file>;

/// An open directory (close-on-exec by itself); closed when it goes out of scope.
using unique_directory = std::unique_ptr<DIR, close_directory>;

/// A table of mounts opened with `setmntent`; closed when it goes out of scope.
using unique_mount_table = std::unique_ptr<FILE, close_mount_table>;

}  // namespace orv

#endif
