#ifndef ORV_COMMON_MD_KERNEL_H
#define ORV_COMMON_MD_KERNEL_H

#include <cerrno>
#include <string_view>

namespace orv {

/// Members that an array may lose; of other levels none, nor may they have a spare one. A mirror
/// counts as one of two disks: a three-way mirror with one good member is reported as inactive.
constexpr int losable_members(std::string_view level) {
  if (level == "raid6") return 2;
  return level == "raid5" || level == "raid1" ? 1 : 0;
}

/// Whether the kernel's file of an array or a member is not there, or not any more. Any other error
/// says nothing about either.
constexpr bool is_gone(int error) { return error == ENOENT || error == ENODEV || error == ENOTDIR; }

}  // namespace orv

#endif
