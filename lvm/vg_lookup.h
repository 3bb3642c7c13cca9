#ifndef ORV_LVM_VG_LOOKUP_H
#define ORV_LVM_VG_LOOKUP_H

#include <string_view>

#include "common/families.h"
#include "common/text.h"

namespace orv {

/// The group of this name, or NULL.
inline tag_vg_info* find_group(tag_vginfo_list* groups, std::string_view name) {
  for (tag_vg_info& vg : records(groups)) {
    if (text_of(vg.vgname) == name) return &vg;
  }
  return nullptr;
}

}  // namespace orv

#endif
