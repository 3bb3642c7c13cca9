#include <orv/disk.h>
#include <orv/lvm.h>

#include <algorithm>
#include <cstdio>

#include "common/command.h"
#include "common/families.h"
#include "common/log.h"
#include "common/text.h"
#include "lvm/group_use.h"
#include "lvm/pv_device.h"
#include "lvm/vg_lookup.h"

int vg_destroy(const char* vgname) try {
  orv::scoped_list<tag_vginfo_list> groups;
  orv::groups_in_use in_use;
  const int result = orv::list_groups(groups.get(), in_use);
  if (result != ORV_OK) return result;
  tag_vg_info* const vg = orv::find_group(groups.get(), orv::text_or_empty(vgname));
  if (vg == nullptr) return ORV_E_VG_NOT_FOUND;
  // A volume of less than 1 GiB, which is no pool of ours, holds somebody's data as well.
  return std::ranges::find(in_use, vg) != in_use.end() ? ORV_E_VG_IN_USE : del_vg(vg);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int del_vg(tag_vg_info* vg) try {
  if (vg == nullptr) return orv::log_missing_argument();
  orv::scoped_list<tag_diskinfo_list> disks;
  int result = disks_info_get(disks.get());
  if (result != ORV_OK) return result;
  result = orv::run(orv::command("/sbin/vgremove %s > /dev/null", orv::text_of(vg->vgname)));
  // The result of each volume replaces the one before: a group that could not be removed is
  // reported only when it has no volumes or one of them fails too.
  for (tag_pv_info& pv : orv::records(&vg->pvs)) {
    if (is_channelID(pv.pvname) == 1) {
      const std::string device = orv::device_of_channel(disks.get(), pv.pvname, pv.enclosure);
      if (!device.empty()) orv::set_text(pv.pvname, device);
    }
    result = del_pv(pv.pvname);
    if (result == ORV_OK) continue;
    std::printf("cannot del %s\n", pv.pvname);
    break;
  }
  return result;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int del_pv(const char* dev) try {
  return orv::run(orv::command("/sbin/pvremove /dev/%s > /dev/null", dev));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
