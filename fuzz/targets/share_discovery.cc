/// The shares as `share_get` finds them, in the files of the services and in the kernel's.

#include <orv/share.h>
#include <orv/support.h>

#include <optional>
#include <string>

#include "fuzz.h"
#include "share/ini_lines.h"
#include "share/share_paths.h"

namespace {

constexpr std::string_view keys[] = {"sharename", "writable", "valid users", "k"};

constexpr char path[] = "/etc/ini";

/// The first value of a key in the first section of a name.
std::optional<std::string> first_value(std::string_view section, std::string_view key) {
  orv::ini_lines lines(path);
  bool is_in_section = false;
  while (lines.next()) {
    if (lines.is_head()) {
      if (is_in_section) break;
      is_in_section = lines.section() == section;
    } else if (is_in_section) {
      if (const auto value = lines.value_of(key)) return std::string(*value);
    }
  }
  return std::nullopt;
}

/// The lines are those that the readers of the support library find, one by one.
void compare_lines(std::string_view text) {
  the_machine.put(path, text);
  constexpr int size = 512;
  if (text.size() >= size) return;
  int n = 0;
  char found[size] = "";
  for (orv::ini_lines lines(path); lines.next();) {
    if (!lines.is_head()) continue;
    if (lines.is_sought()) {
      EXPECT(txt_line_seek(path, "[", ++n, found, size) == 0);
      EXPECT(!lines.sought_name() || *lines.sought_name() == found);
    }
    const std::string name(lines.section());
    if (name.find('\0') != name.npos) continue;
    for (const std::string_view key : keys) {
      const auto value = first_value(name, key);
      const int result = ini_value_get(found, path, name.c_str(), std::string(key).c_str(), size);
      EXPECT((result == 0) == value.has_value());
      EXPECT(!value || *value == found);
    }
  }
  EXPECT(txt_line_seek(path, "[", ++n, found, size) == -1);
}

void discover(fuzz::input& in) {
  const std::string_view listed = in.part();
  the_machine.put(orv::sharefolder_path, listed);
  the_machine.put(orv::smb_path, in.part());
  the_machine.put(orv::exports_path, in.part());
  the_machine.put("/proc/mounts", in.part());
  const std::string_view volumes = in.part();
  the_machine.put("/proc/net/iet/volume", volumes);
  the_machine.put(orv::ietd_path, in.part());
  the_machine.put(orv::smb_recy_path, in.part());
  the_machine.put(orv::exports_recy_path, in.part());
  the_machine.put("/mnt/data/file", "");
  fuzz::list<tag_shareconf_list> shares;
  EXPECT(share_get(shares.get()) == ORV_OK);
  const std::size_t limit = fuzz::lines_in(listed) + fuzz::lines_in(volumes);
  shares.check(limit);
  const int result = get_shareinfo_from_recy(shares.get());
  EXPECT(result == ORV_OK || result == ORV_E_SHARES_READ);
  shares.check(limit);
  for (const tag_share_config& share : shares) EXPECT(share.writable == 0 || share.writable == 1);
}

}  // namespace

FUZZ_TARGET(share_discovery, in) {
  if (in.below(2) == 0) return discover(in);
  compare_lines(in.rest());
}
