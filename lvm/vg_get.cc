#include <orv/lvm.h>
#include <orv/system.h>

#include <string_view>

#include "common/log.h"
#include "common/models.h"
#include "lvm/group_use.h"

int orv::list_groups(tag_vginfo_list* list, groups_in_use& in_use) {
  const int result = read_groups(list, in_use);
  if (result != ORV_OK) return result;
  char model[short_model_size] = "";
  if (devmodel_get(model, sizeof model) != ORV_OK) return ORV_E_MODEL_QUERY;
  if (model == model_with_controller) return get_vginfo_from_arcadm(list);
  return get_vginfo_from_pvdisplay(list);
}

int vg_get(tag_vginfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  orv::groups_in_use in_use;
  return orv::list_groups(list, in_use);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
