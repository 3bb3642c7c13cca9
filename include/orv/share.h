#ifndef ORV_SHARE_H
#define ORV_SHARE_H

/// Shares: directories offered over Samba, NFS or FTP, and volumes offered over iSCSI.
///
/// Two files say what a share is, and the share operations keep them in step:
/// "/etc/sharefolder.conf" lists the appliance's shares with name, comment, path, size and service;
/// the service's own file ("/etc/samba/smb.conf", "/etc/exports", "/etc/ietd.conf") holds what the
/// service needs, users and rights among it. A share that is out of use has no service in
/// "/etc/sharefolder.conf"; a recycle file ("/etc/samba/smb_recy.conf", "/etc/exports_recy") keeps
/// its settings.
///
/// Values. Each file is read in lines of at most 256 bytes. A control character in a value, and a
/// character that would make the line unreadable ("=" in "/etc/sharefolder.conf" and the Samba
/// files, "]" in a section's name, a parenthesis, a quotation mark, "#", "\" or a "-" before a word
/// in a client list), is written as a blank, and so is a "\" at the end of a name or of a value in
/// a Samba file; a blank in the name of an iSCSI share as "_". In the exports the path's blanks,
/// control characters and the characters " # ( \ are written as exports writes them ("\040"), and
/// a client list loses the blanks at its end. A list of users or clients of which no character is
/// left is written as "_", which is nobody: an empty list is everybody. One that does not fit its
/// line ends at an item that does; where a line is still too long to be read again, the writer
/// fails and changes nothing. A share's name loses the white space around it when it is written:
/// readers would not give it back. The share operations see every name as it will be stored, so
/// that each of them means the same share by the same name.
///
/// Failures. A file that could not be read is never rewritten. Readers, writers, locks and list
/// operations log nothing but a missing argument and want of memory; every other operation logs
/// its failure.
///
/// Threads. The locks of Unix record locking hold between processes. Two operations of one process
/// do not exclude each other: run the share operations of a process one at a time.

#include <orv/errors.h>
#include <orv/export.h>
#include <orv/list.h>

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

// --- Records -------------------------------------------------------------------------------------

/// One share; also the request that the share operations take.
struct tag_share_config {
  char name[33];      ///< of an iSCSI target what follows the IQN prefix, often with a time stamp
  char comment[128];  ///< free text; "Filesystem unmounted" when discovery finds no mount
  char path[128];     ///< directory, or backing file of an iSCSI volume
  /// "samba", "nfs", "ftp" or "iscsi"; empty out of use. Discovery stores "iSCSI", and for a share
  /// of several services a list such as "samba,nfs".
  char service[32];
  char status[8];         ///< "N.A."; shown, not interpreted
  char valid_users[256];  ///< users separated by ","; for NFS the clients
  int writable;           ///< 1 read-write, 0 read-only
  uint64_t size;          ///< GB
  uint64_t used;          ///< units of 10 MiB
  list_node list;         ///< link of its list
};

/// List of shares.
struct tag_shareconf_list : tag_share_config {};

static_assert(sizeof(tag_share_config) == 624 && offsetof(tag_share_config, comment) == 33 &&
              offsetof(tag_share_config, path) == 161 &&
              offsetof(tag_share_config, service) == 289 &&
              offsetof(tag_share_config, status) == 321 &&
              offsetof(tag_share_config, valid_users) == 329 &&
              offsetof(tag_share_config, writable) == 588 &&
              offsetof(tag_share_config, size) == 592 && offsetof(tag_share_config, used) == 600 &&
              offsetof(tag_share_config, list) == 608);
static_assert(sizeof(tag_shareconf_list) == sizeof(tag_share_config));

// --- Record and list operations ------------------------------------------------------------------

