#include <orv/fs.h>
#include <orv/lvm.h>

#include <mntent.h>

#include "common/families.h"
#include "common/handles.h"
#include "common/log.h"
#include "common/text.h"

namespace {

/// True when exactly this directory is mounted; false also when the kernel's list of mounts cannot
/// be opened.
bool is_mounted(std::string_view directory) {
  const orv::unique_mount_table mounts(setmntent("/proc/mounts", "re"));
  if (!mounts || directory.empty()) return false;
  char strings[4096];
  mntent entry{};
  while (getmntent_r(mounts.get(), &entry, strings, sizeof strings) != nullptr) {
    if (directory == entry.mnt_dir) return true;
  }
  return false;
}

const tag_pool_info* pool_of(const tag_fs_info& fs, tag_poolinfo_list* pools) {
  for (const tag_pool_info& pool : orv::records(pools)) {
    if (orv::text_of(pool.poolname) == orv::text_of(fs.devname)) return &pool;
  }
  return nullptr;
}

void complete_from_pool(tag_fs_info& fs, const tag_pool_info& pool) {
  constexpr uint64_t mib_per_gib = 1024;
  orv::set_text(fs.state, orv::text_of(pool.state));
  orv::set_text(fs.vgname, orv::text_of(pool.vgname));
  orv::set_text(fs.enclosure, orv::text_of(pool.enclosure));
  fs.size = pool.size * mib_per_gib;
  fs.used = pool.used * mib_per_gib;
}

void complete(tag_fs_info& fs, tag_poolinfo_list* pools) {
  const tag_pool_info* const pool = pool_of(fs, pools);
  if (pool != nullptr) complete_from_pool(fs, *pool);
  if (!is_mounted(orv::text_of(fs.mountpoint))) {
    orv::set_text(fs.state, "umount");
  } else if (pool == nullptr) {
    orv::set_text(fs.state, "not available");
  }
}

}  // namespace

int mountfs_get(tag_fsinfo_list* list) {
  if (list == nullptr) return orv::log_missing_argument();
  orv::scoped_list<tag_poolinfo_list> pools;
  const int result = pool_get(pools.get());
  // When the tool that lists the pools fails, what it has listed is used all the same.
  if (result != ORV_OK && result != ORV_E_LVDISPLAY_TOOL) {
    orv::log_mount_failure(result);
    return ORV_E_LVDISPLAY;
  }
  for (tag_fs_info& fs : orv::records(list)) complete(fs, pools.get());
  return ORV_OK;
}

int mount_check(const char* path) {
  return is_mounted(orv::text_or_empty(path)) ? ORV_OK : ORV_E_FAILED;
}
