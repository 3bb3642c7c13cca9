#include <orv/disk.h>

#include <new>

#include "common/disk_list.h"
#include "common/log.h"

int disks_info_get(tag_diskinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  return orv::list_disks(list,
                         {get_diskinfo_from_mvSata, get_diskinfo_from_sd, get_global_hotspare});
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
