#include <orv/disk.h>
#include <orv/raid.h>

#include <cerrno>
#include <cstdio>
#include <limits>

#include "common/command.h"
#include "common/device_use.h"
#include "common/families.h"
#include "common/log.h"
#include "common/text.h"

namespace {

const tag_disk_info* find_disk(tag_diskinfo_list* disks, const tag_disk_info& request) {
  for (const tag_disk_info& disk : orv::records(disks)) {
    if (disk.ch == request.ch && orv::text_of(disk.enclosure) == orv::text_of(request.enclosure)) {
      return &disk;
    }
  }
  return nullptr;
}

/// Changes the requested disks, or none of them when one has no device name to act on: those of a
/// RAID controller have none. `change` gets NULL for a request without a disk. A refusal is logged
/// in the name of the caller.
template <class IsChange, class Change>
int change_disks(tag_diskinfo_list* req, IsChange is_change, Change change,
                 const char* caller = __builtin_FUNCTION()) {
  if (orv::is_empty(req)) return ORV_OK;
  orv::scoped_list<tag_diskinfo_list> disks;
  const int code = disks_info_get(disks.get());
  if (code != ORV_OK) return code;
  for (const tag_disk_info& request : orv::records(req)) {
    const tag_disk_info* const disk = find_disk(disks.get(), request);
    if (disk == nullptr || disk->name[0] != '\0' || !is_change(request)) continue;
    errno = ENODEV;
    return orv::log_failure(ORV_E_NO_DISK, caller);
  }
  for (const tag_disk_info& request : orv::records(req)) {
    change(request, find_disk(disks.get(), request));
  }
  return ORV_OK;
}

bool changes_spares(const tag_disk_info& request) {
  return request.hotspare == 1 || request.hotspare == -1;
}

struct wipe_outcome {
  bool is_refused;  ///< the kernel uses the disk, and the tool was not run
  int result;       ///< ORV_OK, or the result of the log call
};

/// The kernel is asked once: its answer may change while the tool runs.
wipe_outcome wipe(const char* dev) {
  const orv::command format("/usr/local/bin/diskformat /dev/%s", dev);
  if (format.error() == 0 && orv::kernel_uses(orv::text_or_empty(dev))) {
    return {true, orv::log_not_run(format)};
  }
  return {false, orv::execute(format)};
}

void change_spare(const tag_disk_info& request, const tag_disk_info* disk) {
  if (disk == nullptr) return;
  // A disk is wiped before it becomes a spare, which it becomes also when that failed. Of one that
  // the kernel uses a rebuild would overwrite what is not to be wiped.
  if (request.hotspare == 1 && wipe(disk->name).is_refused) return;
  disk_set_hotspare(disk->name, request.hotspare);
}

void clear_requested(const tag_disk_info& request, const tag_disk_info* disk) {
  std::printf("disk : ch = %d, devcie = %s, name = %s\n", request.ch, request.enclosure,
              request.name);
  if (disk != nullptr) clear_disk(disk->name);
}

}  // namespace

int disk_set_hotspare(const char* dev, int flag) try {
  if (flag == 1) return orv::execute(orv::command("/usr/local/bin/hotspare -a /dev/%s", dev));
  if (flag == -1) return orv::execute(orv::command("/usr/local/bin/hotspare -r /dev/%s", dev));
  return flag == std::numeric_limits<int>::max() ? flag : flag + 1;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int clear_disk(const char* dev) try { return wipe(dev).result; } catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int disks_hotspare_set(tag_diskinfo_list* req) try {
  if (req == nullptr) return orv::log_missing_argument();
  return change_disks(req, changes_spares, change_spare);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int disks_clear(tag_diskinfo_list* req) try {
  if (req == nullptr) return orv::log_missing_argument();
  const auto always = [](const tag_disk_info&) { return true; };
  return change_disks(req, always, clear_requested);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
