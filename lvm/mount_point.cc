#include <orv/lvm.h>

#include <cerrno>
#include <string>

#include "common/command.h"
#include "common/log.h"
#include "common/mounted_below.h"
#include "common/text.h"

namespace {

bool has_parent_component(std::string_view path) {
  for (const std::string_view component : orv::split(path, "/")) {
    if (component == "..") return true;
  }
  return false;
}

/// 0, or the errno that says why the tree at the path must not be removed: it would take more with
/// it than a mount point, or somebody's data.
int removal_error(std::string_view path) {
  const std::string named = orv::without_empty_components(path);
  if (!path.starts_with('/') || named.empty() || has_parent_component(path)) return EINVAL;
  std::string resolved;
  const int error = orv::resolve(std::string(path), resolved);
  if (error != 0) return error;
  return resolved.empty() ? EINVAL : orv::mounted_below(named, resolved);
}

}  // namespace

int mkdir_path(const char* path) try {
  const int result = orv::run(orv::command("mkdir -m 0444 -p %s > /dev/null", path));
  if (result != ORV_OK) return result;
  return orv::run(orv::command("chattr  +i %s > /dev/null", path),
                  orv::command_failed_tight_return);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int rmdir_path(const char* path) try {
  const orv::command remove("rm -rf %s > /dev/null", path);
  const int error = removal_error(orv::text_or_empty(path));
  if (error != 0) {
    errno = error;
    orv::log_not_run(remove, orv::command_failed_tight_return);
    return ORV_E_COMMAND;
  }
  // A directory that is not immutable is removed all the same.
  orv::execute(orv::command("chattr  -i %s > /dev/null", path), orv::command_failed_tight_return);
  return orv::run(remove, orv::command_failed_tight_return);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
