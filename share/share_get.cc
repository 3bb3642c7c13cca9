#include <orv/share.h>

#include "common/log.h"

int share_get(tag_shareconf_list* list) try {
  constexpr int (*steps[])(tag_shareconf_list*) = {
      get_shareinfo_from_shareconf, get_shareinfo_from_smbconf, get_shareinfo_from_ftpconf,
      get_shareinfo_from_exportfs,  get_shareinfo_from_mount,   get_shareinfo_from_df,
      get_shareinfo_from_iSCSI,     get_shareinfo_from_ietd};
  if (list == nullptr) return orv::log_missing_argument();
  for (const auto step : steps) {
    const int result = step(list);
    if (result != ORV_OK) return result;
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
