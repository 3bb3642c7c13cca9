#ifndef ORV_DISK_H
#define ORV_DISK_H

/// Physical disks: discovery, channel numbers and enclosures, SMART records.
///
/// Users name disks by channel number (the bay, from 1) and enclosure ("0" the main chassis, "1" to
/// "4" expansion enclosures), never by device name. A channel list is a text such as "1,2,3".

#include <orv/errors.h>
#include <orv/export.h>
#include <orv/list.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>

// --- Records -------------------------------------------------------------------------------------

/// SMART summary of a disk. Every text starts as "NaN".
struct tag_smart_info {
  char device_model[32];      ///< disk model
  char serial_number[32];     ///< serial number
  char firmware_version[16];  ///< version of the firmware
  char user_capacity[32];     ///< capacity as smartctl prints it
  char ata_version[8];        ///< version of the ATA standard
  char ata_standard[64];      ///< draft of the ATA standard
  char smart_support[64];     ///< whether the disk has SMART
  char smart_enabled[16];     ///< "Enabled" or not; of a list object, "detail" asks for attributes
  char health[16];            ///< overall verdict, such as "PASSED"
};

/// One SMART attribute of a disk.
struct tag_disksmart_info {
  char id[4];          ///< attribute number, or the line number in the controller's output
  char attr_name[32];  ///< name as the tool prints it
  uint32_t value;      ///< normalised current value
  uint32_t worst;      ///< worst value so far
  uint32_t thresh;     ///< threshold
  uint32_t raw;        ///< raw value
  char status[16];     ///< when the attribute failed, or the controller's status word
  list_node list;      ///< link of its list
};

/// List of SMART attributes.
struct tag_disksmart_list : tag_disksmart_info {};

/// One physical disk.
struct tag_disk_info {
  char name[8];          ///< kernel device name such as sda; empty on model KTA7120U
  int32_t ch;            ///< channel number: bay within the enclosure, from 1
  uint64_t size;         ///< GiB, rounded to nearest; on model KTA7120U the controller's number
  char state[32];        ///< state word of the kernel or the controller
  char model[32];        ///< disk model
  char usage[32];        ///< the controller's usage word; only on model KTA7120U
  char enclosure[10];    ///< enclosure number as text, "0" to "4"
  int32_t hotspare;      ///< 1 for a global hot spare, else 0
  tag_smart_info smart;  ///< SMART summary
  tag_disksmart_list smart_list;  ///< owned by the record
  list_node list;                 ///< link of its list
};

/// List of disks.
struct tag_diskinfo_list : tag_disk_info {};

static_assert(sizeof(tag_smart_info) == 280);
static_assert(sizeof(tag_disksmart_info) == 88 && offsetof(tag_disksmart_info, list) == 72);
static_assert(sizeof(tag_disksmart_list) == sizeof(tag_disksmart_info));
static_assert(sizeof(tag_disk_info) == 520 && offsetof(tag_disk_info, ch) == 8 &&
              offsetof(tag_disk_info, size) == 16 && offsetof(tag_disk_info, state) == 24 &&
              offsetof(tag_disk_info, enclosure) == 120 &&
              offsetof(tag_disk_info, hotspare) == 132 && offsetof(tag_disk_info, smart) == 136 &&
              offsetof(tag_disk_info, smart_list) == 416 && offsetof(tag_disk_info, list) == 504);
static_assert(sizeof(tag_diskinfo_list) == sizeof(tag_disk_info));

// --- Record and list operations ------------------------------------------------------------------

/// Sets every text of the summary to "NaN".
ORV_API void smart_info_init(tag_smart_info* smart);
/// Zeroes the summary.
ORV_API void smart_info_fini(tag_smart_info* smart);
/// Prints the summary as smartctl does; nothing while `device_model` is "NaN".
/// @return the result of the last `printf`, which prints the health; 0 when nothing is printed
ORV_API int smart_info_show(const tag_smart_info* smart);

/// Zeroes every field of the attribute but its link.
ORV_API void smart_conf_init(tag_disksmart_info* attribute);
/// Zeroes every field of the attribute but its link.
ORV_API void smart_conf_fini(tag_disksmart_info* attribute);
/// Prints the attribute as one line.
/// @return the result of the last `printf`, which prints the status
ORV_API int smart_conf_show(const tag_disksmart_info* attribute);
/// Zeroes the anchor's fields and makes the list empty.
ORV_API void smart_list_init(tag_disksmart_list* list);
/// Releases every attribute and leaves the list empty.
/// @return 0; -1 for a NULL list, after printing "Can't destory NULL list"
ORV_API int smart_list_fini(tag_disksmart_list* list);
/// Prints every attribute; for a NULL list "Can't show NULL list".
ORV_API void smart_list_show(const tag_disksmart_list* list);

