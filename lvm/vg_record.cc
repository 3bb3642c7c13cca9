#include <orv/lvm.h>

#include <cinttypes>

#include "common/families.h"
#include "common/log.h"

void vg_conf_init(tag_vg_info* vg) {
  if (vg == nullptr) return;
  orv::clear_fields<tag_vginfo_list>(vg);
  pv_list_init(&vg->pvs);
}

void vg_conf_fini(tag_vg_info* vg) {
  if (vg == nullptr) return;
  pv_list_fini(&vg->pvs);
  vg_conf_init(vg);
}

int vg_conf_show(const tag_vg_info* vg) {
  if (vg == nullptr) return orv::log_missing_argument();
  int printed = std::printf("%s\t%s\t%s\t%" PRIu64 "G\t%" PRIu64 "G\n", vg->vgname, vg->attr,
                            vg->enclosure, vg->size, vg->used);
  for (const tag_pv_info& pv : orv::records(&vg->pvs)) printed = pv_conf_show(&pv);
  return printed;
}

void vg_list_init(tag_vginfo_list* list) { orv::list_init(list); }

int vg_list_fini(tag_vginfo_list* list) { return orv::list_fini(list); }

void vg_list_show(const tag_vginfo_list* list) { orv::list_show(list, vg_conf_show); }
