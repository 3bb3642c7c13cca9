#include <orv/share.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string_view>

#include "common/families.h"
#include "common/log.h"
#include "common/mount_table.h"
#include "common/text.h"
#include "share/share_index.h"
#include "share/share_list.h"

/// Which shares are mounted, and where.

namespace {

/// Marks a share as mounted, in `used`, until its use is measured.
constexpr uint64_t mounted = std::numeric_limits<uint64_t>::max();

bool has_mount_point(const tag_share_config& share) { return !orv::is_iscsi(share); }

/// For each mount the records are searched, in their order, for the share that is called like the
/// mount point.
/// @return the most records that a search passed over
std::size_t find_mounted(orv::mount_table& mounts, tag_shareconf_list* list) {
  const orv::share_index shares(list, &tag_share_config::name, has_mount_point);
  std::size_t passed_over = 0;
  while (mounts.next()) {
    const std::string_view directory = mounts.directory();
    const orv::share_index::place found = shares.search(orv::after_last(directory, '/'));
    passed_over = std::max(passed_over, found.passed_over);
    if (found.share == nullptr) continue;
    orv::set_text(found.share->path, directory);
    found.share->used = mounted;
  }
  return passed_over;
}

/// iSCSI volumes that a search passes over count as mounted.
void mark_volumes(tag_shareconf_list* list, std::size_t passed_over) {
  for (tag_share_config& share : orv::records(list)) {
    if (passed_over-- == 0) return;
    if (orv::is_iscsi(share)) share.used = mounted;
  }
}

}  // namespace

int get_shareinfo_from_mount(tag_shareconf_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  orv::mount_table mounts;
  if (!mounts) {
    orv::check_memory();
    return ORV_OK;
  }
  const std::size_t passed_over = find_mounted(mounts, list);
  // Of mounts that were not read nothing is known: no share is called unmounted.
  if (mounts.failed()) {
    orv::check_memory();
    return ORV_OK;
  }
  mark_volumes(list, passed_over);
  for (tag_share_config& share : orv::records(list)) {
    if (share.used == mounted) continue;
    orv::set_text(share.comment, "Filesystem unmounted");
    share.used = 0;
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
