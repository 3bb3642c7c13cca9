#include "common/log.h"
#include "common/text.h"
#include "share/share_change.h"
#include "share/share_list.h"

namespace {

/// @param share    without its service: that is how it is listed when it is out of use
/// @param service  the word of the service that it had
int modify_parked(const tag_share_config& share, std::string_view service) {
  orv::locked_files locks;
  orv::share_file shares(&orv::sharefolder, locks);
  int result = shares.open(ORV_E_SHARES_LOCKED);
  if (result != ORV_OK) return result;
  if (!orv::mod_parked_share(shares.list(), share)) result = ORV_E_NO_SHARE;
  if (shares.write() != ORV_OK) return ORV_E_SHARES_WRITE;
  if (orv::equal_ignoring_case(service, "ftp")) return result;

  orv::share_file parked(orv::find_mode(orv::share_mode_recy_table, service), locks);
  const int opened = parked.open(ORV_E_SERVICE_LOCKED);
  if (opened != ORV_OK) return opened;
  if (!orv::mod_parked_share(parked.list(), share)) result = ORV_E_NO_SHARE;
  return parked.write() == ORV_OK ? result : ORV_E_SERVICE_WRITE;
}

}  // namespace

int share_recy_mod(tag_share_config* share) try {
  const auto request = orv::take_request(share);
  if (!request) return orv::log_missing_argument();
  return orv::finish(modify_parked(request->share, request->service));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