/// Clears the record, sets its SMART summary to "NaN" and its attribute list to empty; the link is
/// not touched.
ORV_API void disk_conf_init(tag_disk_info* disk);
/// Zeroes the record and releases its attributes; the record itself is not freed.
ORV_API void disk_conf_fini(tag_disk_info* disk);
/// Prints the record as one line, then its SMART summary and attributes.
/// @return the result of the last `printf`, which prints `hotspare` when there is neither summary
///         nor attribute
ORV_API int disk_conf_show(const tag_disk_info* disk);
/// Clears the anchor's fields and makes the list empty.
ORV_API void disk_list_init(tag_diskinfo_list* list);
/// Releases every disk with its attributes and leaves the list empty.
/// @return 0; -1 for a NULL list, after printing "Can't destory NULL list"
ORV_API int disk_list_fini(tag_diskinfo_list* list);
/// Prints every disk; for a NULL list "Can't show NULL list".
ORV_API void disk_list_show(const tag_diskinfo_list* list);

// --- Discovery -----------------------------------------------------------------------------------

/// Appends the machine's disks to an initialised list, in discovery order.
///
/// On model KTA7120U the disks come from the RAID controller; on every other model from the disk
/// driver, completed from sysfs and the hot spare tool.
///
/// @return ORV_OK; ORV_E_COMMAND when a tool failed; ORV_E_DISK_DRIVER, ORV_E_DISK_DUMP,
///         ORV_E_SPARE_LIST, ORV_E_SPARE_LINE or ORV_E_DISK_SCAN when its output cannot be read;
///         ORV_E_FAILED for a NULL list. Disks found before a failure stay in the list. After
///         ORV_E_DISK_DUMP the driver's captured output stays in /tmp.
ORV_API int disks_info_get(tag_diskinfo_list* list);

/// Appends the disks that the disk driver lists in "/proc/scsi/mvSata/": name, channel, enclosure.
/// @return ORV_OK, ORV_E_DISK_DRIVER, ORV_E_COMMAND, ORV_E_DISK_DUMP, or ORV_E_FAILED
ORV_API int get_diskinfo_from_mvSata(tag_diskinfo_list* list);

/// Fills size, state and model of the listed disks from "/sys/block". Of a disk with an unreadable
/// file the later fields stay as they are.
/// @return ORV_OK; ORV_E_FAILED for a NULL list
ORV_API int get_diskinfo_from_sd(tag_diskinfo_list* list);

/// Marks the listed disks that the hot spare tool names as global hot spares.
/// @return ORV_OK, ORV_E_COMMAND, ORV_E_SPARE_LIST, ORV_E_SPARE_LINE, or ORV_E_FAILED
ORV_API int get_global_hotspare(tag_diskinfo_list* list);

/// Appends the disks that the RAID controller's scan lists (model KTA7120U).
/// @return ORV_OK, ORV_E_COMMAND, ORV_E_DISK_SCAN, or ORV_E_FAILED
ORV_API int get_diskinfo_from_arcadm(tag_diskinfo_list* list);

/// Appends the whole "sd" disks of "/proc/partitions"; only the name is filled.
/// @return ORV_OK, ORV_E_PARTITIONS, or ORV_E_FAILED
ORV_API int get_diskinfo_from_partitions(tag_diskinfo_list* list);

// --- Channels and device names -------------------------------------------------------------------

/// Channel number of one controller scan line: its first word plus 1.
/// @return the channel, from 1; -1 when the first word is no number
ORV_API int get_disk_ch(const char* line);

/// @return 1 when the decimal text of `ch` equals an item of the comma-separated list, else 0
ORV_API int disk_ch_cmp(int ch, const char* chlist);

/// Turns a channel list into the device names of these disks, in place and in list order.
///
/// @param chlist    channel list such as "3,1", in a buffer of 256 bytes; becomes "sda,sdc"
/// @param expected  number of channels in the list
/// @return the number of disks found; when it differs from `expected`, `chlist` stays as it is. A
///         name that does not fit the buffer counts as not found.
ORV_API int trans_ch_disk(tag_diskinfo_list* list, char* chlist, const char* enclosure,
                          int expected);

/// Turns "sda,sdb" into "/dev/sda /dev/sdb" in place. The result has at most 255 characters; paths
/// that do not fit are left out, never cut.
/// @param names  a buffer of 256 bytes
/// @return `names`
ORV_API char* trans_disk_dev(char* names);

