#include "lvm/mounted_below.h"

#include <mntent.h>

#include <cerrno>
#include <memory>

#include "common/handles.h"
#include "common/text.h"

namespace orv {
namespace {

/// Holds the longest line there is: device and directory with every byte written as "\ooo".
constexpr int line_capacity = 65536;

bool is_inside(std::string_view path, std::string_view directory) {
  return path.starts_with(directory) &&
         (path.size() == directory.size() || path[directory.size()] == '/');
}

}  // namespace

std::string without_empty_components(std::string_view path) {
  std::string result;
  for (const std::string_view component : split(path, "/")) {
    if (component == ".") continue;
    result += '/';
    result += component;
  }
  return result;
}

int mounted_below(std::string_view named, std::string_view resolved) {
  const unique_mount_table table(setmntent("/proc/mounts", "re"));
  if (!table) return errno;
  const auto line = std::make_unique_for_overwrite<char[]>(line_capacity);
  mntent entry{};
  while (getmntent_r(table.get(), &entry, line.get(), line_capacity) != nullptr) {
    const std::string mounted = without_empty_components(entry.mnt_dir);
    if (is_inside(mounted, named) || is_inside(mounted, resolved)) return EBUSY;
  }
  return std::ferror(table.get()) != 0 ? EIO : 0;
}

}  // namespace orv
