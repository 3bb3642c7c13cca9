#ifndef ORV_COMMON_FAMILIES_H
#define ORV_COMMON_FAMILIES_H

#include <orv/alarm.h>
#include <orv/disk.h>
#include <orv/fs.h>
#include <orv/lvm.h>
#include <orv/network.h>
#include <orv/raid.h>
#include <orv/service.h>
#include <orv/share.h>
#include <orv/user.h>

#include "common/record_list.h"

/// The record families, one table row each: how a record is cleared and released, and where its
/// link lies.

namespace orv {

#define ORV_FAMILY(list_type, record_type, link, init_record, fini_record)  \
  template <>                                                               \
  struct family<list_type> {                                                \
    using record = record_type;                                             \
    static constexpr std::size_t node_offset = offsetof(record_type, link); \
    static void init(record* cleared) { init_record(cleared); }             \
    static void fini(record* released) { fini_record(released); }           \
  }

ORV_FAMILY(tag_diskinfo_list, tag_disk_info, list, disk_conf_init, disk_conf_fini);
ORV_FAMILY(tag_disksmart_list, tag_disksmart_info, list, smart_conf_init, smart_conf_fini);
ORV_FAMILY(tag_mdinfo_list, tag_md_info, list, md_conf_init, md_conf_fini);
ORV_FAMILY(tag_pvinfo_list, tag_pv_info, list, pv_conf_init, pv_conf_fini);
ORV_FAMILY(tag_vginfo_list, tag_vg_info, list, vg_conf_init, vg_conf_fini);
ORV_FAMILY(tag_poolinfo_list, tag_pool_info, list, pool_conf_init, pool_conf_fini);
ORV_FAMILY(tag_fsinfo_list, tag_fs_info, list, fs_conf_init, fs_conf_fini);
ORV_FAMILY(tag_shareconf_list, tag_share_config, list, share_conf_init, share_conf_fini);
ORV_FAMILY(tag_shareconn_list, tag_share_conn, node, conn_conf_init, conn_conf_fini);
ORV_FAMILY(tag_user_info_list, tag_user_info, node, user_info_init, user_info_fini);
ORV_FAMILY(tag_alarm_list, tag_alarm_info, node, alarm_conf_init, alarm_conf_fini);
ORV_FAMILY(tag_netcard_list, tag_netcard, node, netcard_info_init, netcard_info_fini);

#undef ORV_FAMILY

}  // namespace orv

#endif
