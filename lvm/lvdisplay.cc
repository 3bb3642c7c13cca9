#include <orv/lvm.h>
#include <orv/support.h>

#include <cstring>
#include <string_view>

#include "common/gib.h"
#include "common/log.h"
#include "common/text.h"
#include "lvm/display.h"
#include "lvm/pool_reader.h"

namespace orv {

pool_reader::pool_reader() {
  // What a failing tool printed is listed all the same.
  const bool is_complete = output_.fill(command("/sbin/lvdisplay -c > %s ", output_.path()));
  if (!is_complete) result_ = ORV_E_LVDISPLAY_TOOL;
  vg_get(groups_.get());
  known_.emplace(groups_.get(), &tag_vg_info::vgname);
  if (output_.exists()) file_ = output_.stream();
  if (file_) {
    lines_.emplace(file_.get());
  } else {
    fail();
  }
}

void pool_reader::fail() {
  tell_cannot_open(output_, result_, "get_poolinfo_from_lvdisplay");
  result_ = ORV_E_LVDISPLAY;
}

bool pool_reader::next() {
  while (lines_ && lines_->next()) {
    line_ = ltrimstr(lines_->line());
    if (!std::string_view(line_).starts_with("/dev/")) continue;
    std::optional<std::string> path = text_column(line_, 0);
    if (!path) continue;
    path_ = std::move(*path);
    return true;
  }
  if (lines_ && lines_->failed()) fail();
  return false;
}

void pool_reader::fill(tag_pool_info& pool) const {
  set_text(pool.poolname, path_);
  set_text(pool.state, number_column(line_, 3) != 0 ? "available" : "not available");
  get_str_from_display(line_, static_cast<int>(std::strlen(line_)), ":", 1, pool.vgname,
                       sizeof pool.vgname);
  pool.size = nearest_gib_of_sectors(number_column(line_, 6));
  const tag_vg_info* const group = known_->find(text_of(pool.vgname));
  if (group != nullptr) set_text(pool.enclosure, text_of(group->enclosure));
}

}  // namespace orv

int pool_get(tag_poolinfo_list* list) { return get_poolinfo_from_lvdisplay(list); }

int get_poolinfo_from_lvdisplay(tag_poolinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  orv::pool_reader pools;
  while (pools.next()) {
    tag_pool_info* const pool = orv::append(list);
    if (pool == nullptr) return orv::log_failure(ORV_E_LVDISPLAY);
    pools.fill(*pool);
  }
  return pools.result();
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int isdashed(const char* s) {
  return orv::text_or_empty(s).find_first_not_of('-') == std::string_view::npos ? 1 : 0;
}
