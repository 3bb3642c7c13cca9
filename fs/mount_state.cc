#include <orv/fs.h>
#include <orv/lvm.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "common/families.h"
#include "common/log.h"
#include "common/mount_table.h"
#include "common/text.h"
#include "common/text_hash.h"
#include "lvm/pool_reader.h"

namespace {

using text_of_file_system = std::string_view (*)(const tag_fs_info* fs);

std::string_view device_of(const tag_fs_info* fs) { return orv::text_of(fs->devname); }
std::string_view mount_point_of(const tag_fs_info* fs) { return orv::text_of(fs->mountpoint); }

/// The file systems of a list, found by one of their texts, of each of which it is noted once
/// whether it was met. There may be thousands: they are sorted by a hash of the text, and sixteen
/// bytes are kept for each.
class met_file_systems {
 public:
  met_file_systems(tag_fsinfo_list* list, text_of_file_system text) : text_(text) {
    sorted_.reserve(orv::count(list));
    for (tag_fs_info& fs : orv::records(list)) {
      sorted_.push_back({.hash = orv::text_hash(text_(&fs)), .is_met = false, .fs = &fs});
    }
    std::ranges::sort(sorted_, {}, &entry::hash);
  }

  /// Hands over those with this text that were not met before.
  template <class Take>
  void meet(std::string_view text, Take take) {
    const uint32_t hash = orv::text_hash(text);
    for (auto each = std::ranges::lower_bound(sorted_, hash, {}, &entry::hash);
         each != sorted_.end() && each->hash == hash; ++each) {
      if (each->is_met || text_(each->fs) != text) continue;
      take(*each->fs);
      each->is_met = true;
    }
  }

  /// Hands over those that were never met.
  template <class Take>
  void others(Take take) {
    for (const entry& each : sorted_) {
      if (!each.is_met) take(*each.fs);
    }
  }

 private:
  struct entry {
    uint32_t hash;
    bool is_met;
    tag_fs_info* fs;
  };

  text_of_file_system text_;
  std::vector<entry> sorted_;
};

/// Hands over the directories on which the kernel has something mounted, never an empty name, until
/// one is the last that is wanted; none when its list of mounts cannot be opened.
/// @return whether one was
template <class IsLast>
bool take_mounted_directories(IsLast is_last) {
  orv::mount_table mounts;
  while (mounts && mounts.next()) {
    if (is_last(mounts.directory())) return true;
  }
  if (!mounts || mounts.failed()) orv::check_memory();
  return false;
}

void complete_from_pool(tag_fs_info& fs, const tag_pool_info& pool) {
  constexpr uint64_t mib_per_gib = 1024;
  orv::set_text(fs.state, orv::text_of(pool.state));
  orv::set_text(fs.vgname, orv::text_of(pool.vgname));
  orv::set_text(fs.enclosure, orv::text_of(pool.enclosure));
  fs.size = pool.size * mib_per_gib;
  fs.used = pool.used * mib_per_gib;
}

/// @return as `pool_get`
int complete_from_pools(tag_fsinfo_list* list) try {
  met_file_systems by_device(list, device_of);
  orv::pool_reader pools;
  while (pools.next()) {
    tag_pool_info pool{};
    pools.fill(pool);
    by_device.meet(orv::text_of(pool.poolname),
                   [&pool](tag_fs_info& fs) { complete_from_pool(fs, pool); });
  }
  if (pools.result() != ORV_E_LVDISPLAY) {
    by_device.others([](tag_fs_info& fs) { orv::set_text(fs.state, "not available"); });
  }
  return pools.result();
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

void complete_from_mounts(tag_fsinfo_list* list) {
  met_file_systems by_directory(list, mount_point_of);
  take_mounted_directories([&by_directory](std::string_view directory) {
    by_directory.meet(directory, [](tag_fs_info&) {});
    return false;
  });
  by_directory.others([](tag_fs_info& fs) { orv::set_text(fs.state, "umount"); });
}

}  // namespace

int mountfs_get(tag_fsinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const int result = complete_from_pools(list);
  // When the tool that lists the pools fails, what it has listed is used all the same.
  if (result != ORV_OK && result != ORV_E_LVDISPLAY_TOOL) {
    orv::log_mount_failure(result);
    return ORV_E_LVDISPLAY;
  }
  complete_from_mounts(list);
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int mount_check(const char* path) try {
  const bool is_mounted =
      take_mounted_directories([asked = orv::text_or_empty(path)](std::string_view directory) {
        return directory == asked;
      });
  return is_mounted ? ORV_OK : ORV_E_FAILED;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