/// Zeroes every field but the link, then sets `status` to "N.A." and `writable` to 1.
ORV_API void share_conf_init(tag_share_config* share);
/// Zeroes every field but the link. @return 0; ORV_E_FAILED for NULL
ORV_API int share_conf_fini(tag_share_config* share);
/// Prints the record as one line. In the record itself an empty `status` becomes "N.A.", and `used`
/// becomes 0 when `size` is 0.
/// @return the result of the last `printf`
ORV_API int share_conf_show(tag_share_config* share);
/// Makes the anchor's fields those of a new record and the list empty.
ORV_API void share_list_init(tag_shareconf_list* list);
/// Releases every record. @return 0; -1 for a NULL list, after printing "Can't destory NULL list"
ORV_API int share_list_fini(tag_shareconf_list* list);
/// Prints every record; for a NULL list "Can't show NULL list".
ORV_API void share_list_show(tag_shareconf_list* list);

/// Appends a copy of a record: all of its fields but `status`.
/// @return ORV_OK; ORV_E_FAILED when the list has a record of exactly this name, or without memory
ORV_API int add_share_to_sharelist(tag_share_config* share, tag_shareconf_list* list);
/// Gives the first record of this name the share's `comment`, `valid_users` and `writable`, and its
/// `path` and `service` when the record has no service. A record whose service is "iscsi" (any
/// case) is compared by its name up to the first ".". A missing share is appended.
/// @param ignored  not used
/// @return ORV_OK; ORV_E_FAILED when the share was appended, or a record could not be made
ORV_API int mod_share_to_sharelist(tag_share_config* share, const char* ignored,
                                   tag_shareconf_list* list);
/// Removes the first record of this name, compared as by `mod_share_to_sharelist`.
/// @return ORV_OK; ORV_E_FAILED when there is none, or for a NULL name
ORV_API int del_share_to_sharelist(const char* name, tag_shareconf_list* list);
/// @return the first record of exactly this name; NULL when there is none, and for a NULL name. It
///         stays the list's.
ORV_API tag_share_config* fine_share_in_list(tag_shareconf_list* list, const char* name);

// --- Share files ---------------------------------------------------------------------------------

// A reader appends to the list what it reads from the descriptor's position on. A last line without
// a line end is not read. A value longer than its field is cut.
// @return ORV_OK; ORV_E_SHARE_READ on a read error or without memory for a record;
//         ORV_E_SHARE_SYNTAX for a line that makes no sense, and then the descriptor stands
//         anywhere behind that line; ORV_E_FAILED for a NULL list and, logged, without memory for
//         anything else. What was read before stays in the list.
//
// A writer replaces the file's content in place and commits it with `conf_save`.
// @return ORV_OK; ORV_E_SHARE_WRITE when the file could not be written: it is cut short then and
//         not committed; ORV_E_FAILED for a NULL list

/// Reads "/etc/sharefolder.conf". A line with two "=" or, outside a section's head, with none makes
/// no sense.
ORV_API int get_share_from_conf(int fd, tag_shareconf_list* list);
/// Writes "/etc/sharefolder.conf"; users and rights are not part of it. A record whose service is a
/// list, or is not known, gets no service line and reads back as out of use. Of `size` the low 32
/// bits are written, as a signed number.
ORV_API int put_share_to_conf(int fd, tag_shareconf_list* list);

/// Reads a Samba file; the section "global" is passed over.
ORV_API int get_share_from_smb(int fd, tag_shareconf_list* list);
/// Replaces the shares of "/etc/samba/smb.conf": all that stands before the second "[" of the file,
/// the global settings, is kept byte for byte; where it does not end with a line end, a new line is
/// begun before the first share. A share that Samba takes for the global section, "global" or
/// "globals" in any case and with any blanks, is left out, and the share operations refuse it for
/// Samba.
/// @return also ORV_E_SHARE_READ when the file cannot be read; it is unchanged then
ORV_API int put_share_to_smb(int fd, tag_shareconf_list* list);
/// Writes "/etc/samba/smb_recy.conf", which has no global settings. A share that Samba takes for
/// the global section is left out here too.
ORV_API int put_share_to_smb_recy(int fd, tag_shareconf_list* list);

