#include <orv/raid.h>

#include <cstdio>
#include <string_view>
#include <vector>

#include "common/families.h"
#include "common/handles.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/text.h"

namespace {

/// Name of the device of a line "major minor #blocks name"; empty when the line is shorter.
std::string_view device_name(std::string_view line) {
  constexpr std::size_t name_column = 3;
  const std::vector<std::string_view> columns = orv::split(orv::trimmed(line), " ");
  return columns.size() > name_column ? columns[name_column] : std::string_view();
}

}  // namespace

int get_mdinfo_from_partitions(tag_mdinfo_list* list) {
  if (list == nullptr) return orv::log_missing_argument();
  const orv::unique_file partitions(std::fopen("/proc/partitions", "re"));
  if (!partitions) return orv::log_failure(ORV_E_PARTITIONS);
  orv::line_reader lines(partitions.get());
  while (lines.next()) {
    const std::string_view name = device_name(lines.line());
    if (!name.starts_with("md")) continue;
    tag_md_info* const md = orv::append(list);
    if (md == nullptr) return orv::log_failure(ORV_E_PARTITIONS);
    orv::set_text(md->name, name);
  }
  return ORV_OK;
}
