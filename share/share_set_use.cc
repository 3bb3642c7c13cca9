#include "common/log.h"
#include "common/text.h"
#include "share/share_change.h"
#include "share/share_list.h"

namespace {

/// Removes a share from its service's file, where the service has one.
/// @return ORV_OK also for a service without a file
int remove_live(orv::share_file& live, const tag_share_config& share, int result) {
  if (live.has_no_file()) return ORV_OK;
  const int opened = live.open(ORV_E_SERVICE_LOCKED);
  if (opened != ORV_OK) return opened;
  if (del_share_to_sharelist(share.name, live.list()) != ORV_OK) result = ORV_E_NO_SHARE;
  return live.write() == ORV_OK ? result : ORV_E_SERVICE_WRITE;
}

/// @param share    without its service: that is how it is listed when it is out of use
/// @param service  the word of the service that it had
int park(const tag_share_config& share, std::string_view service) {
  orv::locked_files locks;
  orv::share_file shares(&orv::sharefolder, locks);
  int result = shares.open(ORV_E_SHARES_LOCKED);
  if (result != ORV_OK) return result;
  if (!orv::mod_parked_share(shares.list(), share)) result = ORV_E_NO_SHARE;
  if (shares.write() != ORV_OK) return ORV_E_SHARES_WRITE;

  orv::share_file live(orv::find_mode(orv::share_mode_table, service), locks);
  result = remove_live(live, share, result);
  if (result != ORV_OK && result != ORV_E_NO_SHARE) return result;

  orv::share_file parked(orv::find_mode(orv::share_mode_recy_table, service), locks);
  const int opened = parked.open(ORV_E_SERVICE_LOCKED);
  if (opened != ORV_OK) return opened;
  if (!orv::add_share(parked.list(), share)) result = ORV_E_SHARE_EXISTS;
  return parked.write() == ORV_OK ? result : ORV_E_SERVICE_WRITE;
}

}  // namespace

int share_set_use(tag_share_config* share) try {
  const auto request = orv::take_request(share);
  if (!request) return orv::log_missing_argument();
  return orv::finish(park(request->share, request->service));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
