#include <orv/lvm.h>

#include <string_view>

#include "common/command.h"
#include "common/log.h"
#include "common/models.h"

int mkfs_pool(const char* poolname, const char* vgname) try {
  const bool reiserfs = orv::file_system_type() == std::string_view("reiserfs");
  const char* const form = reiserfs ? "mkfs.reiserfs -f /dev/%s/%s > /dev/null"
                                    : "/sbin/mkfs.xfs -f -ssize=4k /dev/%s/%s > /dev/null";
  return orv::run(orv::command(form, vgname, poolname));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
