#include <orv/lvm.h>

#include <algorithm>
#include <limits>

#include "common/command.h"
#include "common/log.h"

int pool_create(const char* poolname, const char* vgname, uint64_t size) try {
  int result = check_vg(vgname, size);
  if (result == ORV_OK) result = check_pool(poolname, vgname);
  return result == ORV_OK ? create_pool(poolname, vgname, size) : result;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int create_pool(const char* poolname, const char* vgname, uint64_t size) try {
  return orv::run(
      orv::command("/sbin/lvcreate -L %lldG -n %s %s > /dev/null", size, poolname, vgname));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int pool_extend(const char* poolname, const char* vgname, uint64_t size) try {
  constexpr uint64_t largest = std::numeric_limits<int>::max();
  int result = check_pool_vg(poolname, vgname, static_cast<int>(std::min(size, largest)));
  // The new total size, not the increase, must fit into the group's free space.
  if (result == ORV_OK) result = check_vg(vgname, size);
  return result == ORV_OK ? extend_pool(poolname, vgname, size) : result;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int extend_pool(const char* poolname, const char* vgname, uint64_t size) try {
  return orv::run(
      orv::command("/sbin/lvextend -L %lldG /dev/%s/%s > /dev/null", size, vgname, poolname));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int pool_destroy(const char* poolname, const char* vgname) try {
  const int result = check_pool_vg(poolname, vgname, 0);
  return result == ORV_OK ? destroy_pool(poolname, vgname) : result;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int destroy_pool(const char* poolname, const char* vgname) try {
  return orv::run(orv::command("/sbin/lvremove -f %s/%s > /dev/null", vgname, poolname));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
