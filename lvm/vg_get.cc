#include <orv/lvm.h>
#include <orv/system.h>

#include <string_view>

#include "common/log.h"
#include "common/models.h"

int vg_get(tag_vginfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const int result = get_vginfo_from_vgdisplay(list);
  if (result != ORV_OK) return result;
  char model[orv::short_model_size] = "";
  if (devmodel_get(model, sizeof model) != ORV_OK) return ORV_E_MODEL_QUERY;
  if (model == orv::model_with_controller) return get_vginfo_from_arcadm(list);
  return get_vginfo_from_pvdisplay(list);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
