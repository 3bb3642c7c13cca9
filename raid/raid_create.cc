#include <orv/disk.h>
#include <orv/raid.h>
#include <orv/support.h>

#include <algorithm>
#include <iterator>
#include <string_view>

#include "common/device_use.h"
#include "common/families.h"
#include "common/log.h"
#include "common/text.h"
#include "raid/membership.h"

namespace {

constexpr std::string_view levels[] = {"raid0", "raid1", "raid5", "raid6", "linear"};

bool is_supported(std::string_view level) {
  return std::find(std::begin(levels), std::end(levels), level) != std::end(levels);
}

int invalid_channels(const tag_md_info& md) {
  liborv_log_error("'%s in %s' includes invalid channelIDs", md.disks, md.enclosure);
  return ORV_E_NO_DISK;
}

/// Replaces the requested channels by device names. Every channel must have a disk, and every disk
/// a device name: those of a RAID controller have none.
int name_members(tag_diskinfo_list* disks, tag_md_info& md) {
  const int count = count_disks(md.disks);
  char names[256];
  orv::set_text(names, md.disks);
  const int found = trans_ch_disk(disks, names, md.enclosure, count);
  if (found != count || count_disks(names) != count) return invalid_channels(md);
  orv::set_text(md.disks, names);
  return ORV_OK;
}

/// An automatic name moves past the array's; an explicit one must differ from it.
int settle_name(const tag_md_info& array, bool automatic, tag_md_info& md) {
  if (automatic) {
    if (mdcmp(array.name, md.name) >= 0) auto_md_name(array.name, md.name);
    return ORV_OK;
  }
  if (orv::text_of(array.name) != orv::text_of(md.name)) return ORV_OK;
  liborv_log_error("'%s' used", md.name);
  return ORV_E_RAID_NAME_USED;
}

int check_disks_of(const tag_md_info& array, const tag_md_info& md) {
  if (found_disk(array.disks, md.disks) == 0 && found_disk(array.disks, md.spares) == 0 &&
      found_disk(array.spares, md.disks) == 0 && found_disk(array.spares, md.spares) == 0) {
    return ORV_OK;
  }
  liborv_log_error("'%s' or '%s' includes used disk in %s", md.disks, md.spares, array.name);
  return ORV_E_DISK_USED;
}

int check_arrays(tag_mdinfo_list* arrays, bool automatic_name, tag_md_info& md) {
  for (const tag_md_info& array : orv::records(arrays)) {
    int code = settle_name(array, automatic_name, md);
    if (code == ORV_OK) code = check_disks_of(array, md);
    if (code != ORV_OK) return code;
  }
  return ORV_OK;
}

int check_volume_groups(const tag_md_info& md) {
  const orv::membership answer = orv::physical_volume_among_disks(md);
  if (answer.code != ORV_OK || !answer.found) return answer.code;
  liborv_log_error("'%s' or '%s' includes used disk in pv", md.disks, md.spares);
  return ORV_E_DISK_USED;
}

int check_hot_spares(const tag_md_info& md) {
  const orv::membership answer = orv::spare_among_members(md);
  if (answer.code == ORV_E_NO_DISK) return invalid_channels(md);
  if (answer.code != ORV_OK || !answer.found) return answer.code;
  liborv_log_error("'%s' or '%s' includes global hotspare disk", md.disks, md.spares);
  return ORV_E_DISK_USED;
}

/// Lists that came from tools that told half of it must not cost an array its disks.
int check_kernel(const tag_md_info& md) {
  for (const std::string_view name : orv::items(orv::text_of(md.disks))) {
    if (!orv::kernel_uses(name)) continue;
    liborv_log_error("'%s' or '%s' includes used disk in kernel", md.disks, md.spares);
    return ORV_E_DISK_USED;
  }
  return ORV_OK;
}

}  // namespace

int raid_create(tag_md_info* md) try {
  if (md == nullptr) return orv::log_missing_argument();
  orv::scoped_list<tag_diskinfo_list> disks;
  orv::scoped_list<tag_mdinfo_list> arrays;
  int code = disks_info_get(disks.get());
  if (code == ORV_OK) code = raid_get(arrays.get());
  if (code != ORV_OK) return code;

  const bool automatic_name = md->name[0] == '\0';
  if (automatic_name) orv::set_text(md->name, "md0");
  if (!is_supported(orv::text_of(md->level))) return ORV_E_RAID_LEVEL;

  code = name_members(disks.get(), *md);
  if (code == ORV_OK) code = check_arrays(arrays.get(), automatic_name, *md);
  if (code == ORV_OK) code = check_volume_groups(*md);
  if (code == ORV_OK) code = check_hot_spares(*md);
  if (code == ORV_OK) code = check_kernel(*md);
  return code == ORV_OK ? set_raid(md) : code;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
