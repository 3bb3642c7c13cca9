#include <orv/share.h>
#include <sys/statfs.h>

#include <algorithm>
#include <cstdio>

#include "common/families.h"
#include "common/log.h"
#include "common/text.h"
#include "share/share_list.h"

/// Size and use of shares.

namespace {

/// Rounds to the nearest GB and to the nearest 10 MiB. Blocks reserved for the superuser count as
/// used. Blocks of less than 1 KiB count as nothing.
void set_space(tag_share_config& share, const struct statfs64& figures) {
  constexpr uint64_t half_gib = 512UL * 1024;
  constexpr uint64_t unit_of_use = 10UL * 1024;
  const uint64_t kib_per_block = static_cast<uint64_t>(figures.f_bsize) / 1024;
  const uint64_t total = figures.f_blocks;
  const uint64_t available = std::min<uint64_t>(total, figures.f_bavail);
  share.size = (total * kib_per_block + half_gib) >> 20;
  share.used = ((total - available) * kib_per_block + unit_of_use / 2) / unit_of_use;
}

void measure(tag_share_config& share) {
  char path[sizeof share.path + 1];
  orv::set_text(path, orv::text_of(share.path));
  struct statfs64 figures {};
  if (!orv::is_iscsi(share) && path[0] != '\0' && statfs64(path, &figures) == 0) {
    set_space(share, figures);
  } else {
    std::printf("filesystem %s cannot statfs\n", path);
  }
}

}  // namespace

int get_shareinfo_from_df(tag_shareconf_list* list) {
  if (list == nullptr) return orv::log_missing_argument();
  for (tag_share_config& share : orv::records(list)) measure(share);
  return ORV_OK;
}
