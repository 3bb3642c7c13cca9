#include <orv/raid.h>

#include <cerrno>

#include "common/log.h"
#include "common/models.h"

int raid_get(tag_mdinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  if (orv::has_raid_controller()) return get_mdinfo_from_arcadm(list);
  int code = get_mdinfo_from_proc(list);
  if (code != ORV_OK) return code;
  // An array that mdadm cannot describe is listed all the same, as inactive when nothing is known.
  errno = 0;
  if (get_mdinfo_from_mdadm(list) != ORV_OK) orv::check_memory();
  code = get_mdinfo_from_sysblock(list);
  return code == ORV_OK ? get_mdinfo_from_mdstat(list) : code;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
