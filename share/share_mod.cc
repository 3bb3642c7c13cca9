#include "common/log.h"
#include "common/text.h"
#include "share/share_change.h"
#include "share/share_list.h"

namespace {

int modify(const tag_share_config& share) {
  orv::locked_files locks;
  orv::share_file shares(&orv::sharefolder, locks);
  int result = shares.open(ORV_E_SHARES_LOCKED);
  if (result != ORV_OK) return result;
  if (!orv::mod_share(shares.list(), share)) result = ORV_E_NO_SHARE;
  if (shares.write() != ORV_OK) result = ORV_E_SHARES_WRITE;

  orv::share_file service(orv::find_mode(orv::share_mode_table, orv::text_of(share.service)),
                          locks);
  // An FTP share is looked for in a list that is always empty, and so is never found.
  if (service.has_no_file()) return ORV_E_NO_SHARE;
  const int opened = service.open(ORV_E_SERVICE_LOCKED);
  if (opened != ORV_OK) return opened;
  if (!orv::mod_share(service.list(), share)) result = ORV_E_NO_SHARE;
  return service.write() == ORV_OK ? result : ORV_E_SERVICE_WRITE;
}

}  // namespace

int share_mod(tag_share_config* share) try {
  if (!orv::is_request(share)) return orv::log_missing_argument();
  return orv::finish(modify(orv::as_stored(*share)));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
