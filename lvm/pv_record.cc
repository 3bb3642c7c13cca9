#include <orv/lvm.h>

#include <cinttypes>

#include "common/families.h"
#include "common/log.h"

void pv_conf_init(tag_pv_info* pv) {
  if (pv != nullptr) orv::clear_fields<tag_pvinfo_list>(pv);
}

void pv_conf_fini(tag_pv_info* pv) { pv_conf_init(pv); }

int pv_conf_show(const tag_pv_info* pv) {
  if (pv == nullptr) return orv::log_missing_argument();
  return std::printf("%s\t%s\t%s\t%" PRIu64 "G\t%" PRIu64 "G\t%s\n", pv->pvname, pv->attr,
                     pv->enclosure, pv->size, pv->used, pv->vgname);
}

void pv_list_init(tag_pvinfo_list* list) { orv::list_init(list); }

int pv_list_fini(tag_pvinfo_list* list) { return orv::list_fini(list); }

void pv_list_show(const tag_pvinfo_list* list) { orv::list_show(list, pv_conf_show); }
