#ifndef ORV_COMMON_MOUNTED_BELOW_H
#define ORV_COMMON_MOUNTED_BELOW_H

#include <string>
#include <string_view>

namespace orv {

/// The path without empty and "." components: "/a/b" of "//a/./b/"; empty for the root.
std::string without_empty_components(std::string_view path);

/// Follows every symbolic link of a path.
/// @param resolved  without empty components
/// @return 0, also when there is nothing at the path, or errno
int resolve(const std::string& path, std::string& resolved);

/// Asks the kernel's mount table whether anything is mounted at or below a directory, by either of
/// its two names. @return 0 when nothing is; EBUSY; the errno of a table that cannot be read
int mounted_below(std::string_view named, std::string_view resolved);

/// Asks it whether anything is mounted at a path, however that is written and by links too.
/// @return as `mounted_below`; the errno of a path that cannot be followed
int mounted_at(const std::string& path);

}  // namespace orv

#endif