/// @return 1 when `s` is empty or consists only of digits and commas (a channel list), else 0 (an
///         array name)
ORV_API int is_channelID(const char* s);

/// Copies one read of at most 280 bytes from `src` into `dst`, which is created with mode 0644 and
/// not truncated. No error is reported.
/// @return the result of closing `dst`
ORV_API int get_diskinfo_to_file(const char* src, const char* dst);

// --- SMART ---------------------------------------------------------------------------------------

/// Reads SMART data of every disk of a list: attributes when the anchor's `smart.smart_enabled` is
/// "detail", else summaries. On model KTA7120U the RAID controller is asked, which tells attributes
/// only; on every other model smartctl.
/// @return the result for the last disk: ORV_OK; ORV_E_COMMAND, ORV_E_SMART_SUMMARY or
///         ORV_E_SMART_DETAIL when the tool's output cannot be read; -1 or -2 when a summary has no
///         health line; ORV_E_SMART_MODE when summaries are asked of the controller. For an empty
///         list ORV_OK, or ORV_E_MODEL_QUERY when the device model is not known. ORV_E_FAILED for a
///         NULL list. What failed for an earlier disk is only logged.
ORV_API int smart_info_get(tag_diskinfo_list* list);

/// Fills the SMART summary of one disk from smartctl. A text that the tool does not print stays as
/// it is, which is logged; one whose line has no value becomes empty. A field ends at the next ":".
/// The tool's exit status does not count.
/// @return the result for the health line: ORV_OK, -1 when it is missing, -2 on a read error;
///         ORV_E_COMMAND when the tool's output is missing or the disk has no usable name;
///         ORV_E_SMART_SUMMARY when it cannot be opened; ORV_E_FAILED for a NULL disk
ORV_API int get_smart(tag_disk_info* disk);

/// Appends the reported attributes among smartctl's to one disk's `smart_list`, at most seven: raw
/// read error rate, spin-up time, reallocated sectors, seek error rate, spin retries, calibration
/// retries, temperature. The tool's exit status does not count.
/// @return ORV_OK, also without any attribute; ORV_E_COMMAND as for `get_smart`; ORV_E_SMART_DETAIL
///         when the tool's output cannot be opened; ORV_E_FAILED for a NULL disk
ORV_API int get_smart_detail(tag_disk_info* disk);

/// As `get_smart_detail`, from the RAID controller, which finds the disk by its channel. The number
/// of an attribute is that of its line; current value and raw value are 0.
/// @return as `get_smart_detail`
ORV_API int get_smart_from_arcadm(tag_disk_info* disk);

/// Reads one attribute from a line of smartctl's output. Of a number only the first 4 characters
/// count: a raw value of 123456 is stored as 1234. What the line does not have is empty or 0.
/// @param line  number of the line, from 0
/// @return 0; -1 when there is no such line, -2 on a read error, both logged; then, and for a NULL
///         record (ORV_E_FAILED), nothing is changed
ORV_API int get_smart_detail_value(FILE* fp, int line, tag_disksmart_info* rec);

/// As `get_smart_detail_value`, from a line of the RAID controller's output such as
/// "Spin Up Time : 97 (21) OK". Of the threshold, here 21, all characters count.
ORV_API int get_smart_value_arcadm(FILE* fp, int line, tag_disksmart_info* rec);

// --- One attribute of a line ---------------------------------------------------------------------

/// Disk model of a controller scan line.
/// @return 0; -1 when the field is missing or is "N.A." (an empty bay), and then `dst` is unchanged
ORV_API int get_disk_model(const char* line, char* dst, int size);

/// Size figure of a controller scan line.
/// @return the number; all bits set when the field is missing
ORV_API uint64_t get_disk_space(const char* line);

/// State word of a controller scan line.
/// @return 0; -1 when the field is missing, and then `dst` is unchanged
ORV_API int get_disk_state(const char* line, char* dst, int size);

/// Usage word of a controller scan line; "Hot Spare" marks a spare.
/// @return 0; -1 when the field is missing, and then `dst` is unchanged
ORV_API int get_disk_usage(const char* line, char* dst, int size);

/// Value of a "key SEPARATOR value" line of an open file, up to the next separator, trimmed; empty
/// when the line has none. The value of the key "PCI location" is everything after its first
/// separator.
///
/// @param key    NULL for any line
/// @param index  which of the lines with this key, from 0; without a key the number of the line
/// @return 0; -1 when there is no such line and -2 on a read error, both logged, and then `dst` is
///         unchanged
ORV_API int get_value_from_file(FILE* fp, const char* key, const char* sep, int index, char* dst,
                                int size);

#endif
