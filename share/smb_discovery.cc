#include <orv/share.h>

#include "common/families.h"
#include "common/log.h"
#include "common/text.h"
#include "share/ini_index.h"
#include "share/share_paths.h"

/// Users and rights of Samba shares.

namespace {

constexpr std::string_view keys[] = {"writable", "writeable", "valid users"};

void fill(tag_share_config& share, const orv::ini_section& section) {
  auto right = section.value("writable");
  if (!right) right = section.value("writeable");
  if (right == "no") share.writable = 0;
  if (const auto users = section.value("valid users")) orv::set_text(share.valid_users, *users);
}

}  // namespace

int get_shareinfo_from_smbconf(tag_shareconf_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const orv::ini_index smb(orv::smb_path, keys);
  for (tag_share_config& share : orv::records(list)) {
    if (orv::text_of(share.service) != "samba") continue;
    fill(share, smb.section(orv::text_of(share.name)));
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
