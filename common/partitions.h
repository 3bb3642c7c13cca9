#ifndef ORV_COMMON_PARTITIONS_H
#define ORV_COMMON_PARTITIONS_H

#include <optional>
#include <string>
#include <vector>

namespace orv {

/// Names of the block devices in "/proc/partitions", in its order: disks, their partitions, arrays
/// and all others. Nothing when the file cannot be opened, and `errno` says why.
std::optional<std::vector<std::string>> partition_names();

}  // namespace orv

#endif
