#include "raid/membership.h"

#include <orv/disk.h>
#include <orv/lvm.h>
#include <orv/support.h>

#include <string_view>

#include "common/families.h"
#include "common/log.h"
#include "common/record_index.h"
#include "common/text.h"

namespace {

/// Device name of a physical volume: a whole disk is recorded by its channel number.
void read_device_name(const tag_pv_info& pv, tag_diskinfo_list* disks, char (&device)[256]) {
  constexpr std::size_t longest_name = 7;
  orv::set_text(device, orv::text_of(pv.pvname).substr(0, longest_name));
  if (device[0] >= '1' && device[0] <= '9') trans_ch_disk(disks, device, pv.enclosure, 1);
}

bool has_physical_volume(const tag_vg_info& vg, tag_diskinfo_list* disks, const char* list) {
  for (const tag_pv_info& pv : orv::records(&vg.pvs)) {
    char device[256];
    read_device_name(pv, disks, device);
    // As for hot spares below, marks are seen through: a failed member is still somebody's disk.
    if (found_disk(list, device) != 0) return true;
  }
  return false;
}

bool are_listed(std::string_view names, tag_diskinfo_list* disks) {
  const orv::record_index<tag_diskinfo_list> known(disks, &tag_disk_info::name);
  for (const std::string_view name : orv::items(names)) {
    if (known.find(orv::trimmed(name)) == nullptr) return false;
  }
  return true;
}

int as_answer(bool found) { return found ? 1 : 0; }

}  // namespace

namespace orv {

membership spare_among_members(const tag_md_info& md) {
  scoped_list<tag_diskinfo_list> disks;
  membership answer{disks_info_get(disks.get()), false};
  for (const tag_disk_info& disk : disks) {
    if (disk.hotspare == 1 && found_disk(md.disks, disk.name) != 0) answer.found = true;
  }
  if (answer.code == ORV_OK && !are_listed(orv::text_of(md.disks), disks.get())) {
    answer.code = ORV_E_NO_DISK;
  }
  return answer;
}

membership physical_volume_among_disks(const tag_md_info& md) {
  scoped_list<tag_vginfo_list> groups;
  membership answer{vg_get(groups.get()), false};
  if (is_empty(groups.get())) return answer;
  scoped_list<tag_diskinfo_list> disks;
  const int code = disks_info_get(disks.get());
  if (answer.code == ORV_OK) answer.code = code;
  for (const tag_vg_info& vg : groups) {
    answer.found = answer.found || has_physical_volume(vg, disks.get(), md.disks) ||
                   has_physical_volume(vg, disks.get(), md.spares);
  }
  return answer;
}

}  // namespace orv

int check_spare_disk(tag_md_info* md) try {
  if (md == nullptr) return orv::log_missing_argument();
  return as_answer(orv::spare_among_members(*md).found);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int check_pv_disk(tag_md_info* md) try {
  if (md == nullptr) return orv::log_missing_argument();
  return as_answer(orv::physical_volume_among_disks(*md).found);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int found_pv_raid(tag_vg_info* vg, const char* list) try {
  if (vg == nullptr) return orv::log_missing_argument();
  orv::scoped_list<tag_diskinfo_list> disks;
  disks_info_get(disks.get());
  return as_answer(has_physical_volume(*vg, disks.get(), list));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
