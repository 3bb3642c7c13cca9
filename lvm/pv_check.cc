#include <orv/disk.h>
#include <orv/lvm.h>
#include <orv/raid.h>
#include <orv/support.h>

#include <cstring>
#include <string>

#include "common/device_use.h"
#include "common/families.h"
#include "common/log.h"
#include "common/text.h"
#include "lvm/pv_device.h"

namespace {

/// The answer to a question about the machine's arrays. Without the whole list (`result` is its
/// code) a "no" proves nothing.
struct answer {
  int result;
  bool yes = false;
};

answer is_array(const char* name) {
  orv::scoped_list<tag_mdinfo_list> raids;
  answer answered{raid_get(raids.get())};
  for (const tag_md_info& md : raids) {
    if (orv::text_of(md.name) == orv::text_or_empty(name)) answered.yes = true;
  }
  return answered;
}

/// Sees through the marks of failed and rebuilding members: those disks are not free.
answer is_array_member(const char* names) {
  orv::scoped_list<tag_mdinfo_list> raids;
  answer answered{raid_get(raids.get())};
  for (const tag_md_info& md : raids) {
    if (found_disk(md.disks, names) != 0 || found_disk(md.spares, names) != 0) answered.yes = true;
  }
  return answered;
}

bool is_spare(tag_diskinfo_list* disks, const char* dev) {
  for (const tag_disk_info& disk : orv::records(disks)) {
    if (orv::text_of(disk.name) == orv::text_or_empty(dev) && disk.hotspare == 1) return true;
  }
  return false;
}

int check_array(const char* name) {
  const answer known = is_array(name);
  if (known.result != ORV_OK) return known.result;
  if (known.yes) return ORV_OK;
  liborv_log_error("cannot find md '%s'", name);
  return ORV_E_PV_NO_RAID;
}

/// Replaces the channel by its device name, and checks that the disk is free.
int check_disk(tag_diskinfo_list* disks, char* pvname, const char* enclosure,
               const std::string& shown) {
  const std::string device = orv::device_of_channel(disks, pvname, enclosure);
  if (device.empty()) {
    liborv_log_error("invalid disk channelID: '%s'", shown.c_str());
    return ORV_E_PV_CHANNEL;
  }
  orv::copy_text(pvname, sizeof tag_pv_info::pvname, device);
  const answer member = is_array_member(pvname);
  if (member.result != ORV_OK) return member.result;
  if (member.yes) {
    liborv_log_error("disk channelID '%s' used in raid", shown.c_str());
    return ORV_E_PV_DISK_USED;
  }
  if (is_spare(disks, pvname)) {
    liborv_log_error("disk channelID '%s' used hotspare disk", shown.c_str());
    return ORV_E_PV_DISK_USED;
  }
  return ORV_OK;
}

/// The device name of a recorded physical volume: a disk is recorded by its channel, in its own
/// enclosure. A channel without a disk stays as it is.
std::string device_of(tag_diskinfo_list* disks, const tag_pv_info& pv) {
  if (is_channelID(pv.pvname) == 0) return pv.pvname;
  const std::string device = orv::device_of_channel(disks, pv.pvname, pv.enclosure);
  return device.empty() ? pv.pvname : device;
}

int check_unused(tag_diskinfo_list* disks, const char* pvname, const std::string& shown) {
  orv::scoped_list<tag_vginfo_list> groups;
  const int result = vg_get(groups.get());
  if (result != ORV_OK) return result;
  for (const tag_vg_info& vg : groups) {
    for (const tag_pv_info& pv : orv::records(&vg.pvs)) {
      if (liborv_strcmp_substr(device_of(disks, pv).c_str(), pvname, ",") != 0) continue;
      liborv_log_error("'%s' is used in vg", shown.c_str());
      return ORV_E_PV_USED;
    }
  }
  return ORV_OK;
}

/// Lists that came from tools that told half of it must not cost an array or a group its disk.
int check_kernel(const char* pvname, const std::string& shown, int refusal) {
  if (!orv::kernel_uses(pvname)) return ORV_OK;
  liborv_log_error("'%s' is used in kernel", shown.c_str());
  return refusal;
}

}  // namespace

int check_pvname(tag_diskinfo_list* disks, char* pvname, const char* enclosure) try {
  if (disks == nullptr || pvname == nullptr) return orv::log_missing_argument();
  if (is_channelID(pvname) == 0) {
    int result = check_array(pvname);
    if (result == ORV_OK) result = check_unused(disks, pvname, pvname);
    return result == ORV_OK ? check_kernel(pvname, pvname, ORV_E_PV_USED) : result;
  }
  constexpr std::size_t shown_characters = 8;
  const std::string shown(pvname, strnlen(pvname, shown_characters));
  int result = check_disk(disks, pvname, enclosure, shown);
  if (result == ORV_OK) result = check_unused(disks, pvname, shown);
  return result == ORV_OK ? check_kernel(pvname, shown, ORV_E_PV_DISK_USED) : result;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int check_pv(tag_pvinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  orv::scoped_list<tag_diskinfo_list> disks;
  const int result = disks_info_get(disks.get());
  if (result != ORV_OK) return result;
  for (tag_pv_info& pv : orv::records(list)) {
    const int checked = check_pvname(disks.get(), pv.pvname, pv.enclosure);
    if (checked != ORV_OK) return checked;
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int check_md_exist(const char* name) try {
  return is_array(name).yes ? 1 : 0;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int check_ch_in_raid(const char* chlist) try {
  return is_array_member(chlist).yes ? 1 : 0;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int check_spare_disk(const char* dev) try {
  orv::scoped_list<tag_diskinfo_list> disks;
  disks_info_get(disks.get());
  return is_spare(disks.get(), dev) ? 1 : 0;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
