#include <orv/lvm.h>
#include <orv/raid.h>
#include <orv/support.h>

#include <cstdio>
#include <string>

#include "common/command.h"
#include "common/families.h"
#include "common/log.h"
#include "common/text.h"
#include "lvm/vg_lookup.h"

namespace {

/// " /dev/md1 /dev/md2": the list itself begins with a blank.
orv::word_list device_paths(const tag_pvinfo_list& pvs) {
  orv::word_list paths;
  const char* beginning = " /dev/";
  for (const tag_pv_info& pv : orv::records(&pvs)) {
    paths.add(beginning, orv::text_of(pv.pvname));
    beginning = "/dev/";
  }
  return paths;
}

/// A whole disk is wiped before it becomes a physical volume, an array is not.
int create_volumes(const tag_pvinfo_list& pvs) {
  for (const tag_pv_info& pv : orv::records(&pvs)) {
    if (orv::text_of(pv.pvname).starts_with("sd")) clear_disk(pv.pvname);
    const int result = create_pv(pv.pvname);
    if (result == ORV_OK) continue;
    std::printf("cannot create %s\n", pv.pvname);
    return result;
  }
  return ORV_OK;
}

}  // namespace

int vg_create(tag_vg_info* vg) try {
  if (vg == nullptr) return orv::log_missing_argument();
  int result = check_vg(vg);
  if (result == ORV_OK) result = check_pv(&vg->pvs);
  return result == ORV_OK ? create_vg(vg) : result;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int check_vg(tag_vg_info* vg) try {
  if (vg == nullptr) return orv::log_missing_argument();
  const std::string name(orv::text_of(vg->vgname));
  if (name.empty()) {
    liborv_log_error("Cannot find vgname!");
    return ORV_E_NO_VG;
  }
  orv::scoped_list<tag_vginfo_list> groups;
  const int result = vg_get(groups.get());
  if (result != ORV_OK) return result;
  if (orv::find_group(groups.get(), name) == nullptr) return ORV_OK;
  liborv_log_error("vgname '%s' used", name.c_str());
  return ORV_E_VG_NAME_USED;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int create_vg(tag_vg_info* vg) try {
  if (vg == nullptr) return orv::log_missing_argument();
  const orv::command create("/sbin/vgcreate %s %s > /dev/null", orv::text_of(vg->vgname),
                            device_paths(vg->pvs));
  // A command that cannot be run is refused before a disk is wiped for it.
  if (create.error() != 0) return orv::run(create);
  const int result = create_volumes(vg->pvs);
  return result == ORV_OK ? orv::run(create) : result;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int create_pv(const char* dev) try {
  return orv::run(orv::command("/sbin/pvcreate /dev/%s > /dev/null", dev));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
