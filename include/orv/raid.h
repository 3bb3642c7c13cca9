#ifndef ORV_RAID_H
#define ORV_RAID_H

/// Software RAID arrays: discovery, creation, members, destruction, hot spares and disk clearing.
///
/// Changes never act on a question that was not answered: when a list that a check needs cannot be
/// read, the change returns that list's code and runs nothing.

#include <orv/errors.h>
#include <orv/export.h>
#include <orv/list.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>

struct tag_diskinfo_list;
struct tag_vg_info;

// --- Records -------------------------------------------------------------------------------------

/// One array; also the request that `raid_create` takes.
struct tag_md_info {
  char name[32];      ///< device name such as md0; in a request empty for automatic naming
  char level[8];      ///< "raid0", "raid1", "raid5", "raid6" or "linear"
  char state[48];     ///< state text, "inactive" at first; in a request "foreground" (in any case)
                      ///< asks for foreground initialisation
  char progress[32];  ///< rebuild progress such as "12.6%(48.00MB/s)", empty when none
  uint64_t size;      ///< GiB, rounded to nearest
  uint64_t size2;     ///< second figure, shown after `size`; never filled
  char disks[128];    ///< members "sda,sdb(F),*(M)": (F) failed, (S) spare, *(M) missing; channel
                      ///< numbers on model KTA7120U and in a request
  char spares[32];    ///< spares given at creation, comma-separated
  char enclosure[8];  ///< enclosure of the members; on model KTA7120U the controller's device
  list_node list;     ///< link of its list
};

/// List of arrays.
struct tag_mdinfo_list : tag_md_info {};

static_assert(sizeof(tag_md_info) == 320 && offsetof(tag_md_info, level) == 32 &&
              offsetof(tag_md_info, state) == 40 && offsetof(tag_md_info, progress) == 88 &&
              offsetof(tag_md_info, size) == 120 && offsetof(tag_md_info, size2) == 128 &&
              offsetof(tag_md_info, disks) == 136 && offsetof(tag_md_info, spares) == 264 &&
              offsetof(tag_md_info, enclosure) == 296 && offsetof(tag_md_info, list) == 304);
static_assert(sizeof(tag_mdinfo_list) == sizeof(tag_md_info));

// --- Record and list operations ------------------------------------------------------------------

/// Zeroes every field but the link and sets `state` to "inactive".
ORV_API void md_conf_init(tag_md_info* md);
/// Zeroes every field but the link.
ORV_API void md_conf_fini(tag_md_info* md);
/// Prints the record as one line. An empty `progress`, `enclosure` or `spares` becomes "100%",
/// "N.A." or "None" in the record itself.
/// @return the result of the last `printf`
ORV_API int md_conf_show(tag_md_info* md);
/// Clears the anchor's fields and makes the list empty.
ORV_API void md_list_init(tag_mdinfo_list* list);
/// Releases every record and leaves the list empty.
/// @return 0; -1 for a NULL list, after printing "Can't destory NULL list"
ORV_API int md_list_fini(tag_mdinfo_list* list);
/// Prints every record; for a NULL list "Can't show NULL list".
ORV_API void md_list_show(tag_mdinfo_list* list);

/// Copies one read of at most 280 bytes from `src` into `dst`, which is created with mode 0644 and
/// not truncated. No error is reported.
/// @return the result of closing `dst`
ORV_API int get_mdinfo_to_file(const char* src, const char* dst);

// --- Discovery -----------------------------------------------------------------------------------

/// Appends the machine's arrays to an initialised list.
///
/// On model KTA7120U they come from the RAID controller, on every other model from "/proc/mdstat",
/// mdadm and sysfs. An array that mdadm cannot describe keeps its name and the defaults.
///
/// @return ORV_OK; ORV_E_COMMAND when a tool failed; ORV_E_MDSTAT, ORV_E_MD_SYSFS or
///         ORV_E_MD_DETAIL when its output cannot be read; ORV_E_FAILED for a NULL list. Arrays
///         found before a failure stay in the list.
ORV_API int raid_get(tag_mdinfo_list* list);

/// Appends one record per array of "/proc/mdstat"; only the name is filled.
/// @return ORV_OK, ORV_E_COMMAND, ORV_E_MDSTAT, or ORV_E_FAILED
ORV_API int get_mdinfo_from_proc(tag_mdinfo_list* list);

/// Fills level, size and state of the listed arrays from `mdadm --detail`; an array for which mdadm
/// fails is skipped. The text of the size stays in `disks`, which `get_mdinfo_from_sysblock` fills.
/// @return ORV_OK, ORV_E_MD_DETAIL, or ORV_E_FAILED
ORV_API int get_mdinfo_from_mdadm(tag_mdinfo_list* list);

