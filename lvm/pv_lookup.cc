#include <orv/lvm.h>
#include <orv/support.h>

#include "common/families.h"
#include "common/log.h"
#include "common/text.h"

int found_vg(tag_pvinfo_list* list, const char* name) {
  for (const tag_pv_info& pv : orv::records(list)) {
    if (orv::text_of(pv.pvname) == orv::text_or_empty(name)) return 1;
  }
  return 0;
}

int found_raid(tag_pvinfo_list* list, const char* name) { return found_vg(list, name); }

int found_pv_vg(tag_pvinfo_list* list, const char* name) {
  for (const tag_pv_info& pv : orv::records(list)) {
    if (liborv_strcmp_substr(pv.pvname, name, ",") == 0) return 1;
  }
  return 0;
}

int check_pv_used(const char* name) try {
  orv::scoped_list<tag_vginfo_list> groups;
  vg_get(groups.get());
  for (tag_vg_info& vg : groups) {
    if (found_pv_vg(&vg.pvs, name) == 1) return 1;
  }
  return 0;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
