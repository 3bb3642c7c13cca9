#include <orv/disk.h>
#include <orv/raid.h>
#include <orv/support.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <span>
#include <string_view>

#include "common/families.h"
#include "common/log.h"
#include "common/text.h"
#include "raid/array_lookup.h"
#include "raid/membership.h"

namespace {

constexpr std::string_view levels_with_changing_members[] = {"raid6", "raid5", "raid1", "linear"};
constexpr std::string_view levels_of_checked_removal[] = {"raid5"};

/// An array and a disk of its enclosure, as a caller names them.
class array_and_disk {
 public:
  /// Looks both up; an unknown array is logged in the name of the caller. A channel has at most 7
  /// characters.
  int find(const char* md_name, const char* ch, const char* caller = __builtin_FUNCTION());

  tag_md_info* array() const { return array_; }
  const char* device() const { return device_; }

  bool has_level(std::span<const std::string_view> levels) const {
    return std::find(levels.begin(), levels.end(), orv::text_of(array_->level)) != levels.end();
  }

 private:
  orv::scoped_list<tag_diskinfo_list> disks_;
  orv::scoped_list<tag_mdinfo_list> arrays_;
  tag_md_info* array_ = nullptr;
  char device_[256] = "";
};

int array_and_disk::find(const char* md_name, const char* ch, const char* caller) {
  constexpr int channel_size = 8;
  int code = disks_info_get(disks_.get());
  if (code == ORV_OK) code = raid_get(arrays_.get());
  if (code != ORV_OK) return code;
  array_ = orv::find_array(arrays_.get(), md_name);
  if (array_ == nullptr) {
    errno = ENODEV;
    return orv::log_failure(ORV_E_NO_RAID, caller);
  }
  liborv_strncpy(device_, channel_size, ch);
  // Of several channels exactly one may have a disk. The disks of a RAID controller have no device
  // name to act on.
  if (trans_ch_disk(disks_.get(), device_, array_->enclosure, 1) == 1 && device_[0] != '\0') {
    return ORV_OK;
  }
  liborv_log_error("'%s' is not invalid disk", ch == nullptr ? "" : ch);
  return ORV_E_NO_DISK;
}

int check_free(const array_and_disk& named, const char* ch) {
  const tag_md_info& array = *named.array();
  if (found_disk(array.disks, named.device()) != 0 ||
      found_disk(array.spares, named.device()) != 0) {
    liborv_log_error("'%s' used in %s", ch, array.name);
    return ORV_E_DISK_USED;
  }
  tag_md_info disk{};
  orv::set_text(disk.disks, named.device());
  const orv::membership answer = orv::physical_volume_among_disks(disk);
  if (answer.code != ORV_OK || !answer.found) return answer.code;
  liborv_log_error("'%s' used in pv", ch);
  return ORV_E_DISK_USED;
}

int check_failed(const array_and_disk& named, const char* ch) {
  const tag_md_info& array = *named.array();
  // Membership is asked without marks, since a failed member always bears one.
  if (found_disk(array.disks, named.device()) == 0) {
    liborv_log_error("'%s' is not in %s", ch, array.name);
    return ORV_E_NO_DISK;
  }
  if (get_disk_state(named.device(), array.disks) != 1) {
    liborv_log_error("'%s' in %s is not fauty", ch, array.name);
    return ORV_E_NOT_FAULTY;
  }
  return ORV_OK;
}

int remove_member(const char* md_name, const char* ch, std::span<const std::string_view> levels,
                  const char* caller = __builtin_FUNCTION()) {
  array_and_disk named;
  int code = named.find(md_name, ch, caller);
  if (code != ORV_OK) return code;
  if (!named.has_level(levels)) {
    liborv_log_error("'%s' is not support remove disk", named.array()->name);
    return ORV_E_RAID_LEVEL_FIXED;
  }
  code = check_failed(named, ch);
  return code == ORV_OK ? rm_raid(named.array(), named.device()) : code;
}

}  // namespace

int raid_add(const char* md_name, const char* ch) try {
  array_and_disk named;
  int code = named.find(md_name, ch);
  if (code != ORV_OK) return code;
  if (!named.has_level(levels_with_changing_members)) {
    liborv_log_error("'%s' is not support add disk", named.array()->name);
    return ORV_E_RAID_LEVEL_FIXED;
  }
  code = check_free(named, ch);
  return code == ORV_OK ? add_raid(named.array(), named.device()) : code;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int raid_rm(const char* md_name, const char* ch) try {
  return remove_member(md_name, ch, levels_with_changing_members);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int raid_check_rm(const char* md_name, const char* ch) try {
  return remove_member(md_name, ch, levels_of_checked_removal);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
