#include <orv/disk.h>

#include <string_view>

#include "common/families.h"
#include "common/log.h"
#include "common/models.h"
#include "common/text.h"

namespace {

/// What the anchor's `smart_enabled` says to ask for attributes instead of summaries.
constexpr std::string_view detail_mode = "detail";

/// The controller tells attributes only.
int no_summary(tag_disk_info* /*disk*/) { return ORV_E_SMART_MODE; }

auto* query_for(bool wants_detail, bool has_controller) {
  if (wants_detail) return has_controller ? get_smart_from_arcadm : get_smart_detail;
  return has_controller ? no_summary : get_smart;
}

}  // namespace

int smart_info_get(tag_diskinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  char model[orv::short_model_size] = "";
  const bool is_known = devmodel_get(model, orv::short_model_size) == ORV_OK;
  if (orv::is_empty(list)) return is_known ? ORV_OK : orv::log_failure(ORV_E_MODEL_QUERY);
  auto* const query = query_for(orv::text_of(list->smart.smart_enabled) == detail_mode,
                                model == orv::model_with_controller);
  // The last disk's result is the list's: what failed before is only logged.
  int result = ORV_OK;
  for (tag_disk_info& disk : orv::records(list)) result = query(&disk);
  return result == ORV_E_SMART_MODE ? orv::log_failure(result) : result;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
