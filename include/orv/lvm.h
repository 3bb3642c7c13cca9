#ifndef ORV_LVM_H
#define ORV_LVM_H

/// Volume groups with their physical volumes, and pools: LVM logical volumes with a file system.
///
/// A physical volume is named by a channel number (a whole disk) or by an array name such as md1.
/// Sizes are whole GiB. Changes never act on a question that was not answered: when a list that a
/// check needs cannot be read, the change returns that list's code and runs nothing. Nothing is
/// rolled back after a failure.

#include <orv/errors.h>
#include <orv/export.h>
#include <orv/list.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>

struct tag_diskinfo_list;

// --- Records -------------------------------------------------------------------------------------

/// One physical volume.
struct tag_pv_info {
  char pvname[32];    ///< array name such as md1, or the disk's channel number
  char attr[32];      ///< "Allocatable:yes ", "Allocatable:yes (but full)" or "Allocatable:NO"
  char enclosure[8];  ///< enclosure of the array or disk
  uint64_t size;      ///< GiB, rounded to nearest
  uint64_t used;      ///< allocated GiB, rounded to nearest
  char vgname[32];    ///< group that the volume belongs to
  list_node list;     ///< link of its list
};

/// List of physical volumes.
struct tag_pvinfo_list : tag_pv_info {};

/// One volume group; also the request that `vg_create` takes.
struct tag_vg_info {
  char vgname[33];      ///< name of the group
  char attr[32];        ///< such as "resizable", "not resizable", "exported/resizable"
  char enclosure[8];    ///< enclosure of the last physical volume listed
  uint64_t size;        ///< GiB, truncated
  uint64_t used;        ///< allocated GiB, truncated; not 0 while the group holds pools
  tag_pvinfo_list pvs;  ///< owned by the record
  list_node list;       ///< link of its list
};

/// List of volume groups.
struct tag_vginfo_list : tag_vg_info {};

/// One pool.
struct tag_pool_info {
  char poolname[128];  ///< device path, "/dev/VG/POOL"
  char state[32];      ///< "available" or "not available"
  uint64_t size;       ///< GiB, rounded to nearest
  uint64_t used;       ///< never filled; see the file system records
  char vgname[33];     ///< volume group of the pool
  char enclosure[8];   ///< enclosure of the volume group
  list_node list;      ///< link of its list
};

/// List of pools.
struct tag_poolinfo_list : tag_pool_info {};

static_assert(sizeof(tag_pv_info) == 136 && offsetof(tag_pv_info, attr) == 32 &&
              offsetof(tag_pv_info, enclosure) == 64 && offsetof(tag_pv_info, size) == 72 &&
              offsetof(tag_pv_info, used) == 80 && offsetof(tag_pv_info, vgname) == 88 &&
              offsetof(tag_pv_info, list) == 120);
static_assert(sizeof(tag_vg_info) == 248 && offsetof(tag_vg_info, attr) == 33 &&
              offsetof(tag_vg_info, enclosure) == 65 && offsetof(tag_vg_info, size) == 80 &&
              offsetof(tag_vg_info, used) == 88 && offsetof(tag_vg_info, pvs) == 96 &&
              offsetof(tag_vg_info, list) == 232);
static_assert(sizeof(tag_pool_info) == 240 && offsetof(tag_pool_info, state) == 128 &&
              offsetof(tag_pool_info, size) == 160 && offsetof(tag_pool_info, used) == 168 &&
              offsetof(tag_pool_info, vgname) == 176 && offsetof(tag_pool_info, enclosure) == 209 &&
              offsetof(tag_pool_info, list) == 224);
static_assert(sizeof(tag_pvinfo_list) == sizeof(tag_pv_info) &&
              sizeof(tag_vginfo_list) == sizeof(tag_vg_info) &&
              sizeof(tag_poolinfo_list) == sizeof(tag_pool_info));

// --- Record and list operations ------------------------------------------------------------------

/// Zeroes every field but the link.
ORV_API void pv_conf_init(tag_pv_info* pv);
/// Zeroes every field but the link.
ORV_API void pv_conf_fini(tag_pv_info* pv);
/// Prints the record as one line. @return the result of the last `printf`
ORV_API int pv_conf_show(const tag_pv_info* pv);
/// Clears the anchor's fields and makes the list empty.
ORV_API void pv_list_init(tag_pvinfo_list* list);
/// Releases every record. @return 0; -1 for a NULL list, after printing "Can't destory NULL list"
ORV_API int pv_list_fini(tag_pvinfo_list* list);
/// Prints every record; for a NULL list "Can't show NULL list".
ORV_API void pv_list_show(const tag_pvinfo_list* list);

