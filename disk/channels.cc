#include <orv/disk.h>

#include <algorithm>
#include <string>

#include "common/families.h"
#include "common/log.h"
#include "common/text.h"

namespace {

/// Size of the text buffer that callers bring, terminator included.
constexpr std::size_t capacity = 256;

}  // namespace

int disk_ch_cmp(int ch, const char* chlist) try {
  const std::string wanted = std::to_string(ch);
  const auto channels = orv::items(orv::text_or_empty(chlist));
  return std::ranges::find(channels, wanted) != channels.end() ? 1 : 0;
} catch (const std::bad_alloc&) {
  orv::without_memory();
  return 0;
}

int trans_ch_disk(tag_diskinfo_list* list, char* chlist, const char* enclosure, int expected) try {
  if (list == nullptr || chlist == nullptr) return orv::log_missing_argument();
  std::string names;
  int found = 0;
  for (const tag_disk_info& disk : orv::records(list)) {
    if (orv::text_of(disk.enclosure) != orv::text_or_empty(enclosure)) continue;
    if (disk_ch_cmp(disk.ch, chlist) == 0) continue;
    const std::string_view name = orv::text_of(disk.name);
    // A name that the buffer cannot hold counts as not found: half a name is another disk's.
    if (names.size() + name.size() + 1 >= capacity) continue;
    names.append(name) += ',';
    ++found;
  }
  if (found != expected) return found;
  if (found > 0) names.pop_back();
  orv::copy_text(chlist, capacity, names);
  return found;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

char* trans_disk_dev(char* names) try {
  if (names == nullptr) return names;
  std::string paths;
  for (const std::string_view name : orv::items(names)) {
    std::string path(paths.empty() ? "/dev/" : " /dev/");
    path += name;
    // Only whole paths: half a path names another disk.
    if (paths.size() + path.size() >= capacity) break;
    paths += path;
  }
  orv::copy_text(names, capacity, paths);
  return names;
} catch (const std::bad_alloc&) {
  orv::without_memory();
  names[0] = '\0';  // no device, rather than what is no device path
  return names;
}

int is_channelID(const char* s) {
  for (const char c : orv::text_or_empty(s)) {
    if (!orv::is_digit(c) && c != ',') return 0;
  }
  return 1;
}
