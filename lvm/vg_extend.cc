#include <orv/disk.h>
#include <orv/lvm.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "common/command.h"
#include "common/families.h"
#include "common/log.h"
#include "common/text.h"

namespace {

/// ORV_OK when there is such a group in this enclosure.
int check_group(std::string_view vgname, std::string_view enclosure) {
  orv::scoped_list<tag_vginfo_list> groups;
  const int result = vg_get(groups.get());
  if (result != ORV_OK) return result;
  for (const tag_vg_info& vg : groups) {
    if (orv::text_of(vg.vgname) == vgname && orv::text_of(vg.enclosure) == enclosure) {
      return ORV_OK;
    }
  }
  return ORV_E_NO_VG;
}

}  // namespace

int vg_extend(const char* vgname, const char* pvname, const char* enclosure) try {
  orv::scoped_list<tag_diskinfo_list> disks;
  int result = disks_info_get(disks.get());
  if (result != ORV_OK) return result;
  // Not cut: half a name could name another disk or array.
  std::string device(orv::text_or_empty(pvname));
  device.resize(std::max(device.size() + 1, sizeof tag_pv_info::pvname));
  result = check_pvname(disks.get(), device.data(), enclosure);
  if (result == ORV_OK) {
    result = check_group(orv::text_or_empty(vgname), orv::text_or_empty(enclosure));
  }
  return result == ORV_OK ? extend_vg(vgname, device.data()) : result;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int extend_vg(const char* vgname, char* pvname) try {
  const orv::command extend("/sbin/vgextend %s /dev/%s > /dev/null", vgname, pvname);
  // A command that cannot be run is refused before a device is changed for it.
  if (extend.error() != 0) return orv::run(extend);
  const int result = create_pv(pvname);
  return result == ORV_OK ? orv::run(extend) : result;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
