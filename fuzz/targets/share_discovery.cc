/// The shares as `share_get` finds them, in the files of the services and in the kernel's.

#include <orv/share.h>
#include <orv/support.h>

#include "fuzz.h"
#include "share/ini_index.h"
#include "share/share_paths.h"

namespace {

constexpr std::string_view keys[] = {"sharename", "writable", "valid users", "k"};

/// The index finds what the readers of the support library find, line by line.
void compare_index(std::string_view text) {
  constexpr char path[] = "/etc/ini";
  the_machine.put(path, text);
  const orv::ini_index index(path, keys);
  constexpr int size = 512;
  if (text.size() >= size) return;
  int n = 0;
  for (const orv::ini_head& head : index.heads()) {
    char found[size] = "";
    EXPECT(txt_line_seek(path, "[", ++n, found, size) == 0);
    EXPECT(head.text.substr(0, head.text.find('\0')) == found);
    for (const std::string_view key : keys) {
      const std::string name(head.text);
      if (name.find('\0') != name.npos) continue;
      const auto value = index.section(name).value(key);
      const int result = ini_value_get(found, path, name.c_str(), std::string(key).c_str(), size);
      EXPECT((result == 0) == value.has_value());
      EXPECT(!value || *value == found);
    }
  }
  char found[size] = "";
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
  compare_index(in.rest());
}
