#include "common/log.h"
#include "common/text.h"
#include "share/share_change.h"

namespace {

/// @param share    without its service: that is how it is listed when it is out of use
/// @param service  the word of the service that it had
int modify_parked(tag_share_config share, std::string_view service) {
  orv::locked_files locks;
  orv::share_file shares(&orv::sharefolder, locks);
  int result = shares.open(ORV_E_SHARES_LOCKED);
  if (result != ORV_OK) return result;
  if (mod_recy_list(&share, shares.list()) != ORV_OK) result = ORV_E_NO_SHARE;
  if (shares.write() != ORV_OK) return ORV_E_SHARES_WRITE;
  if (orv::equal_ignoring_case(service, "ftp")) return result;

  orv::share_file parked(orv::find_mode(orv::share_mode_recy_table, service), locks);
  const int opened = parked.open(ORV_E_SERVICE_LOCKED);
  if (opened != ORV_OK) return opened;
  if (mod_recy_list(&share, parked.list()) != ORV_OK) result = ORV_E_NO_SHARE;
  return parked.write() == ORV_OK ? result : ORV_E_SERVICE_WRITE;
}

}  // namespace

int share_recy_mod(tag_share_config* share) try {
  if (!orv::is_request(share)) return orv::log_missing_argument();
  tag_share_config request = orv::as_stored(*share);
  orv::take_service(request);
  return orv::finish(modify_parked(request, orv::take_service(*share)));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
