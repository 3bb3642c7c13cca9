#include <orv/disk.h>

#include "common/families.h"
#include "common/log.h"
#include "common/partitions.h"
#include "common/text.h"

namespace {

bool is_whole_disk(std::string_view name) {
  return name.starts_with("sd") && !orv::is_digit(name.back());
}

}  // namespace

int get_diskinfo_from_partitions(tag_diskinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const auto names = orv::partition_names();
  if (!names) {
    const int result = orv::log_failure(ORV_E_PARTITIONS);
    std::printf("cannot open /proc/partitions");
    return result;
  }
  for (const std::string& name : *names) {
    if (!is_whole_disk(name)) continue;
    tag_disk_info* const disk = orv::append(list);
    if (disk == nullptr) return orv::log_failure(ORV_E_PARTITIONS);
    orv::set_text(disk->name, name);
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
