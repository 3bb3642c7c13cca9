#include <orv/raid.h>

#include <string_view>

#include "common/log.h"
#include "common/text.h"

namespace {

bool has_member(std::string_view members, std::string_view name) {
  for (const std::string_view item : orv::items(members)) {
    if (orv::trimmed(orv::without_mark(item)) == name) return true;
  }
  return false;
}

bool is_failed(std::string_view item) {
  const std::string_view mark = item.substr(orv::without_mark(item).size());
  return mark.starts_with("(F");
}

}  // namespace

int found_disk(const char* members, const char* names) try {
  for (const std::string_view item : orv::items(orv::text_or_empty(names))) {
    const std::string_view name = orv::trimmed(item);
    if (!name.empty() && has_member(orv::text_or_empty(members), name)) return 1;
  }
  return 0;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int get_disk_state(const char* dev, const char* members) try {
  const std::string_view name = orv::text_or_empty(dev);
  if (name.empty()) return 0;
  for (const std::string_view item : orv::items(orv::text_or_empty(members))) {
    if (orv::without_mark(item) == name && is_failed(item)) return 1;
  }
  return 0;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int count_disks(const char* list) try {
  return static_cast<int>(orv::items(orv::text_or_empty(list)).size());
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
