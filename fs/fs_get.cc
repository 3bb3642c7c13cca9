#include <orv/fs.h>

#include <cstdio>

#include "common/log.h"

namespace {

int print_failure(int code) {
  std::printf("for errno '%d'\n", code);
  return code;
}

}  // namespace

/// An entry whose pool is gone stays in the list: with the group of its device path, since
/// `mountfs_get` clears no field, and with size and state of what is at its mount point.
int fs_get(tag_fsinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  int result = mdfstab_get(list);
  if (result == ORV_OK) result = mountfs_get(list);
  if (result != ORV_OK) return print_failure(result);
  return get_usedsize_from_df(list);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