/// Zeroes every field but the link and makes the list of physical volumes empty.
ORV_API void vg_conf_init(tag_vg_info* vg);
/// Releases the physical volumes and zeroes every field but the link.
ORV_API void vg_conf_fini(tag_vg_info* vg);
/// Prints the group as one line, then each physical volume. @return the result of the last `printf`
ORV_API int vg_conf_show(const tag_vg_info* vg);
/// Clears the anchor's fields and makes the list empty.
ORV_API void vg_list_init(tag_vginfo_list* list);
/// Releases every group with its physical volumes.
/// @return 0; -1 for a NULL list, after printing "Can't destory NULL list"
ORV_API int vg_list_fini(tag_vginfo_list* list);
/// Prints every group; for a NULL list "Can't show NULL list".
ORV_API void vg_list_show(const tag_vginfo_list* list);

/// Zeroes every field but the link.
ORV_API void pool_conf_init(tag_pool_info* pool);
/// Zeroes every field but the link.
ORV_API void pool_conf_fini(tag_pool_info* pool);
/// Prints the record as one line. @return the result of the last `printf`
ORV_API int pool_conf_show(const tag_pool_info* pool);
/// Clears the anchor's fields and makes the list empty.
ORV_API void pool_list_init(tag_poolinfo_list* list);
/// Releases every record. @return 0; -1 for a NULL list, after printing "Can't destory NULL list"
ORV_API int pool_list_fini(tag_poolinfo_list* list);
/// Prints every record; for a NULL list "Can't show NULL list".
ORV_API void pool_list_show(const tag_poolinfo_list* list);

// --- Volume groups -------------------------------------------------------------------------------

/// Appends the machine's volume groups with their physical volumes to an initialised list.
/// @return ORV_OK; ORV_E_COMMAND when an LVM tool failed; ORV_E_VGDISPLAY or ORV_E_PVDISPLAY when
///         its output cannot be opened (it stays in /tmp then); ORV_E_MODEL_QUERY; ORV_E_FAILED for
///         a NULL list. Groups found before a failure stay in the list.
ORV_API int vg_get(tag_vginfo_list* list);

/// Appends one group per line of `vgdisplay -c`.
/// @return ORV_OK, ORV_E_COMMAND, ORV_E_VGDISPLAY, or ORV_E_FAILED
ORV_API int get_vginfo_from_vgdisplay(tag_vginfo_list* list);
/// Attaches the physical volumes of `pvdisplay -c` to the listed groups.
/// @return ORV_OK, ORV_E_COMMAND, ORV_E_PVDISPLAY, or ORV_E_FAILED
ORV_API int get_vginfo_from_pvdisplay(tag_vginfo_list* list);
/// The same on model KTA7120U, where arrays appear as "sd" devices.
/// @return ORV_OK, ORV_E_COMMAND, ORV_E_PVDISPLAY, or ORV_E_FAILED
ORV_API int get_vginfo_from_arcadm(tag_vginfo_list* list);

/// @return 1 when a physical volume of the list has this name, else 0
ORV_API int found_vg(tag_pvinfo_list* list, const char* name);
/// @return 1 when a physical volume of the list has this name, else 0
ORV_API int found_raid(tag_pvinfo_list* list, const char* name);
/// @return 1 when `name` is an item of the name of a physical volume of the list, else 0
ORV_API int found_pv_vg(tag_pvinfo_list* list, const char* name);
/// Runs `check_pvname` on each physical volume of the list, in order, against a fresh disk list.
/// @return the first result that is not ORV_OK; the code of the disk list when it cannot be read
ORV_API int check_pv(tag_pvinfo_list* list);

