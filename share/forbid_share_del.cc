#include <string>

#include "common/log.h"
#include "common/text.h"
#include "share/share_change.h"
#include "share/share_list.h"
#include "share/share_text.h"

namespace {

constexpr int all_files = 3;

/// Opens a file and removes a share from what was read.
/// @param removed  grows by 1 when the share was there
/// @return ORV_OK or the failure to open the file
int open_without(orv::share_file& file, int not_locked, const std::string& name, int& removed) {
  const int opened = file.open(not_locked);
  if (opened != ORV_OK) return opened;
  if (del_share_to_sharelist(name.c_str(), file.list()) == ORV_OK) ++removed;
  return ORV_OK;
}

/// Removes an iSCSI share, whose name may be listed otherwise than it was asked for. Out of use it
/// is listed without a service; what a recycle file has is a share of another one.
void remove_iscsi(const std::string& name, orv::share_file& shares, orv::share_file& samba,
                  orv::share_file& nfs) {
  const std::string stored = orv::stored_name(name, "iscsi");
  for (orv::share_file* const file : {&samba, &nfs}) {
    if (fine_share_in_list(file->list(), stored.c_str()) != nullptr) return;
  }
  tag_share_config* const share = fine_share_in_list(shares.list(), stored.c_str());
  if (share == nullptr) return;
  const bool is_out_of_use = orv::text_of(share->service).empty();
  if (is_out_of_use || orv::is_iscsi(*share)) {
    orv::release<tag_shareconf_list>(orv::node_of<tag_shareconf_list>(share));
  }
}

int remove_everywhere(const std::string& name) {
  orv::locked_files locks;
  orv::share_file shares(&orv::sharefolder, locks);
  orv::share_file samba(orv::find_mode(orv::share_mode_recy_table, "Samba"), locks);
  orv::share_file nfs(orv::find_mode(orv::share_mode_recy_table, "Nfs"), locks);
  int removed = 0;
  int opened = open_without(shares, ORV_E_SHARES_LOCKED, name, removed);
  if (opened == ORV_OK) opened = open_without(samba, ORV_E_SERVICE_LOCKED, name, removed);
  if (opened == ORV_OK) opened = open_without(nfs, ORV_E_SERVICE_LOCKED, name, removed);
  if (opened != ORV_OK) return opened;
  if (removed == 0) remove_iscsi(name, shares, samba, nfs);

  if (samba.write() != ORV_OK || nfs.write() != ORV_OK) return ORV_E_SERVICE_WRITE;
  if (shares.write() != ORV_OK) return ORV_E_SHARES_WRITE;
  return removed == all_files ? ORV_OK : ORV_E_NO_SHARE;
}

}  // namespace

int forbid_share_del(const char* name) try {
  const std::string stored = orv::stored_name(orv::text_or_empty(name));
  if (stored.empty()) return orv::log_missing_argument();
  return orv::finish(remove_everywhere(stored));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
