#include <string>

#include "common/log.h"
#include "common/text.h"
#include "share/share_change.h"
#include "share/share_text.h"

namespace {

/// Opens a file and removes a share from what was read.
/// @param result  becomes ORV_E_NO_SHARE when the share is not there
/// @return ORV_OK or the failure to open the file
int open_without(orv::share_file& file, int not_locked, const std::string& name, int& result) {
  const int opened = file.open(not_locked);
  if (opened != ORV_OK) return opened;
  if (del_share_to_sharelist(name.c_str(), file.list()) != ORV_OK) result = ORV_E_NO_SHARE;
  return ORV_OK;
}

int remove_everywhere(const std::string& name) {
  orv::locked_files locks;
  orv::share_file shares(&orv::sharefolder, locks);
  orv::share_file samba(orv::find_mode(orv::share_mode_recy_table, "Samba"), locks);
  orv::share_file nfs(orv::find_mode(orv::share_mode_recy_table, "Nfs"), locks);
  int result = ORV_OK;
  int opened = open_without(shares, ORV_E_SHARES_LOCKED, name, result);
  if (opened == ORV_OK) opened = open_without(samba, ORV_E_SERVICE_LOCKED, name, result);
  if (opened == ORV_OK) opened = open_without(nfs, ORV_E_SERVICE_LOCKED, name, result);
  if (opened != ORV_OK) return opened;

  if (samba.write() != ORV_OK || nfs.write() != ORV_OK) return ORV_E_SERVICE_WRITE;
  return shares.write() == ORV_OK ? result : ORV_E_SHARES_WRITE;
}

}  // namespace

int forbid_share_del(const char* name) try {
  const std::string stored = orv::stored_name(orv::text_or_empty(name));
  if (stored.empty()) return orv::log_missing_argument();
  return orv::finish(remove_everywhere(stored));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