/// Creates a volume group from a request: `vgname` and `pvs`, each with `pvname` and `enclosure`.
/// Whole disks are wiped; their names in the request become device names.
/// @return ORV_OK; a code of `check_vg` or `check_pvname`; the code of a list that could not be
///         read; ORV_E_COMMAND when an LVM tool failed (physical volumes already made stay);
///         ORV_E_FAILED for NULL
ORV_API int vg_create(tag_vg_info* vg);
/// Makes the physical volumes (device names) and the group, without a check.
/// @return ORV_OK, ORV_E_COMMAND, or ORV_E_FAILED for NULL
ORV_API int create_vg(tag_vg_info* vg);
/// Checks the name of a new group.
/// @return ORV_OK; ORV_E_NO_VG for an empty name; ORV_E_VG_NAME_USED; the code of `vg_get`
ORV_API int check_vg(tag_vg_info* vg);
/// Checks that a channel or an array may become a physical volume; a channel is replaced by its
/// device name in place.
/// @param pvname  channel or array name, in a buffer of 32 bytes
/// @return ORV_OK; ORV_E_PV_NO_RAID; ORV_E_PV_CHANNEL; ORV_E_PV_DISK_USED, also for a member with a
///         mark such as "(F)", and ORV_E_PV_USED, both also when the kernel itself uses the disk or
///         array; the code of a list that could not be read
ORV_API int check_pvname(tag_diskinfo_list* disks, char* pvname, const char* enclosure);

/// Adds a channel or an array to a volume group of the same enclosure.
/// @return ORV_OK; a code of `check_pvname`; ORV_E_NO_VG when no group has this name and enclosure;
///         the code of a list that could not be read; ORV_E_COMMAND
ORV_API int vg_extend(const char* vgname, const char* pvname, const char* enclosure);
/// Makes the physical volume (a device name) and adds it to the group. @return ORV_OK or
/// ORV_E_COMMAND
ORV_API int extend_vg(const char* vgname, char* pvname);

/// Removes a volume group of which no extent is allocated, and its physical volumes.
/// @return ORV_OK; ORV_E_VG_NOT_FOUND; ORV_E_VG_IN_USE; the code of a list that could not be read;
///         ORV_E_COMMAND
ORV_API int vg_destroy(const char* vgname);
/// Removes the group and then its physical volumes, up to the first that fails.
/// @return the result of the last tool run: a failure to remove the group shows only when it has no
///         physical volumes or one of them fails too; the code of the disk list when it could not
///         be read, and then nothing is run
ORV_API int del_vg(tag_vg_info* vg);
/// Makes a physical volume of a device. @return ORV_OK or ORV_E_COMMAND
ORV_API int create_pv(const char* dev);
/// Removes a physical volume from a device. @return ORV_OK or ORV_E_COMMAND
ORV_API int del_pv(const char* dev);

/// @return 1 when `name` is a physical volume of some group, else 0
ORV_API int check_pv_used(const char* name);
/// @return 1 when the disk of this device name is a hot spare, else 0
ORV_API int check_spare_disk(const char* dev);
/// @return 1 when an array of this name exists, else 0
ORV_API int check_md_exist(const char* name);
/// @return 1 when an item of the list is a member, also one with a mark such as "(F)", or a spare
///         of some array, else 0
ORV_API int check_ch_in_raid(const char* chlist);

/// First "sd" or "md" device of a group, from LVM's backup of its metadata.
/// @param dev  receives the device name; 256 bytes hold any
/// @return ORV_OK; ORV_E_NO_VG when there is no backup or no such device, or the backup cannot be
///         read, which is logged; then `dev` is unchanged
ORV_API int vg_get_pv(const char* vgname, char* dev);
/// Repairs a group one of whose arrays is inactive: fails the array's members, gives its identifier
/// to "/dev/ram1" and restores the group's metadata. One array per call. A running array whose
/// level counts as lost (raid1, raid5, raid6 with more members lost than they bear; any other with
/// one that is lost or spare) is failed as any other. An array is passed over when mdadm described
/// it not, or not whole, while the kernel says that it runs, or the states of its members cannot be
/// read, or the kernel cannot be asked or says nothing of one that mdadm could not describe.
/// @return ORV_OK when no array is inactive; ORV_E_FAILED (-1) when one was handled; ORV_E_NO_VG
///         when there is no backup; ORV_E_COMMAND, logged, when none was handled and one was passed
///         over, or the backup cannot be read, and then nothing is run; the code of `raid_get`
ORV_API int vg_check_rm(const char* vgname);
/// Repairs a group for one lost physical volume.
/// @return the result of `pv_check_rm`; ORV_E_NO_VG when there is no backup
ORV_API int md_vg_resume(const char* vgname, const char* pvname);
/// Gives the identifier of a lost physical volume, found in an open metadata backup, to
/// "/dev/ram1".
/// @return -1 when the volume was found, whether or not its identifier could be used and the tool
///         succeeded; 0 when it was not, also for a NULL file; ORV_E_COMMAND, logged, when the file
///         cannot be read, or without memory
ORV_API int pv_check_rm(FILE* backup, const char* pvname);
/// Restores a group's metadata from its backup.
/// @return ORV_OK; on failure the result of the log call
ORV_API int vgcfgrestore(const char* vgname);

