#ifndef ORV_FS_H
#define ORV_FS_H

/// The appliance's mount table "/etc/mdfstab" and its file systems.

#include <orv/errors.h>
#include <orv/export.h>
#include <orv/list.h>

#include <cstddef>
#include <cstdint>

/// One file system.
struct tag_fs_info {
  char devname[128];     ///< device path of the pool, "/dev/VG/POOL"
  char mountpoint[128];  ///< absolute path
  char fstype[16];       ///< "xfs" or "reiserfs"
  char state[32];        ///< "available", "not available" or "umount"
  uint64_t size;         ///< MiB
  uint64_t used;         ///< MiB
  char vgname[33];       ///< volume group of the pool
  char enclosure[8];     ///< enclosure of the volume group
  list_node list;        ///< link of its list
};

/// List of file systems.
struct tag_fsinfo_list : tag_fs_info {};

static_assert(sizeof(tag_fs_info) == 384 && offsetof(tag_fs_info, mountpoint) == 128 &&
              offsetof(tag_fs_info, fstype) == 256 && offsetof(tag_fs_info, state) == 272 &&
              offsetof(tag_fs_info, size) == 304 && offsetof(tag_fs_info, used) == 312 &&
              offsetof(tag_fs_info, vgname) == 320 && offsetof(tag_fs_info, enclosure) == 353 &&
              offsetof(tag_fs_info, list) == 368);
static_assert(sizeof(tag_fsinfo_list) == sizeof(tag_fs_info));

// --- Record and list operations ------------------------------------------------------------------

/// Zeroes every field but the link.
ORV_API void fs_conf_init(tag_fs_info* fs);
/// Zeroes every field but the link.
ORV_API void fs_conf_fini(tag_fs_info* fs);
/// Prints the record as one line. An empty `mountpoint`, `state`, `vgname` or `enclosure` becomes
/// "N.A." in the record itself.
/// @return the result of the last `printf`
ORV_API int fs_conf_show(tag_fs_info* fs);
/// Clears the anchor's fields and makes the list empty.
ORV_API void fs_list_init(tag_fsinfo_list* list);
/// Releases every record. @return 0; -1 for a NULL list, after printing "Can't destory NULL list"
ORV_API int fs_list_fini(tag_fsinfo_list* list);
/// Prints every record; for a NULL list "Can't show NULL list".
ORV_API void fs_list_show(tag_fsinfo_list* list);

// --- File systems --------------------------------------------------------------------------------

/// Appends every entry of the mount table, completed with its pool, mount state, size and use. A
/// line that begins with "#" gives no record. An entry whose pool is gone keeps the volume group of
/// its device path and gets size and use of the file system that holds its mount point. Its state
/// is "umount" where nothing is mounted there; "not available" where something is, or where the
/// directory is missing or cannot be written.
/// @return ORV_OK; ORV_E_FAILED when the mount table cannot be read or the list is NULL;
///         ORV_E_LVDISPLAY when the pools cannot be listed
ORV_API int fs_get(tag_fsinfo_list* list);
/// Fills state, group, enclosure, size and use of the listed file systems from the pools and
/// "/proc/mounts".
/// @return ORV_OK; ORV_E_LVDISPLAY when the pools cannot be listed (where that shows only in the
///         middle of them, some file systems are filled); ORV_E_FAILED for a NULL list
ORV_API int mountfs_get(tag_fsinfo_list* list);
/// Replaces size and use by the mounted file system's figures, and marks file systems that cannot
/// be written as "not available". A full file system is not probed. The probe writes and removes a
/// file of its own in the mount point and never touches one that is there.
/// @return ORV_OK; ORV_E_FAILED for a NULL list
ORV_API int get_usedsize_from_df(tag_fsinfo_list* list);
/// @return 1 when the mount table lists a device path that ends in "/" and `poolname`, in a line
///         that does not begin with "#"; 0 when not; ORV_E_FAILED when it cannot be read
ORV_API int fs_check(const char* poolname);
/// @return 0 when exactly `path` is mounted; ORV_E_FAILED when not, or "/proc/mounts" cannot be
///         read
ORV_API int mount_check(const char* path);

// --- Mount table ---------------------------------------------------------------------------------

// A change takes the lock "/var/lib/orv/lock/mdfstab", for which it waits up to ten seconds, so
// that two of them never lose each other's entry. Where the lock file cannot be made, a change goes
// on without it; programs that do not know this lock are not kept from the table. Readers take
// none. A change keeps lines of any length.

/// Appends an entry to the mount table, which is created when missing, and commits it. It begins on
/// a line of its own, also when the last line has no end. Blanks, control characters and
/// backslashes are written as fstab writes them ("\040") and read back as themselves. A line longer
/// than 255 characters is cut there; what is left of an entry whose mount point was cut is not
/// listed.
/// @param mountpoint  absolute path
/// @return ORV_OK; ORV_E_FAILED when the mount point is listed already, which is not logged, or an
///         argument is missing or relative; ORV_E_MOUNT_TABLE when the file cannot be opened or
///         written, or another change keeps the lock. The file is unchanged on failure.
ORV_API int add_mdfstab(const char* mountpoint, const char* vgname, const char* poolname);
/// Removes every entry of the mount point; comment lines and empty lines go too. The new file keeps
/// owner and mode. When the mount point is not listed, a temporary file stays in /tmp.
/// @return ORV_OK whether or not it was there; ORV_E_MOUNT_TABLE when a file cannot be opened or
///         written, or another change keeps the lock; ORV_E_COMMAND when the new file cannot be
///         moved into place. The file is unchanged on failure, and when the mount point is not
///         listed. Where the tool that moves the new file has removed or cut the old one and then
///         failed, the new one stays in /tmp.
ORV_API int del_mdfstab(const char* mountpoint);
/// Appends one record per entry: device path, mount point, type and volume group. A line that
/// begins with "#" gives no record.
/// @return ORV_OK; ORV_E_FAILED when the file cannot be opened or the list is NULL
ORV_API int mdfstab_get(tag_fsinfo_list* list);

#endif