/// Fills members and enclosure of the listed arrays from sysfs and recomputes the state. The
/// enclosure stays empty when the disks cannot be listed.
/// @return ORV_OK; ORV_E_MD_SYSFS, also when the directory of an array cannot be read to its end or
///         a member's state cannot be opened though the member is there; ORV_E_FAILED
ORV_API int get_mdinfo_from_sysblock(tag_mdinfo_list* list);

/// Fills the rebuild progress of the listed arrays that are recovering or resyncing.
/// @return ORV_OK, ORV_E_COMMAND, ORV_E_MDSTAT, or ORV_E_FAILED
ORV_API int get_mdinfo_from_mdstat(tag_mdinfo_list* list);

/// Appends the arrays that the RAID controller lists (model KTA7120U). The tool's captured output
/// stays in /tmp.
/// @return ORV_OK, ORV_E_COMMAND, ORV_E_MD_DETAIL, or ORV_E_FAILED
ORV_API int get_mdinfo_from_arcadm(tag_mdinfo_list* list);

/// Appends one record per "md" device of "/proc/partitions"; only the name is filled.
/// @return ORV_OK, ORV_E_PARTITIONS, or ORV_E_FAILED
ORV_API int get_mdinfo_from_partitions(tag_mdinfo_list* list);

/// State of an array member from its sysfs state file, a word or a comma-separated list of words.
/// @return 1 "faulty", 2 "spare", 3 "in_sync", 0 anything else; -1 when the file cannot be opened,
///         printed and logged
ORV_API int get_disk_state(const char* path);

/// Number of members that an array expects, from its sysfs file.
/// @return the number; 0 when it cannot be read; an unopened file is printed and logged
ORV_API int get_raid_disks(const char* path);

/// Value of a "key : value" line of an open `mdadm --detail` output, trimmed.
/// @param dstlen  capacity of `dst`
/// @return ORV_OK; ORV_E_MD_KEY when the key is missing, logged. `dst` is unchanged on failure and
///         for an empty value.
ORV_API int get_mdinfo_type(FILE* fp, char* dst, int dstlen, const char* key);

/// @return 1 when `s` is empty or consists only of "=", else 0
ORV_API int isequal(const char* s);

/// Level of a controller display line, as "raid" and the level.
/// @return 0; -1 when the field is missing, and then `dst` is unchanged
ORV_API int get_raid_level(const char* line, char* dst, int size);
/// Status word of a controller display line.
/// @return 0; -1 when the field is missing, and then `dst` is unchanged
ORV_API int get_raid_status(const char* line, char* dst, int size);
/// Size figure of a controller display line.
/// @return the number; all bits set when the field is missing
ORV_API uint64_t get_raid_size(const char* line);
/// Device field of a controller display line.
/// @return 0; -1 when the field is missing, and then `dst` is unchanged
ORV_API int get_raid_device(const char* line, char* dst, int size);
/// Channel numbers of the members of a controller display line, joined by ",".
/// @return 0; -1 when the field is missing, and then `dst` is unchanged
ORV_API int get_raid_disks(const char* line, char* dst, int size);

// --- Creation ------------------------------------------------------------------------------------

/// Creates an array from a request: `name` (or empty), `level`, `state`, `disks` (channels),
/// `spares` (device names; only checked against other arrays and volume groups) and `enclosure`.
///
/// The members are wiped. The request is changed whatever the outcome of the creation: `name`
/// becomes the name used, `disks` the device paths of the members, cut to its size.
///
/// @return ORV_OK; ORV_E_RAID_LEVEL; ORV_E_NO_DISK; ORV_E_RAID_NAME_USED; ORV_E_DISK_USED (by an
///         array, a volume group or the kernel itself, or as hot spare); ORV_E_RAID_COUNT; the code
///         of a list that could not be read; ORV_E_COMMAND when mdadm failed (the members are wiped
///         by then); ORV_E_FAILED for NULL. Nothing of the machine is changed by a refusal.
ORV_API int raid_create(tag_md_info* md);

/// Wipes the members and creates the array; `disks` holds device names and becomes device paths.
/// @return ORV_OK, ORV_E_RAID_COUNT, ORV_E_COMMAND, or ORV_E_FAILED for NULL
ORV_API int set_raid(tag_md_info* md);

/// Creates the array anew over its members without wiping them; `disks` holds device names and
/// becomes device paths. A mirror is re-created as a stripe.
/// @return ORV_OK, ORV_E_RAID_COUNT, ORV_E_COMMAND, or ORV_E_FAILED for NULL
ORV_API int reset_raid(tag_md_info* md);

/// @return the number after the first two characters of `a` minus that of `b`
ORV_API int mdcmp(const char* a, const char* b);

