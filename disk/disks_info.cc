#include <orv/disk.h>

#include "common/log.h"
#include "common/models.h"

int disks_info_get(tag_diskinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  if (orv::has_raid_controller()) return get_diskinfo_from_arcadm(list);
  // Each step completes the records of the one before it: none replaces another.
  for (auto* const step : {get_diskinfo_from_mvSata, get_diskinfo_from_sd, get_global_hotspare}) {
    const int result = step(list);
    if (result != ORV_OK) return result;
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
