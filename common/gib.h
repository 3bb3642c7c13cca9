#ifndef ORV_COMMON_GIB_H
#define ORV_COMMON_GIB_H

#include <cstdint>

/// The records of disks, arrays, volumes and groups hold sizes in whole GiB; their sources count
/// KiB or sectors of 512 bytes. No size is too large to be rounded.

namespace orv {

constexpr uint64_t whole_gib_of_kib(uint64_t kib) { return kib >> 20; }
constexpr uint64_t nearest_gib_of_kib(uint64_t kib) { return (kib >> 20) + ((kib >> 19) & 1); }
constexpr uint64_t nearest_gib_of_sectors(uint64_t sectors) {
  return nearest_gib_of_kib(sectors / 2);
}

}  // namespace orv

#endif
