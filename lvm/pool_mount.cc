#include <orv/lvm.h>
#include <sys/utsname.h>

#include <cstring>
#include <string_view>

#include "common/command.h"
#include "common/log.h"
#include "common/models.h"

namespace {

/// Compared byte by byte, not number by number: 2.6.9 counts as newer than 2.6.30.
bool has_large_inodes(const char* release) { return std::strcmp(release, "2.6.30") >= 0; }

orv::command mount_command(const char* release, const char* mountpoint, const char* vgname,
                           const char* poolname) {
  const std::string_view type = orv::file_system_type();
  if (type == "xfs" && has_large_inodes(release)) {
    return orv::command("mount -t %s -o %s /dev/%s/%s %s > /dev/null", type, "inode64", vgname,
                        poolname, mountpoint);
  }
  return orv::command("mount -t %s /dev/%s/%s %s > /dev/null", type, vgname, poolname, mountpoint);
}

}  // namespace

int mount_fs(const char* mountpoint, const char* vgname, const char* poolname) try {
  utsname kernel{};
  if (uname(&kernel) != 0) return orv::log_failure(ORV_E_COMMAND);
  const int result = orv::run(mount_command(kernel.release, mountpoint, vgname, poolname));
  if (result != ORV_OK) return result;
  return orv::run(orv::command("chmod 0777 %s > /dev/null", mountpoint));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int umount_fs(const char* mountpoint) try {
  return orv::run(orv::command("umount %s > /dev/null", mountpoint));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