/// Reads an exports file. An export whose first option is "ro" reads back as writable. A line
/// without a blank is passed over.
ORV_API int get_share_from_nfs(int fd, tag_shareconf_list* list);
/// Writes "/etc/exports"; a share without a client list is exported to "*".
ORV_API int put_share_to_nfs(int fd, tag_shareconf_list* list);
/// Writes "/etc/exports_recy". What is committed afterwards is "/etc/exports_recy.conf".
ORV_API int put_share_to_nfs_recy(int fd, tag_shareconf_list* list);

/// Reads "/etc/ietd.conf". Lines that belong to no target with a name are passed over, and so is a
/// user that does not fit the list of users whole. Of several LUNs of a target the last one's path
/// counts. A name is cut to 32 characters, which may take a part of the stamp with it.
ORV_API int get_share_from_ietd(int fd, tag_shareconf_list* list);
/// Writes "/etc/ietd.conf" with each user's password (its first 12 characters; empty for a user
/// that is not known). A name without "." gets the current time as a stamp. Read back, a name of
/// more than 17 characters is cut within its stamp: the next change of any iSCSI share renames the
/// target, and that of one of 32 characters, of whose stamp nothing is left, each time.
/// ORV_E_SHARE_WRITE, with the file unchanged, also when there is a user file that cannot be read.
ORV_API int put_share_to_ietd(int fd, tag_shareconf_list* list);

/// FTP shares have no file: does nothing. @return ORV_OK
ORV_API int get_share_from_ftp(int fd, tag_shareconf_list* list);
/// FTP shares have no file: does nothing. @return ORV_OK
ORV_API int put_share_to_ftp(int fd, tag_shareconf_list* list);

/// Reads the file of a service: "Samba", "CIFS", "Ftp", "Nfs" or "Iscsi", in any case.
/// @return what the service's reader returns; ORV_OK, with nothing done, for a NULL or unknown mode
///         and for descriptor -1
ORV_API int get_share_from_mode(int fd, tag_shareconf_list* list, const char* mode);
/// Writes the file of a service, in the same way.
ORV_API int put_share_to_mode(int fd, tag_shareconf_list* list, const char* mode);
/// Writes the recycle file of a service: "Samba", "CIFS" or "Nfs", in the same way.
ORV_API int put_share_to_mode_recy(int fd, tag_shareconf_list* list, const char* mode);

/// Looks a user's password up in "/etc/nas_userfile.conf".
/// @param out     unchanged when the user is not there
/// @param outlen  size of `out`
/// @return ORV_OK, also when the user is not there; ORV_E_PASSWORDS when the file cannot be read;
///         ORV_E_FAILED for a NULL argument
ORV_API int get_pwd_from_conf(const char* user, char* out, int outlen);

/// Gives the FTP shares whose names are directories in "/home/USER" to that user, read-write: for
/// each directory the first such share.
/// @return 1 when the home has no subdirectory; else 0 less the records that the last
///         subdirectory's search passed over; ORV_E_FTP_USERS when the home cannot be read
ORV_API int find_one_user(const char* user, tag_shareconf_list* list);
/// Applies the user's FTP configuration "/etc/vsftpd/USER" to the FTP share that is its local root:
/// that share becomes the user's, read-only when `write_enable` is "NO".
/// @return ORV_OK; ORV_E_FAILED when there is no such configuration, or it cannot be read
ORV_API int find_sub_user(const char* user, tag_shareconf_list* list);

// --- Locks ---------------------------------------------------------------------------------------

