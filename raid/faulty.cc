#include <orv/raid.h>

#include <string>
#include <string_view>

#include "common/command.h"
#include "common/log.h"
#include "common/text.h"

int set_disk_faulty(const char* md_name, const char* dev) try {
  return orv::execute(orv::command("/sbin/mdadm /dev/%s -f /dev/%s", md_name, dev));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int set_raid_faulty(tag_md_info* md) try {
  if (md == nullptr) return orv::log_missing_argument();
  int result = ORV_OK;
  for (const std::string_view item : orv::items(orv::text_of(md->disks))) {
    // Missing members, "*(M)", come last: what is no "sd" device ends the walk.
    if (!item.starts_with("sd")) break;
    const std::string name(orv::without_mark(item));
    const int state = get_disk_state(name.c_str(), std::string(item).c_str());
    if (state < 0) return state;
    if (state != 0) continue;
    const int marked = set_disk_faulty(md->name, name.c_str());
    if (marked != ORV_OK) result = marked;
  }
  return result;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
