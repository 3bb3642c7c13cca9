#include <orv/lvm.h>

#include <cinttypes>

#include "common/families.h"
#include "common/log.h"

void pool_conf_init(tag_pool_info* pool) {
  if (pool != nullptr) orv::clear_fields<tag_poolinfo_list>(pool);
}

void pool_conf_fini(tag_pool_info* pool) { pool_conf_init(pool); }

int pool_conf_show(const tag_pool_info* pool) {
  if (pool == nullptr) return orv::log_missing_argument();
  return std::printf("%s\t%s\t%" PRIu64 "G\t%" PRIu64 "G\t%s\t%s\n", pool->poolname, pool->state,
                     pool->size, pool->used, pool->vgname, pool->enclosure);
}

void pool_list_init(tag_poolinfo_list* list) { orv::list_init(list); }

int pool_list_fini(tag_poolinfo_list* list) { return orv::list_fini(list); }

void pool_list_show(const tag_poolinfo_list* list) { orv::list_show(list, pool_conf_show); }