/// Opens a share file, which is created with mode 0700 when missing, and write-locks it without
/// waiting. What a killed process or a power cut left of it is made whole.
/// @return the descriptor, the caller's to close; ORV_E_FAILED for a NULL path; ORV_E_SHARE_OPEN,
///         also when it cannot be made whole, and then it stays cut short, perhaps further;
///         ORV_E_FILE_LOCKED when another process holds a lock on it
ORV_API int lock_sharefile(const char* path);
/// Locks the file of a service: "Samba", "CIFS", "Ftp", "Nfs" or "Iscsi", in any case.
/// @param fd  receives the result; unchanged when the mode is not known
/// @return as `lock_sharefile`: ORV_E_FAILED for "Ftp", which has no file; ORV_E_SHARE_MODE when
///         the mode is not known
ORV_API int lock_modefile(int& fd, const char* mode);
/// Locks the recycle file of a service, "Samba", "CIFS" or "Nfs", in the same way.
ORV_API int lock_mode_recyfile(int& fd, const char* mode);
/// Releases this process's locks on a file. The descriptor stays open.
/// @return the result of `fcntl`
ORV_API int unlock_file(int fd);
/// Requests a record lock. @return the result of `fcntl`
/// @param cmd     F_SETLK, F_SETLKW or F_GETLK
/// @param type    F_RDLCK, F_WRLCK or F_UNLCK
/// @param whence  what `offset` counts from: SEEK_SET, SEEK_CUR or SEEK_END
/// @param len     bytes; 0 reaches to the end of the file
ORV_API int lock_reg(int fd, int cmd, int type, off_t offset, int whence, off_t len);
/// Asks whether a record lock could be taken.
/// @return 0 when it could; the process that holds a lock against it; -1 when `fcntl` fails
ORV_API pid_t lock_test(int fd, int type, off_t offset, int whence, off_t len);
/// Reads one line from a descriptor. It ends at a line end or NUL, which are not stored, or at a
/// form feed or 0x1A, which are. "\r" takes a position whose byte stays as it was.
/// @param buf   holds `size` + 1 bytes
/// @param size  bytes of a line; a longer line goes on with the next call
/// @return the positions used plus 1; 0 at the end of the file, where what was read of a line is
///         lost; -1 on a read error. For a size below 1: 1, an empty line, and nothing is read.
ORV_API int getline(int fd, char* buf, int size);

// --- Discovery -----------------------------------------------------------------------------------

/// Appends every share of "/etc/sharefolder.conf" to an initialised list, and every iSCSI volume;
/// fills in users, rights, sizes and use from the services and the machine. No file is locked.
/// @return ORV_OK, or the first failure of a step below, which ends the search
ORV_API int share_get(tag_shareconf_list* list);
/// Appends one record for each line of "/etc/sharefolder.conf" that begins with "[": the share of
/// that section, or an empty record when the head is not closed. Of sections of one name the first
/// one counts, and in it the first of equal keys.
/// @return ORV_OK, also when there is no such file; ORV_E_FAILED for NULL or without memory
ORV_API int get_shareinfo_from_shareconf(tag_shareconf_list* list);
/// Fills users and rights of the shares whose service is exactly "samba".
/// @return ORV_OK; ORV_E_FAILED for NULL
ORV_API int get_shareinfo_from_smbconf(tag_shareconf_list* list);
/// Names of the users with an FTP configuration in "/etc/vsftpd", in the order of the directory.
/// @param users  room for `max` names; a longer name is cut
/// @return their number, at most `max`; ORV_E_FTP_USERS when the directory cannot be opened, or not
///         be read to its end; ORV_E_FAILED for NULL
ORV_API int get_ftp_user(char users[][33], int max);
/// Fills users and rights of the FTP shares, of at most 32 users.
/// @return ORV_OK, also when there is no such user; ORV_E_FAILED for NULL
ORV_API int get_shareinfo_from_ftpconf(tag_shareconf_list* list);
/// Fills clients and rights of the NFS shares from "/etc/exports".
/// @return ORV_OK, also when there is no such file; ORV_E_EXPORTS when it cannot be opened or read;
///         ORV_E_FAILED for NULL
ORV_API int get_shareinfo_from_exportfs(tag_shareconf_list* list);
/// Fills the paths of mounted shares, those called like a mount point; any other share gets the
/// comment "Filesystem unmounted". Of a mounted share `used` is all ones until it is measured.
/// @return ORV_OK, also when the list of mounts cannot be opened, and nothing is changed then;
///         ORV_E_FAILED for NULL
ORV_API int get_shareinfo_from_mount(tag_shareconf_list* list);
/// Fills size and use of every share with a path but iSCSI volumes. Those, and a share whose path
/// has no figures, keep what they have and are reported on standard output.
/// @return ORV_OK; ORV_E_FAILED for NULL
ORV_API int get_shareinfo_from_df(tag_shareconf_list* list);
/// Fills the paths of iSCSI volumes from "/proc/net/iet/volume" and appends volumes that are not
/// listed. A unit belongs to the target line before it; further units of a target are ignored.
/// @return ORV_OK, also when no target runs; ORV_E_COMMAND; ORV_E_EXPORTS when the copy of the
///         volumes cannot be opened or read; ORV_E_FAILED for NULL
ORV_API int get_shareinfo_from_iSCSI(tag_shareconf_list* list);
/// Appends the users of iSCSI volumes from "/etc/ietd.conf".
/// @return ORV_OK; ORV_E_COMMAND; ORV_E_IETD when the copy of the targets cannot be opened or read;
///         ORV_E_FAILED for NULL
ORV_API int get_shareinfo_from_ietd(tag_shareconf_list* list);
/// Reads the size of one path from the listing of df in "/tmp/df.info", when that is root's or the
/// caller's own file and no link.
/// @param total  receives GiB, rounded down, plus 1
/// @param used   receives GiB, rounded down, plus 1
/// @param path   its first component stands for "/mnt": "/pool/data" is mounted at "/mnt/data"
/// @return ORV_OK, also when there is no listing; ORV_E_FAILED when the path is not listed or the
///         listing cannot be read, which is not logged, and for a NULL argument. Without figures
///         both numbers are unchanged.
ORV_API int get_sizeinfo_from_df(uint64_t* total, uint64_t* used, const char* path);

