#include <orv/disk.h>

#include <cerrno>

#include "common/families.h"
#include "common/handles.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/text.h"

namespace {

constexpr std::size_t name_column = 3;

/// The name of the whole disk that a line of the partition list is about; empty for a partition
/// and for any other device.
std::string_view whole_disk_name(std::string_view line) {
  const auto columns = orv::split(orv::trimmed(line), " ");
  if (columns.size() <= name_column) return {};
  const std::string_view name = columns[name_column];
  return name.starts_with("sd") && !orv::is_digit(name.back()) ? name : std::string_view();
}

}  // namespace

int get_diskinfo_from_partitions(tag_diskinfo_list* list) {
  if (list == nullptr) return orv::log_missing_argument();
  const orv::unique_file file(std::fopen("/proc/partitions", "re"));
  if (!file) {
    const int result = orv::log_failure(ORV_E_PARTITIONS);
    std::printf("cannot open /proc/partitions");
    return result;
  }
  orv::line_reader reader(file.get());
  while (reader.next()) {
    const std::string_view name = whole_disk_name(reader.line());
    if (name.empty()) continue;
    tag_disk_info* const disk = orv::append(list);
    if (disk == nullptr) return orv::log_failure(ORV_E_PARTITIONS);
    orv::set_text(disk->name, name);
  }
  return ORV_OK;
}
