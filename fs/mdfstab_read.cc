#include <orv/fs.h>

#include <algorithm>
#include <cstdio>

#include "common/families.h"
#include "common/handles.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/octal_code.h"
#include "common/text.h"
#include "common/whole_file.h"
#include "fs/mdfstab_file.h"
#include "fs/mdfstab_line.h"

namespace {

/// The first component behind "/dev/"; whatever the first five characters are, they are passed
/// over.
std::string_view volume_group_of(std::string_view device) {
  constexpr std::size_t prefix = 5;
  device.remove_prefix(std::min(prefix, device.size()));
  return orv::next_part(device, "/");
}

bool append_record(tag_fsinfo_list* list, const orv::mdfstab_entry& entry) {
  tag_fs_info* const fs = orv::append(list);
  if (fs == nullptr) return false;
  orv::set_text(fs->devname, orv::unescaped_text(entry.device).text());
  orv::set_text(fs->mountpoint, orv::unescaped_text(entry.mountpoint).text());
  orv::set_text(fs->fstype, orv::unescaped_text(entry.type).text());
  orv::set_text(fs->vgname, volume_group_of(orv::text_of(fs->devname)));
  return true;
}

}  // namespace

int mdfstab_get(tag_fsinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const orv::unique_file file =
      orv::without_buffer(orv::unique_file(std::fopen(orv::mdfstab_path, "re")));
  if (!file) return orv::log_mdfstab_failure(ORV_E_FAILED);
  orv::line_reader reader(file.get());
  while (reader.next()) {
    const auto entry = orv::mdfstab_entry_of(reader.line());
    if (entry && !append_record(list, *entry)) return orv::log_mdfstab_failure(ORV_E_FAILED);
  }
  return std::ferror(file.get()) != 0 ? orv::log_mdfstab_failure(ORV_E_FAILED) : ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int fs_check(const char* poolname) try {
  const std::string_view wanted = orv::text_or_empty(poolname);
  orv::scoped_list<tag_fsinfo_list> listed;
  const int result = mdfstab_get(listed.get());
  if (result != ORV_OK) return result;
  for (const tag_fs_info& fs : listed) {
    const std::string_view device = orv::text_of(fs.devname);
    const std::size_t slash = device.rfind('/');
    if (slash != std::string_view::npos && device.substr(slash + 1) == wanted) return 1;
  }
  return 0;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
