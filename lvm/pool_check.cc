#include <orv/lvm.h>
#include <orv/support.h>

#include <string>

#include "common/families.h"
#include "common/log.h"
#include "common/text.h"
#include "lvm/vg_lookup.h"

namespace {

/// Logs a missing name. @return true when both are there
bool both_named(std::string_view poolname, std::string_view vgname) {
  if (!poolname.empty() && !vgname.empty()) return true;
  liborv_log_error("Cannot find poolname!");
  return false;
}

/// "lv0" of "/dev/vg0/lv0".
std::string_view volume_name(const tag_pool_info& pool) {
  const std::string_view path = orv::text_of(pool.poolname);
  return path.substr(path.rfind('/') + 1);
}

/// True when the pool is at least as large as asked for; logged.
bool is_too_large(const tag_pool_info& pool, int size) {
  if (size <= 0 || pool.size < static_cast<uint64_t>(size)) return false;
  liborv_log_error("%s's size %lldG cannot extend to %lldG", pool.poolname,
                   static_cast<long long>(pool.size), static_cast<long long>(size));
  return true;
}

/// The size is looked at before the group: a large pool of this name in another group ends the
/// check, whatever follows it in the list.
int check_named_pools(tag_poolinfo_list* pools, const std::string& poolname,
                      const std::string& vgname, int size) {
  int result = ORV_E_NO_POOL;
  for (const tag_pool_info& pool : orv::records(pools)) {
    if (volume_name(pool) != poolname) continue;
    if (is_too_large(pool, size)) return ORV_E_POOL_SIZE;
    if (orv::text_of(pool.vgname) == vgname) return ORV_OK;
    liborv_log_error("%s's vgname not match '%s'", poolname.c_str(), vgname.c_str());
    result = ORV_E_POOL_VG;
  }
  return result;
}

}  // namespace

int check_vg(const char* vgname, uint64_t size) try {
  const std::string name(orv::text_or_empty(vgname));
  orv::scoped_list<tag_vginfo_list> groups;
  const int result = vg_get(groups.get());
  if (result != ORV_OK) return result;
  const tag_vg_info* const vg = orv::find_group(groups.get(), name);
  if (vg == nullptr) {
    liborv_log_error("Cannot find vg '%s'!", name.c_str());
    return ORV_E_POOL_VG;
  }
  const uint64_t free_size = vg->size > vg->used ? vg->size - vg->used : 0;
  return size != 0 && size <= free_size ? ORV_OK : ORV_E_POOL_SIZE;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int check_pool(const char* poolname, const char* vgname) try {
  const std::string name(orv::text_or_empty(poolname));
  const std::string group(orv::text_or_empty(vgname));
  if (!both_named(name, group)) return ORV_E_POOL_NAME;
  orv::scoped_list<tag_poolinfo_list> pools;
  const int result = pool_get(pools.get());
  if (result != ORV_OK) return result;
  const std::string path = "/dev/" + group + "/" + name;
  for (const tag_pool_info& pool : pools) {
    if (orv::text_of(pool.poolname) != path) continue;
    liborv_log_error("poolname '%s' used", name.c_str());
    return ORV_E_POOL_NAME_USED;
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int check_pool_vg(const char* poolname, const char* vgname, int size) try {
  const std::string name(orv::text_or_empty(poolname));
  const std::string group(orv::text_or_empty(vgname));
  if (!both_named(name, group)) return ORV_E_POOL_NAME;
  orv::scoped_list<tag_poolinfo_list> pools;
  const int result = pool_get(pools.get());
  if (result != ORV_OK) return result;
  return check_named_pools(pools.get(), name, group, size);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
