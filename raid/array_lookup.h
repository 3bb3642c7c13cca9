#ifndef ORV_RAID_ARRAY_LOOKUP_H
#define ORV_RAID_ARRAY_LOOKUP_H

#include "common/families.h"
#include "common/text.h"

namespace orv {

/// The array of this name, or NULL.
inline tag_md_info* find_array(tag_mdinfo_list* arrays, const char* name) {
  for (tag_md_info& array : records(arrays)) {
    if (text_of(array.name) == text_or_empty(name)) return &array;
  }
  return nullptr;
}

}  // namespace orv

#endif
