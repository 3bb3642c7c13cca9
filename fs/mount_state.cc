#include <orv/fs.h>
#include <orv/lvm.h>

#include <mntent.h>

#include <string>
#include <unordered_set>

#include "common/families.h"
#include "common/handles.h"
#include "common/log.h"
#include "common/record_index.h"
#include "common/text.h"

namespace {

using pool_index = orv::record_index<tag_poolinfo_list>;
using directories = std::unordered_set<std::string>;

/// The directories on which the kernel has something mounted; none when its list of mounts cannot
/// be opened.
directories mounted_directories() {
  directories mounted;
  const orv::unique_mount_table mounts(setmntent("/proc/mounts", "re"));
  if (!mounts) {
    orv::check_memory();
    return mounted;
  }
  char strings[4096];
  mntent entry{};
  while (getmntent_r(mounts.get(), &entry, strings, sizeof strings) != nullptr) {
    mounted.emplace(entry.mnt_dir);
  }
  return mounted;
}

/// True when exactly this directory is mounted.
bool is_mounted(const directories& mounted, std::string_view directory) {
  return !directory.empty() && mounted.contains(std::string(directory));
}

void complete_from_pool(tag_fs_info& fs, const tag_pool_info& pool) {
  constexpr uint64_t mib_per_gib = 1024;
  orv::set_text(fs.state, orv::text_of(pool.state));
  orv::set_text(fs.vgname, orv::text_of(pool.vgname));
  orv::set_text(fs.enclosure, orv::text_of(pool.enclosure));
  fs.size = pool.size * mib_per_gib;
  fs.used = pool.used * mib_per_gib;
}

void complete(tag_fs_info& fs, const pool_index& pools, const directories& mounted) {
  const tag_pool_info* const pool = pools.find(orv::text_of(fs.devname));
  if (pool != nullptr) complete_from_pool(fs, *pool);
  if (!is_mounted(mounted, orv::text_of(fs.mountpoint))) {
    orv::set_text(fs.state, "umount");
  } else if (pool == nullptr) {
    orv::set_text(fs.state, "not available");
  }
}

}  // namespace

int mountfs_get(tag_fsinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  orv::scoped_list<tag_poolinfo_list> pools;
  const int result = pool_get(pools.get());
  // When the tool that lists the pools fails, what it has listed is used all the same.
  if (result != ORV_OK && result != ORV_E_LVDISPLAY_TOOL) {
    orv::log_mount_failure(result);
    return ORV_E_LVDISPLAY;
  }
  const pool_index by_name(pools.get(), &tag_pool_info::poolname);
  const directories mounted = mounted_directories();
  for (tag_fs_info& fs : orv::records(list)) complete(fs, by_name, mounted);
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int mount_check(const char* path) try {
  const bool is_mounted_there = is_mounted(mounted_directories(), orv::text_or_empty(path));
  return is_mounted_there ? ORV_OK : ORV_E_FAILED;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