/// Writes the array name that follows `last`, such as md4 after md3, into `dst` (32 bytes).
/// @return the number of characters written; 0 for a NULL `dst`
ORV_API int auto_md_name(const char* last, char* dst);

/// Runs `clear_disk` on every device of a comma-separated list of at most 255 characters.
/// @return `names`
ORV_API char* init_raid_disks(const char* names);

// --- Members and destruction ---------------------------------------------------------------------

/// Adds the disk of a channel (at most 7 characters) of the array's enclosure to the array. Of a
/// list of channels exactly one must have a disk there.
/// @return ORV_OK; ORV_E_NO_RAID; ORV_E_NO_DISK; ORV_E_RAID_LEVEL_FIXED (raid0);
///         ORV_E_DISK_USED (this array or a volume group); the code of a list that could not be
///         read; ORV_E_COMMAND
ORV_API int raid_add(const char* md_name, const char* ch);

/// Removes a failed disk from the array.
/// @return ORV_OK; ORV_E_NO_RAID; ORV_E_NO_DISK (no such disk, or no member);
///         ORV_E_RAID_LEVEL_FIXED; ORV_E_NOT_FAULTY; the code of a list that could not be read;
///         ORV_E_COMMAND
ORV_API int raid_rm(const char* md_name, const char* ch);

/// As `raid_rm`, for raid5 only.
ORV_API int raid_check_rm(const char* md_name, const char* ch);

/// Stops an array. Its members are not wiped.
/// @return ORV_OK; ORV_E_NO_RAID; ORV_E_RAID_IN_VG; the code of a list that could not be read;
///         ORV_E_COMMAND
ORV_API int raid_destroy(const char* md_name);

/// Runs mdadm to add a device to the array of the record. @return ORV_OK or ORV_E_COMMAND
ORV_API int add_raid(tag_md_info* md, const char* dev);
/// Runs mdadm to remove a device from the array of the record. @return ORV_OK or ORV_E_COMMAND
ORV_API int rm_raid(tag_md_info* md, const char* dev);
/// Runs mdadm to stop the array of the record. @return ORV_OK or ORV_E_COMMAND
ORV_API int del_raid(tag_md_info* md);

/// Marks a member failed.
/// @return ORV_OK; on failure the result of the log call
ORV_API int set_disk_faulty(const char* md_name, const char* dev);

/// Marks every healthy member failed; the walk stops at the first item that is no "sd" device.
/// @return ORV_OK, or the result of the log call when a member could not be marked
ORV_API int set_raid_faulty(tag_md_info* md);

/// @return 1 when an item of `names` equals an item of `members` with its mark cut off, else 0
ORV_API int found_disk(const char* members, const char* names);
/// @return 1 when `members` holds the item `dev` marked "(F)", else 0
ORV_API int get_disk_state(const char* dev, const char* members);
/// @return number of items of a comma-separated list
ORV_API int count_disks(const char* list);
/// @return 1 when a global hot spare is among the members of the record, also as one with a mark
///         such as "(F)", else 0
ORV_API int check_spare_disk(tag_md_info* md);
/// @return 1 when a member, also one with a mark such as "(F)", or a spare of the record is a
///         physical volume, else 0
ORV_API int check_pv_disk(tag_md_info* md);
/// @return 1 when a physical volume of the group is among the items of `list`, also as one with a
///         mark such as "(F)", else 0
ORV_API int found_pv_raid(tag_vg_info* vg, const char* list);

// --- Hot spares and clearing ---------------------------------------------------------------------

/// Adds (`flag` 1) or removes (`flag` -1) a global hot spare.
/// @return ORV_OK; on failure the result of the log call; for any other flag `flag` + 1, and
///         nothing is run
ORV_API int disk_set_hotspare(const char* dev, int flag);

/// Wipes a disk; one that the kernel itself uses, as a member of an array or mounted, is not wiped.
/// @return ORV_OK; on failure the result of the log call
ORV_API int clear_disk(const char* dev);

/// Applies `hotspare` (1 add, -1 remove, 0 nothing) of each requested disk, named by `ch` and
/// `enclosure`. A disk is wiped before it becomes a spare, which it becomes also when its wiping
/// fails; a request without a disk is skipped. One that is not wiped because the kernel itself uses
/// it does not become a spare, which is logged: a rebuild would overwrite what is on it.
/// @return ORV_OK whatever the tools returned; the code of the disk list when it could not be read,
///         or ORV_E_NO_DISK when a disk to change has no device name (model KTA7120U), and then
///         nothing is run; ORV_E_FAILED for NULL
ORV_API int disks_hotspare_set(tag_diskinfo_list* req);

/// Wipes each requested disk, named by `ch` and `enclosure`, and prints each request.
/// @return as `disks_hotspare_set`
ORV_API int disks_clear(tag_diskinfo_list* req);

#endif
