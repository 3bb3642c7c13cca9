#include <orv/lvm.h>
#include <orv/support.h>

#include <cstdio>
#include <cstring>
#include <string_view>

#include "common/captured_output.h"
#include "common/families.h"
#include "common/gib.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/record_index.h"
#include "common/text.h"
#include "lvm/display.h"

namespace {

void fill_pool(tag_pool_info& pool, const char* line) {
  std::snprintf(pool.state, sizeof pool.state, "%savailable",
                orv::number_column(line, 3) != 0 ? "" : "not ");
  get_str_from_display(line, static_cast<int>(std::strlen(line)), ":", 1, pool.vgname,
                       sizeof pool.vgname);
  pool.size = orv::nearest_gib_of_sectors(orv::number_column(line, 6));
}

/// Adds the pool of every line of a logical volume; false without memory.
bool add_pools(tag_poolinfo_list* list, FILE* file, tag_vginfo_list* groups) {
  const orv::record_index<tag_vginfo_list> known(groups, &tag_vg_info::vgname);
  orv::line_reader reader(file);
  while (reader.next()) {
    const char* const line = ltrimstr(reader.line());
    if (!std::string_view(line).starts_with("/dev/")) continue;
    const std::optional<std::string> path = orv::text_column(line, 0);
    if (!path) continue;
    tag_pool_info* const pool = orv::append(list);
    if (pool == nullptr) return false;
    orv::set_text(pool->poolname, *path);
    fill_pool(*pool, line);
    const tag_vg_info* const vg = known.find(orv::text_of(pool->vgname));
    if (vg != nullptr) orv::set_text(pool->enclosure, orv::text_of(vg->enclosure));
  }
  return true;
}

}  // namespace

int pool_get(tag_poolinfo_list* list) { return get_poolinfo_from_lvdisplay(list); }

int get_poolinfo_from_lvdisplay(tag_poolinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const orv::captured_output output("/tmp/lvdisplay.XXXXXX");
  // What a failing tool printed is listed all the same.
  const bool complete = output.fill(orv::command("/sbin/lvdisplay -c > %s ", output.path()));
  const int result = complete ? ORV_OK : ORV_E_LVDISPLAY_TOOL;
  orv::scoped_list<tag_vginfo_list> groups;
  vg_get(groups.get());
  const orv::unique_file file = output.open();
  if (!file) {
    orv::tell_cannot_open(output, result);
    return ORV_E_LVDISPLAY;
  }
  if (!add_pools(list, file.get(), groups.get())) return orv::log_failure(ORV_E_LVDISPLAY);
  return result;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int isdashed(const char* s) {
  return orv::text_or_empty(s).find_first_not_of('-') == std::string_view::npos ? 1 : 0;
}