// --- Share changes -------------------------------------------------------------------------------

// Each change locks the files that it rewrites, without waiting, and releases them at its end. No
// service is started, stopped or reloaded. Nothing is rolled back after a failure. A record or name
// that is missing or empty gives ORV_E_FAILED. Without memory for the change of a file's shares
// that file is not written, and the result is ORV_E_FAILED.
//
// @return besides what is said below: ORV_E_SHARES_LOCKED when "/etc/sharefolder.conf" cannot be
//         locked; ORV_E_SERVICE_LOCKED when another file cannot, or the service is not known;
//         ORV_E_SHARES_READ; ORV_E_SHARES_WRITE for "/etc/sharefolder.conf" and
//         ORV_E_SERVICE_WRITE for another file

/// Adds a share to "/etc/sharefolder.conf", then brings the service's file in line with every share
/// of that service. An FTP share has no service file.
///
/// A share that the service's file lists already gets path, users and comment of
/// "/etc/sharefolder.conf". That file holds no users: the user lists of the service's other shares
/// come out empty, and whoever needs them gives them back with `share_mod`. In the exports a share
/// is known by the last part of its path: one of another name is appended there again. So is an
/// iSCSI share whose own name has a "." each time that an iSCSI share is added: targets are
/// compared by the part of their names before it.
/// @param share  all fields; `service` names the service
/// @return ORV_OK; ORV_E_SHARE_EXISTS, and the service's file is brought in line all the same (for
///         FTP the result is ORV_OK)
ORV_API int share_add(tag_share_config* share);
/// Changes comment, users and rights of a share, in "/etc/sharefolder.conf" first.
/// @param share  `path` and `service` are taken over where the listed share has no service
/// @return ORV_OK; ORV_E_NO_SHARE when the share was missing from a file, to which it is added, and
///         always for an FTP share
ORV_API int share_mod(tag_share_config* share);
/// Removes a share from its service's file and then from "/etc/sharefolder.conf".
/// @param mode  service of the share: "Samba", "CIFS", "Ftp", "Nfs" or "Iscsi", in any case
/// @return ORV_OK, for FTP also when there is no such share; ORV_E_NO_SHARE when a file did not
///         have it. When the service's file cannot be rewritten the share stays in both.
ORV_API int share_del(const char* name, const char* mode);
/// Takes a share out of use: it loses its service in "/etc/sharefolder.conf", is removed from the
/// service's file and kept in the service's recycle file.
/// @param share  `service` is empty afterwards, also of a record that is refused
/// @return ORV_OK; ORV_E_NO_SHARE when a file did not have it; ORV_E_SHARE_EXISTS when the recycle
///         file has one of this name, which stays; ORV_E_SERVICE_LOCKED for FTP and iSCSI, which
///         have no recycle file, with the other files changed
ORV_API int share_set_use(tag_share_config* share);
/// Takes an FTP share out of use: unmounts its path, removes the mount point and its entry in the
/// mount table, and the share loses its service in "/etc/sharefolder.conf".
/// @param share  `service` is empty afterwards, also of a record that is refused
/// @return ORV_OK, also when the mount point stays, which is logged; ORV_E_COMMAND when the path
///         cannot be unmounted or something is still mounted there: nothing else is changed then
ORV_API int ftp_set_use(tag_share_config* share);
/// Removes a share from "/etc/sharefolder.conf" and from both recycle files, once all three were
/// read. A name that none of them has may be that of an iSCSI share as it was asked for, with
/// blanks.
/// @return ORV_OK; ORV_E_NO_SHARE when one of the files did not have it
ORV_API int forbid_share_del(const char* name);
/// Adds a word to a comma-separated list when `value` is exactly "1".
/// @param dst  list of services, in a buffer of 32 bytes
/// @return ORV_OK; ORV_E_FAILED for a NULL list that a word is to be added to
ORV_API int share_conf_set_value(char* dst, const char* word, const char* value);

