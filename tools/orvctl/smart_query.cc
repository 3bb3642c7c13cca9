#include "tools/orvctl/smart_query.h"

#include <string_view>

namespace orvctl {

int ask_smart(disk_list& disks, smart_part wanted) {
  tag_diskinfo_list* anchor = disks.get();
  liborv_strncpy(anchor->smart.smart_enabled, sizeof anchor->smart.smart_enabled,
                 wanted == smart_part::attributes ? "detail" : "");
  const int result = smart_info_get(anchor);
  // A line that a tool does not print has no code of its own.
  return result == ORV_E_NO_GATEWAY ? static_cast<int>(ORV_E_FAILED) : result;
}

json told(const char* text) { return text == std::string_view("NaN") ? json() : text_value(text); }

// The raw value may hold the least and the greatest temperature above the present one.
json temperature_of(const tag_disk_info& disk) {
  constexpr std::uint32_t present = 0xff;
  for (const tag_disksmart_info& each : orv::records(disk.smart_list)) {
    const std::string_view name = each.attr_name;
    if (name.starts_with("Temperature")) return each.raw & present;
  }
  return {};
}

}  // namespace orvctl
