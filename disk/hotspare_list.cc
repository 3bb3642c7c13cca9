#include <orv/disk.h>
#include <orv/support.h>

#include <algorithm>

#include "common/captured_output.h"
#include "common/families.h"
#include "common/log.h"
#include "common/text.h"

namespace {

constexpr char disks_key[] = "Global hotspare disk";
/// Words of the line before the first name: those of the key, the colon at the last one.
constexpr std::size_t words_of_key = 3;
constexpr std::size_t most_names = 16;
constexpr std::size_t longest_name = 5;

/// The device names of the tool's line, each one cut to its longest form.
std::vector<std::string_view> spare_names(std::string_view line) {
  const auto words = orv::split(line, " ");
  std::vector<std::string_view> names;
  for (std::size_t i = words_of_key; i < words.size() && names.size() < most_names; ++i) {
    names.push_back(words[i].substr(0, longest_name));
  }
  return names;
}

void mark_spares(tag_diskinfo_list* list, const std::vector<std::string_view>& names) {
  for (tag_disk_info& disk : orv::records(list)) {
    if (std::ranges::find(names, orv::text_of(disk.name)) != names.end()) disk.hotspare = 1;
  }
}

}  // namespace

int get_global_hotspare(tag_diskinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const orv::captured_output output("/tmp/hotspare.XXXXXX");
  const orv::command line_up("/usr/local/bin/hotspare --list > %s", output.path());
  if (!output.fill(line_up)) return ORV_E_COMMAND;
  const orv::unique_file file = output.open();
  if (!file) return orv::log_failure(ORV_E_SPARE_LIST);
  char line[81] = "";
  if (get_line_from_file(file.get(), disks_key, 0, ":", line, sizeof line) != 0) {
    return orv::log_failure(ORV_E_SPARE_LINE);
  }
  mark_spares(list, spare_names(orv::trimmed_right(line)));
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
