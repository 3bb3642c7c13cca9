#include <orv/lvm.h>
#include <orv/raid.h>

#include <cerrno>

#include "common/families.h"
#include "common/log.h"
#include "raid/array_lookup.h"

namespace {

bool carries_volume_group(const tag_md_info& array, tag_vginfo_list* groups) {
  for (tag_vg_info& group : orv::records(groups)) {
    if (found_raid(&group.pvs, array.name) != 0) return true;
  }
  return false;
}

}  // namespace

int raid_destroy(const char* md_name) try {
  orv::scoped_list<tag_mdinfo_list> arrays;
  orv::scoped_list<tag_vginfo_list> groups;
  int code = raid_get(arrays.get());
  if (code == ORV_OK) code = vg_get(groups.get());
  if (code != ORV_OK) return code;
  tag_md_info* const array = orv::find_array(arrays.get(), md_name);
  if (array == nullptr) {
    errno = ENODEV;
    return orv::log_failure(ORV_E_NO_RAID);
  }
  if (carries_volume_group(*array, groups.get())) {
    errno = EBUSY;
    return orv::log_failure(ORV_E_RAID_IN_VG);
  }
  return del_raid(array);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
