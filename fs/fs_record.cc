#include <orv/fs.h>

#include <cstdio>

#include "common/families.h"
#include "common/log.h"
#include "common/text.h"

namespace {

constexpr std::string_view not_known = "N.A.";

template <std::size_t Size>
void fill_in(char (&field)[Size]) {
  if (orv::text_of(field).empty()) orv::set_text(field, not_known);
}

}  // namespace

void fs_conf_init(tag_fs_info* fs) {
  if (fs != nullptr) orv::clear_fields<tag_fsinfo_list>(fs);
}

void fs_conf_fini(tag_fs_info* fs) { fs_conf_init(fs); }

int fs_conf_show(tag_fs_info* fs) {
  if (fs == nullptr) return orv::log_missing_argument();
  fill_in(fs->mountpoint);
  fill_in(fs->state);
  fill_in(fs->vgname);
  fill_in(fs->enclosure);
  const uint64_t used = fs->size == 0 ? 0 : fs->used;
  return std::printf("%s\t%s\t%s\t%lldM\t%lldM\t%s\t%s\n", fs->devname, fs->mountpoint, fs->state,
                     static_cast<long long>(fs->size), static_cast<long long>(used), fs->vgname,
                     fs->enclosure);
}

void fs_list_init(tag_fsinfo_list* list) { orv::list_init(list); }

int fs_list_fini(tag_fsinfo_list* list) { return orv::list_fini(list); }

void fs_list_show(tag_fsinfo_list* list) { orv::list_show(list, fs_conf_show); }
