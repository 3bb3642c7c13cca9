#ifndef ORV_COMMON_FAMILIES_H
#define ORV_COMMON_FAMILIES_H

#include <orv/disk.h>
#include <orv/fs.h>
#include <orv/lvm.h>
#include <orv/raid.h>

#include "common/record_list.h"

/// The record families, one table row each: how a record is cleared and released, and where its
/// link lies.

namespace orv {

#define ORV_FAMILY(list_type, record_type, init_record, fini_record)        \
  template <>                                                               \
  struct family<list_type> {                                                \
    using record = record_type;                                             \
    static constexpr std::size_t node_offset = offsetof(record_type, list); \
    static void init(record* cleared) { init_record(cleared); }             \
    static void fini(record* released) { fini_record(released); }           \
  }

ORV_FAMILY(tag_diskinfo_list, tag_disk_info, disk_conf_init, disk_conf_fini);
ORV_FAMILY(tag_disksmart_list, tag_disksmart_info, smart_conf_init, smart_conf_fini);
ORV_FAMILY(tag_mdinfo_list, tag_md_info, md_conf_init, md_conf_fini);
ORV_FAMILY(tag_pvinfo_list, tag_pv_info, pv_conf_init, pv_conf_fini);
ORV_FAMILY(tag_vginfo_list, tag_vg_info, vg_conf_init, vg_conf_fini);
ORV_FAMILY(tag_poolinfo_list, tag_pool_info, pool_conf_init, pool_conf_fini);
ORV_FAMILY(tag_fsinfo_list, tag_fs_info, fs_conf_init, fs_conf_fini);

#undef ORV_FAMILY

}  // namespace orv

#endif