// --- Pools ---------------------------------------------------------------------------------------

/// Appends the machine's pools to an initialised list.
/// @return the result of `get_poolinfo_from_lvdisplay`
ORV_API int pool_get(tag_poolinfo_list* list);
/// Appends one pool per logical volume of `lvdisplay -c`.
/// @return ORV_OK; ORV_E_LVDISPLAY_TOOL when the tool failed (what it printed is listed all the
///         same); ORV_E_LVDISPLAY when its output cannot be opened, or not be read to its end
///         (pools that were read stay in the list); ORV_E_FAILED for a NULL list
ORV_API int get_poolinfo_from_lvdisplay(tag_poolinfo_list* list);
/// @return 1 when every character of `s` is "-" (the empty text included), else 0
ORV_API int isdashed(const char* s);

/// Creates a pool.
/// @param size  GiB
/// @return ORV_OK; ORV_E_POOL_VG; ORV_E_POOL_SIZE (0, or more than the group has free);
///         ORV_E_POOL_NAME; ORV_E_POOL_NAME_USED; the code of a list that could not be read;
///         ORV_E_COMMAND
ORV_API int pool_create(const char* poolname, const char* vgname, uint64_t size);
/// Runs lvcreate without a check. @return ORV_OK or ORV_E_COMMAND
ORV_API int create_pool(const char* poolname, const char* vgname, uint64_t size);
/// Extends a pool to a new total size, which must also fit the group's free space. One beyond
/// INT_MAX is compared with the pool's present size as INT_MAX.
/// @param size  GiB
/// @return ORV_OK; a code of `check_pool_vg` or `check_vg`; ORV_E_COMMAND
ORV_API int pool_extend(const char* poolname, const char* vgname, uint64_t size);
/// Runs lvextend without a check. @return ORV_OK or ORV_E_COMMAND
ORV_API int extend_pool(const char* poolname, const char* vgname, uint64_t size);
/// Removes a pool and the data on it.
/// @return ORV_OK; a code of `check_pool_vg`; ORV_E_COMMAND
ORV_API int pool_destroy(const char* poolname, const char* vgname);
/// Runs lvremove without a check. @return ORV_OK or ORV_E_COMMAND
ORV_API int destroy_pool(const char* poolname, const char* vgname);
/// Checks the name of a new pool.
/// @return ORV_OK; ORV_E_POOL_NAME; ORV_E_POOL_NAME_USED; the code of `pool_get`
ORV_API int check_pool(const char* poolname, const char* vgname);
/// Checks that a pool exists in a group and, when `size` (GiB) is above 0, is smaller than that.
/// @return ORV_OK; ORV_E_POOL_NAME; ORV_E_NO_POOL; ORV_E_POOL_VG when only other groups have such a
///         pool; ORV_E_POOL_SIZE; the code of `pool_get`
ORV_API int check_pool_vg(const char* poolname, const char* vgname, int size);
/// Checks that a group has `size` GiB free.
/// @return ORV_OK; ORV_E_POOL_VG; ORV_E_POOL_SIZE; the code of `vg_get`
ORV_API int check_vg(const char* vgname, uint64_t size);

/// Makes the pool's file system: reiserfs on models KTA7120E and KTA7120P, else xfs. Data on the
/// pool is lost. @return ORV_OK or ORV_E_COMMAND
ORV_API int mkfs_pool(const char* poolname, const char* vgname);
/// Mounts the pool and opens the mounted directory with mode 0777. @return ORV_OK or ORV_E_COMMAND
ORV_API int mount_fs(const char* mountpoint, const char* vgname, const char* poolname);
/// Unmounts. @return ORV_OK or ORV_E_COMMAND
ORV_API int umount_fs(const char* mountpoint);
/// Creates a directory with mode 0444, its parents too, and makes it immutable: the resting state
/// of a mount point. @return ORV_OK or ORV_E_COMMAND
ORV_API int mkdir_path(const char* path);
/// Makes a directory mutable and removes its tree. Refused, logged, for an empty or relative path,
/// for "/", for a path with a ".." component or one that is there and cannot be resolved, while
/// anything is mounted at or below the path, and when the mount table cannot be read.
/// @return ORV_OK or ORV_E_COMMAND
ORV_API int rmdir_path(const char* path);

#endif