// --- Recycle lists -------------------------------------------------------------------------------

/// Appends the shares of a Samba recycle file, under its lock.
/// @return ORV_OK; ORV_E_SERVICE_LOCKED; ORV_E_SHARES_READ; ORV_E_FAILED for a NULL list
ORV_API int read_samba_recy(const char* path, tag_shareconf_list* list);
/// Appends the shares of an exports recycle file, in the same way.
ORV_API int read_nfs_recy(const char* path, tag_shareconf_list* list);
/// Removes a share from a Samba recycle file, which is rewritten also when it is not there.
/// @param name  NULL and an empty name are that of no share
/// @param word  not used
/// @return ORV_OK; ORV_E_NO_SHARE; ORV_E_SERVICE_LOCKED; ORV_E_SHARES_READ; ORV_E_SERVICE_WRITE
ORV_API int samba_recy_del(const char* path, const char* name, const char* word);
/// Removes a share from an exports recycle file, in the same way.
ORV_API int nfs_recy_del(const char* path, const char* name, const char* word);
/// Removes a share from both recycle files.
/// @return the result for the exports; the result for Samba when that failed otherwise than by
///         ORV_E_NO_SHARE, and then the exports are not touched
ORV_API int share_recy_del(const char* name);
/// Changes a share that is out of use, in "/etc/sharefolder.conf" and in the recycle file of its
/// former service; an FTP share only in the former.
/// @param share  `service` is the former service, and empty afterwards, also of a record that is
///               refused
/// @return ORV_OK; ORV_E_NO_SHARE when a file did not have the share, to which it is added;
///         otherwise as the share changes
ORV_API int share_recy_mod(tag_share_config* share);
/// Gives the first record of exactly this name the share's `comment`, `valid_users`, `writable` and
/// `service`, an empty one included. A missing share is appended.
/// @return ORV_OK; ORV_E_FAILED when the share was appended, or a record could not be made
ORV_API int mod_recy_list(tag_share_config* share, tag_shareconf_list* list);
/// Gives the listed shares that are out of use their users and rights from the recycle files.
/// @return ORV_OK; ORV_E_SERVICE_LOCKED; ORV_E_SHARES_READ; ORV_E_FAILED for a NULL list
ORV_API int get_shareinfo_from_recy(tag_shareconf_list* list);

#endif
