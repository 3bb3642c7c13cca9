#ifndef ORV_LVM_GROUP_USE_H
#define ORV_LVM_GROUP_USE_H

#include <orv/lvm.h>

#include <vector>

namespace orv {

/// The groups of a list of which any extent is allocated, however little that is: a record's `used`
/// counts whole GiB.
using groups_in_use = std::vector<const tag_vg_info*>;

/// What `get_vginfo_from_vgdisplay` does.
int read_groups(tag_vginfo_list* list, groups_in_use& in_use);

/// What `vg_get` does.
int list_groups(tag_vginfo_list* list, groups_in_use& in_use);

}  // namespace orv

#endif
