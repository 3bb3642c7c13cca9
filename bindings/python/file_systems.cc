#include "bindings/python/families.h"
#include "bindings/python/functions.h"

namespace orv_python {
namespace {

const field<tag_fs_info> fields[] = {
    text_field<&tag_fs_info::mountpoint>("mount_point", "absolute path"),
    text_field<&tag_fs_info::devname>("device", "device path of the pool, '/dev/GROUP/POOL'"),
    text_field<&tag_fs_info::fstype>("type", "'xfs' or 'reiserfs'"),
    text_field<&tag_fs_info::state>("state", "'available', 'not available' or 'umount'"),
    size_field<&tag_fs_info::size, mib>("size", "bytes, in whole MiB"),
    size_field<&tag_fs_info::used, mib>("used", "bytes, in whole MiB"),
    text_field<&tag_fs_info::vgname>("volume_group", "group of the pool"),
    text_field<&tag_fs_info::enclosure>("enclosure", "of the group"),
};

using path = text<sizeof(tag_fs_info::mountpoint)>;

bool mounted(const path& where) { return mount_check(where.c()) == ORV_OK; }

bool listed(const text<sizeof(tag_fs_info::devname)>& pool) {
  const int answer = fs_check(pool.c());
  check(answer);
  return answer == 1;
}

using of_path = parameter<"path", path>;
using of_mount_point = parameter<"mount_point", path>;
using of_group = parameter<"group", text<sizeof(tag_fs_info::vgname)>>;
using of_pool = parameter<"pool", text<sizeof(tag_fs_info::devname)>>;

void add_mount_table(py::module_& module) {
  define(module, "fs_table", turn::mount_table,
         "The entries of the mount table; state, sizes and enclosure are not filled.",
         query<orv::file_system_list, mdfstab_get>());
  define<of_pool>(module, "fs_listed", turn::mount_table,
                  "Whether the mount table has an entry of a pool of this name.", listed);
  define<of_mount_point, of_group, of_pool>(module, "fs_table_add", turn::mount_table,
                                            "Adds a pool to the mount table.",
                                            change<add_mdfstab>());
  define<of_mount_point>(module, "fs_table_remove", turn::mount_table,
                         "Removes a mount point from the mount table, if it is there.",
                         change<del_mdfstab>());
}

}  // namespace

void add_file_systems(py::module_& module) {
  declare<tag_fs_info>(module, "FileSystem", "One file system of the mount table.", fields);

  define(module, "fs_list", turn::any,
         "The file systems of the mount table with their pool, state, size and use.",
         query<orv::file_system_list, fs_get>());
  define<of_path>(module, "fs_mounted", turn::any, "Whether something is mounted on a path.",
                  mounted);
  define<of_mount_point, of_group, of_pool>(module, "fs_mount", turn::any,
                                            "Mounts a pool; everybody may write to it.",
                                            change<mount_fs>());
  define<of_mount_point>(module, "fs_umount", turn::any, "Unmounts a pool.", change<umount_fs>());
  define<of_path>(module, "fs_mkdir", turn::any,
                  "Makes an empty, locked directory to mount a pool on, and its parents.",
                  change<mkdir_path>());
  define<of_path>(
      module, "fs_rmdir", turn::any,
      "Removes a directory with everything below it, unless something is mounted there.",
      change<rmdir_path>());
  add_mount_table(module);
}

}  // namespace orv_python
