#include "common/partitions.h"

#include <string_view>

#include "common/handles.h"
#include "common/line_reader.h"
#include "common/text.h"

namespace orv {
namespace {

/// Name of the device of a line "major minor #blocks name"; empty when the line is shorter.
std::string_view device_name(std::string_view line) {
  constexpr std::size_t name_column = 3;
  const auto columns = split(trimmed(line), " ");
  return columns.size() > name_column ? columns[name_column] : std::string_view();
}

}  // namespace

std::optional<std::vector<std::string>> partition_names() {
  const unique_file file(std::fopen("/proc/partitions", "re"));
  if (!file) return std::nullopt;
  std::vector<std::string> names;
  line_reader lines(file.get());
  while (lines.next()) {
    const std::string_view name = device_name(lines.line());
    if (!name.empty()) names.emplace_back(name);
  }
  if (lines.failed()) return std::nullopt;
  return names;
}

}  // namespace orv
