#ifndef ORV_ERRORS_H
#define ORV_ERRORS_H

#include <orv/export.h>

/// Every result code of the library: name, value, one-line meaning.
///
/// The table is the only place where a code gets its number; `orv_strerror` and the command line
/// tool read it too. Codes are grouped by subsystem.
#define ORV_RESULT_CODES(X)                                                                       \
  X(ORV_OK, 0, "success")                                                                         \
  X(ORV_E_FAILED, -1, "the request could not be carried out or an argument is missing")           \
  X(ORV_E_NO_GATEWAY, -2, "the interface has no gateway")                                         \
  X(ORV_E_SHARE_OPEN, -10, "a share file cannot be opened")                                       \
  X(ORV_E_SHARE_READ, -12, "a share file cannot be read")                                         \
  X(ORV_E_SHARE_WRITE, -13, "a share file cannot be written")                                     \
  X(ORV_E_SHARE_SYNTAX, -14, "a share file has a line that makes no sense")                       \
  X(ORV_E_MODEL, -1001, "the device model cannot be read")                                        \
  X(ORV_E_POWER, -1002, "the power supply state cannot be read from the state file")              \
  X(ORV_E_POWER_TOOL, -1003, "the output of the power state tool cannot be read")                 \
  X(ORV_E_START_TIME, -1004, "the start time cannot be read")                                     \
  X(ORV_E_CLOCK, -1005, "the clock cannot be read")                                               \
  X(ORV_E_HOSTNAME, -1006, "the host name cannot be read")                                        \
  X(ORV_E_HARDWARE_VERSION, -1007, "the hardware version cannot be read")                         \
  X(ORV_E_SOFTWARE_VERSION, -1008, "the software version cannot be read")                         \
  X(ORV_E_FANS, -1009, "the fans of this device model are not known")                             \
  X(ORV_E_TEMPERATURE, -1010, "the temperature cannot be read")                                   \
  X(ORV_E_STATUS_OUTPUT, -1011, "the state of a service cannot be read")                          \
  X(ORV_E_PARTITIONS, -1020, "the kernel's partition list cannot be opened")                      \
  X(ORV_E_DISK_DRIVER, -1021, "the disk driver's directory cannot be opened")                     \
  X(ORV_E_DISK_DUMP, -1022, "the disk driver's output cannot be opened")                          \
  X(ORV_E_SPARE_LIST, -1023, "the hot spare list cannot be opened")                               \
  X(ORV_E_SPARE_LINE, -1024, "the hot spare list has no line of global hot spares")               \
  X(ORV_E_DISK_SCAN, -1025, "the controller's disk scan cannot be opened")                        \
  X(ORV_E_MD_DETAIL, -1030, "the details of the arrays cannot be opened")                         \
  X(ORV_E_MD_KEY, -1031, "a value is missing in the details of an array")                         \
  X(ORV_E_MD_SYSFS, -1032, "the kernel's directory of an array cannot be opened")                 \
  X(ORV_E_MDSTAT, -1033, "the kernel's array status cannot be opened")                            \
  X(ORV_E_VGDISPLAY, -1040, "the list of volume groups cannot be opened")                         \
  X(ORV_E_PVDISPLAY, -1042, "the list of physical volumes cannot be opened")                      \
  X(ORV_E_LVDISPLAY, -1050, "the list of pools cannot be opened")                                 \
  X(ORV_E_LVDISPLAY_TOOL, -1051, "the tool that lists the pools failed")                          \
  X(ORV_E_EXPORTS, -1060, "the exports or the state of the iSCSI target cannot be opened")        \
  X(ORV_E_IETD, -1061, "the configuration of the iSCSI target cannot be opened")                  \
  X(ORV_E_FTP_USERS, -1062, "a directory of the FTP users cannot be opened")                      \
  X(ORV_E_FTP_CONFIG, -1063, "the configuration of the FTP service cannot be opened")             \
  X(ORV_E_NETSTAT, -1064, "the list of network connections cannot be opened")                     \
  X(ORV_E_SMBSTATUS, -1065, "the list of SMB clients cannot be opened")                           \
  X(ORV_E_MOUNT_TABLE, -1066, "the mount table cannot be opened")                                 \
  X(ORV_E_FTP_TEMPORARY, -1067, "the new configuration of the FTP service cannot be written")     \
  X(ORV_E_SMART_SUMMARY, -1070, "the SMART summary of a disk cannot be opened")                   \
  X(ORV_E_SMART_DETAIL, -1071, "the SMART attributes of a disk cannot be opened")                 \
  X(ORV_E_ALARM_CONNECT, -1080, "the alarm daemon does not answer")                               \
  X(ORV_E_ALARM_BIND, -1081, "the alarm client's socket cannot be made")                          \
  X(ORV_E_ALARM_SEND, -1082, "the request to the alarm daemon cannot be sent")                    \
  X(ORV_E_ALARM_REPLY, -1083, "the alarm daemon sent no reply")                                   \
  X(ORV_E_ALARM_ITEM, -1084, "the alarm daemon's reply ended early")                              \
  X(ORV_E_HOSTNAME_OPEN, -2001, "the host name file cannot be opened")                            \
  X(ORV_E_HOSTNAME_WRITE, -2002, "the host name file cannot be written")                          \
  X(ORV_E_HOSTNAME_SET, -2003, "the host name is stored but cannot be applied")                   \
  X(ORV_E_CLOCK_ZONE, -2004, "the current time zone cannot be read")                              \
  X(ORV_E_CLOCK_SET, -2005, "the clock cannot be set")                                            \
  X(ORV_E_USER_FILE, -2006, "the user file cannot be read")                                       \
  X(ORV_E_NO_SHADOW, -2008, "there is no shadow file")                                            \
  X(ORV_E_SHADOW_OPEN, -2009, "the shadow file cannot be opened")                                 \
  X(ORV_E_SHADOW_LOCKED, -2010, "the shadow file is locked by another process")                   \
  X(ORV_E_SHADOW_BACKUP, -2011, "the shadow file cannot be backed up")                            \
  X(ORV_E_SHADOW_CREATE, -2012, "the new shadow file cannot be made")                             \
  X(ORV_E_SHADOW_WRITE, -2013, "the new shadow file cannot be written")                           \
  X(ORV_E_SHADOW_RENAME, -2014, "the new shadow file cannot take the old one's place")            \
  X(ORV_E_DISK_USED, -2030, "a disk is already used by an array, a volume group or as hot spare") \
  X(ORV_E_RAID_NAME_USED, -2031, "an array of this name exists already")                          \
  X(ORV_E_RAID_LEVEL, -2032, "the RAID level is not supported")                                   \
  X(ORV_E_NO_DISK, -2033, "a channel has no disk in this enclosure or array")                     \
  X(ORV_E_RAID_COUNT, -2034, "the number of disks is outside the limits of the RAID level")       \
  X(ORV_E_RAID_IN_VG, -2035, "the array carries a volume group")                                  \
  X(ORV_E_NOT_FAULTY, -2036, "the disk is not marked as failed")                                  \
  X(ORV_E_RAID_LEVEL_FIXED, -2037, "the RAID level of the array does not allow this change")      \
  X(ORV_E_NO_RAID, -2038, "there is no array of this name")                                       \
  X(ORV_E_NO_VG, -2040, "there is no such volume group, or no backup of its metadata")            \
  X(ORV_E_VG_NAME_USED, -2041, "a volume group of this name exists already")                      \
  X(ORV_E_PV_CHANNEL, -2042, "the channel does not name exactly one disk of this enclosure")      \
  X(ORV_E_PV_DISK_USED, -2043, "the disk is a member of an array or a hot spare")                 \
  X(ORV_E_PV_NO_RAID, -2044, "there is no array of this name for the physical volume")            \
  X(ORV_E_PV_USED, -2045, "the disk or array is already part of a volume group")                  \
  X(ORV_E_VG_NOT_FOUND, -2046, "the volume group to remove does not exist")                       \
  X(ORV_E_VG_IN_USE, -2047, "the volume group still holds pools")                                 \
  X(ORV_E_POOL_NAME, -2050, "the pool or volume group name is empty")                             \
  X(ORV_E_POOL_NAME_USED, -2051, "a pool of this name exists already")                            \
  X(ORV_E_POOL_VG, -2052, "the volume group does not exist or does not hold this pool")           \
  X(ORV_E_POOL_SIZE, -2053, "the size does not fit the volume group or does not extend the pool") \
  X(ORV_E_NO_POOL, -2055, "there is no pool of this name")                                        \
  X(ORV_E_SHARES_LOCKED, -2060, "the share list cannot be locked")                                \
  X(ORV_E_SERVICE_LOCKED, -2061, "the file of the share's service cannot be locked")              \
  X(ORV_E_FILE_LOCKED, -2062, "the file is locked by another process")                            \
  X(ORV_E_SHARES_READ, -2063, "the share list or a service's file cannot be read")                \
  X(ORV_E_SHARES_WRITE, -2064, "the share list cannot be written")                                \
  X(ORV_E_SERVICE_WRITE, -2065, "the file of the share's service cannot be written")              \
  X(ORV_E_SHARE_EXISTS, -2066, "a share of this name exists already")                             \
  X(ORV_E_NO_SHARE, -2067, "there is no share of this name")                                      \
  X(ORV_E_SHARE_MODE, -2068, "the service word is not known")                                     \
  X(ORV_E_PASSWORDS, -2069, "the user file cannot be opened for the passwords")                   \
  X(ORV_E_COMMAND, -11000, "a system command failed")                                             \
  X(ORV_E_MODEL_QUERY, -11001, "the device model that decides what to read is not known")         \
  X(ORV_E_SMART_MODE, -11002, "this device model has no SMART summary")                           \
  X(ORV_E_NO_USER, -12001, "there is no user of this name")                                       \
  X(ORV_E_PASSWORD, -12002, "the password is wrong")                                              \
  X(ORV_E_PASSWD_FILE, -12003, "the password file cannot be opened")                              \
  X(ORV_E_LOGIN_USED, -12004, "a user of this name exists already")                               \
  X(ORV_E_NO_UID, -12005, "the user number is not allowed, or no number is left")                 \
  X(ORV_E_GROUP_USED, -12006, "a group of this name exists already")
/// The result codes by their names.
enum orv_result_code : int {
#define ORV_RESULT_CODE(name, value, meaning) name = value,
  ORV_RESULT_CODES(ORV_RESULT_CODE)
#undef ORV_RESULT_CODE
};

/// The one-line English meaning of a result code, without a line end.
///
/// @param code  any result of the library
/// @return a text that is never NULL and lives for ever; "unknown result code" for other numbers
ORV_API const char* orv_strerror(int code);

#endif
