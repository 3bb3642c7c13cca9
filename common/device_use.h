#ifndef ORV_COMMON_DEVICE_USE_H
#define ORV_COMMON_DEVICE_USE_H

#include <string_view>

namespace orv {

/// Whether the kernel itself uses a block device, or a partition of it: as a member of a running
/// array, below an active volume, mounted, or for swapping. What the tools list is asked for first,
/// and says in which array or group; this is asked before a disk is wiped, because a list may be
/// wrong.
/// @param name  such as "sda" or "md0"
/// @return true, with `errno`, also when too many files are open to ask; false also for a device
///         that is not there. Throws std::bad_alloc without memory
bool kernel_uses(std::string_view name);

}  // namespace orv

#endif
