#ifndef ORV_LVM_MOUNTED_BELOW_H
#define ORV_LVM_MOUNTED_BELOW_H

#include <string>
#include <string_view>

namespace orv {

/// The path without empty and "." components: "/a/b" of "//a/./b/"; empty for the root.
std::string without_empty_components(std::string_view path);

/// Asks the kernel's mount table whether anything is mounted at or below a directory, by either of
/// its two names. @return 0 when nothing is; EBUSY; the errno of a table that cannot be read
int mounted_below(std::string_view named, std::string_view resolved);

}  // namespace orv

#endif
