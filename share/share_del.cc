#include <string>

#include "common/log.h"
#include "common/text.h"
#include "share/share_change.h"
#include "share/share_text.h"

namespace {

/// The share list is written last: a share that could not be taken from its service stays listed.
int remove(const std::string& name, std::string_view mode) {
  orv::locked_files locks;
  orv::share_file shares(&orv::sharefolder, locks);
  int result = shares.open(ORV_E_SHARES_LOCKED);
  if (result != ORV_OK) return result;
  if (del_share_to_sharelist(name.c_str(), shares.list()) != ORV_OK) result = ORV_E_NO_SHARE;

  orv::share_file service(orv::find_mode(orv::share_mode_table, mode), locks);
  if (service.has_no_file()) {
    result = ORV_OK;
  } else {
    const int opened = service.open(ORV_E_SERVICE_LOCKED);
    if (opened != ORV_OK) return opened;
    if (del_share_to_sharelist(name.c_str(), service.list()) != ORV_OK) result = ORV_E_NO_SHARE;
    if (service.write() != ORV_OK) return ORV_E_SERVICE_WRITE;
  }
  return shares.write() == ORV_OK ? result : ORV_E_SHARES_WRITE;
}

}  // namespace

int share_del(const char* name, const char* mode) try {
  const std::string_view word = orv::text_or_empty(mode);
  const std::string stored = orv::stored_name(orv::text_or_empty(name), word);
  if (stored.empty()) return orv::log_missing_argument();
  return orv::finish(remove(stored, word));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
