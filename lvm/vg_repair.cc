#include <orv/lvm.h>
#include <orv/raid.h>

#include <string>

#include "common/command.h"
#include "common/families.h"
#include "common/log.h"
#include "common/text.h"
#include "lvm/vg_backup.h"

namespace {

/// What the repairs return when a lost volume was dealt with, whether or not their tools succeeded;
/// callers then look again.
constexpr int handled = ORV_E_FAILED;

}  // namespace

int vgcfgrestore(const char* vgname) try {
  return orv::execute(orv::command("/sbin/vgcfgrestore %s", vgname));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int pv_check_rm(FILE* backup, const char* pvname) try {
  if (backup == nullptr) {
    // Not the code of a missing argument: it would say that a volume was dealt with.
    orv::log_missing_argument();
    return ORV_OK;
  }
  const std::string identifier = orv::identifier_of(backup, orv::text_or_empty(pvname));
  if (identifier.empty()) return ORV_OK;
  orv::execute(orv::command("/sbin/pvcreate -u %s /dev/ram1", identifier));
  return handled;
} catch (const std::bad_alloc&) {
  return orv::without_memory(ORV_E_COMMAND);
}

int md_vg_resume(const char* vgname, const char* pvname) try {
  const orv::unique_file backup = orv::open_backup(vgname);
  if (!backup) return ORV_E_NO_VG;
  const int result = pv_check_rm(backup.get(), pvname);
  if (result == handled) vgcfgrestore(vgname);
  return result;
} catch (const std::bad_alloc&) {
  return orv::without_memory(ORV_E_COMMAND);
}

int vg_check_rm(const char* vgname) try {
  const orv::unique_file backup = orv::open_backup(vgname);
  if (!backup) return ORV_E_NO_VG;
  orv::scoped_list<tag_mdinfo_list> raids;
  const int result = raid_get(raids.get());
  if (result != ORV_OK) return result;
  for (tag_md_info& md : raids) {
    if (orv::text_of(md.state) != "inactive") continue;
    // An array that mdadm could not describe has no level, and "inactive" is only its default.
    if (md.level[0] == '\0') return ORV_E_COMMAND;
    set_raid_faulty(&md);
    pv_check_rm(backup.get(), md.name);
    vgcfgrestore(vgname);
    return handled;
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory(ORV_E_COMMAND);
}
