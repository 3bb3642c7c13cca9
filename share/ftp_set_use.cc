#include <orv/fs.h>
#include <orv/lvm.h>

#include <cerrno>
#include <string>

#include "common/log.h"
#include "common/mounted_below.h"
#include "common/text.h"
#include "share/share_change.h"
#include "share/share_list.h"

namespace {

/// True when the kernel's list of mounts can be read and has nothing at the path; else `errno` says
/// why not. A pool may be mounted there twice, and the path may have another text than the list's.
bool is_free(const std::string& path) {
  errno = orv::mounted_at(path);
  return errno == 0;
}

/// Marks a share as out of use in the share list.
int clear_service(const tag_share_config& share) {
  orv::locked_files locks;
  orv::share_file shares(&orv::sharefolder, locks);
  const int result = shares.open(ORV_E_SHARES_LOCKED);
  if (result != ORV_OK) return result;
  orv::mod_parked_share(shares.list(), share);
  return shares.write() == ORV_OK ? ORV_OK : ORV_E_SHARES_WRITE;
}

}  // namespace

int ftp_set_use(tag_share_config* share) try {
  const auto request = orv::take_request(share);
  if (!request) return orv::log_missing_argument();
  const std::string path(orv::text_of(request->share.path));
  const int result = umount_fs(path.c_str());
  if (result != ORV_OK) return result;
  if (!is_free(path)) return orv::log_failure(ORV_E_COMMAND);
  // What these leave behind is logged by them; the share is out of use all the same.
  rmdir_path(path.c_str());
  del_mdfstab(path.c_str());
  return orv::finish(clear_service(request->share));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
