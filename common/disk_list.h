#ifndef ORV_COMMON_DISK_LIST_H
#define ORV_COMMON_DISK_LIST_H

#include <orv/disk.h>

#include <initializer_list>

#include "common/models.h"

namespace orv {

/// Fills a list of disks: from the RAID controller where the model has one, otherwise in steps, of
/// which each completes the records of the one before it: none replaces another.
/// @return the code of the first that fails, or ORV_OK
inline int list_disks(tag_diskinfo_list* list,
                      std::initializer_list<int (*)(tag_diskinfo_list*)> steps) {
  if (has_raid_controller()) return get_diskinfo_from_arcadm(list);
  for (auto* const step : steps) {
    const int result = step(list);
    if (result != ORV_OK) return result;
  }
  return ORV_OK;
}

/// Fills a list with the disks of `disks_info_get` and where they are: the name, channel and
/// enclosure of each, and whether it is a hot spare. Size, state and model, which are three files
/// of the kernel for each disk, stay empty where these are not the controller's.
inline int disk_places_get(tag_diskinfo_list* list) {
  return list_disks(list, {get_diskinfo_from_mvSata, get_global_hotspare});
}

}  // namespace orv

#endif
