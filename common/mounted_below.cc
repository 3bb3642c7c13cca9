#include "common/mounted_below.h"

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "common/mount_table.h"
#include "common/text.h"

namespace orv {
namespace {

bool is_inside(std::string_view path, std::string_view directory) {
  return path.starts_with(directory) &&
         (path.size() == directory.size() || path[directory.size()] == '/');
}

/// Looks for a mount in the kernel's table. @return 0 when there is none; EBUSY; the errno of a
/// table that cannot be read
template <class Condition>
int find_mount(Condition is_it) {
  mount_table mounts;
  if (!mounts) return errno;
  while (mounts.next()) {
    if (is_it(without_empty_components(mounts.directory()))) return EBUSY;
  }
  return mounts.failed() ? EIO : 0;
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

int resolve(const std::string& path, std::string& resolved) {
  struct release {
    void operator()(char* text) const { std::free(text); }
  };
  const std::unique_ptr<char, release> real(realpath(path.c_str(), nullptr));
  if (!real && errno != ENOENT) return errno;
  resolved = without_empty_components(real ? real.get() : path);
  return 0;
}

int mounted_below(std::string_view named, std::string_view resolved) {
  return find_mount([&](const std::string& mounted) {
    return is_inside(mounted, named) || is_inside(mounted, resolved);
  });
}

int mounted_at(const std::string& path) {
  const std::string named = without_empty_components(path);
  std::string resolved;
  const int error = resolve(path, resolved);
  if (error != 0) return error;
  return find_mount(
      [&](const std::string& mounted) { return mounted == named || mounted == resolved; });
}

}  // namespace orv
