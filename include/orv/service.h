#ifndef ORV_SERVICE_H
#define ORV_SERVICE_H

/// The sharing services: start, stop and state, their clients, and the limits of the FTP service.

#include <orv/errors.h>
#include <orv/export.h>
#include <orv/list.h>

#include <cstddef>

/// One connection of a client.
struct tag_share_conn {
  char share[128];   ///< FTP: "*"; SMB: the first share in use, or "IPC$"; iSCSI: the target's name
  char protocol[8];  ///< "Ftp", "CIFS" or "iSCSI"
  char ip[16];       ///< the client's IPv4 address; empty when not known
  char user[128];    ///< FTP: client port and state as netstat prints them; SMB: user name;
                     ///< iSCSI: the initiator's name
  list_node node;    ///< link of its list
};

/// List of connections.
struct tag_shareconn_list : tag_share_conn {};

static_assert(sizeof(tag_share_conn) == 296 && offsetof(tag_share_conn, protocol) == 128 &&
              offsetof(tag_share_conn, ip) == 136 && offsetof(tag_share_conn, user) == 152 &&
              offsetof(tag_share_conn, node) == 280);
static_assert(sizeof(tag_shareconn_list) == sizeof(tag_share_conn));

// --- Start and stop ------------------------------------------------------------------------------

// Each runs the service's init script and returns ORV_OK, or ORV_E_COMMAND when the script did not
// exit with 0.

/// Starts Samba.
ORV_API int smb_start();
/// Stops Samba.
ORV_API int smb_stop();
/// Starts the NFS server.
ORV_API int nfs_start();
/// Stops the NFS server.
ORV_API int nfs_stop();
/// Starts the FTP server.
ORV_API int ftp_start();
/// Stops the FTP server.
ORV_API int ftp_stop();
/// Starts the iSCSI target.
ORV_API int iscsi_start();
/// Stops the iSCSI target.
ORV_API int iscsi_stop();

// --- State ---------------------------------------------------------------------------------------

// Each asks for the process of a daemon and returns ORV_OK when it runs; ORV_E_COMMAND when it does
// not, or cannot be asked for; ORV_E_STATUS_OUTPUT when the answer cannot be read; ORV_E_FAILED
// when the answer's number is out of range.

/// Samba runs when both of its daemons do, smbd and nmbd.
ORV_API int smb_status_get();
/// The management daemon.
ORV_API int orv_status_get();
/// The NFS server.
ORV_API int nfs_status_get();
/// The FTP server.
ORV_API int ftp_status_get();
/// The iSCSI target.
ORV_API int iscsi_status_get();

/// Reads an answer of "pidof", whose first line holds process numbers separated by blanks.
/// @param path  of the file that holds it; it must be writable too
/// @return ORV_OK; ORV_E_STATUS_OUTPUT when the file cannot be opened or read, or is empty;
///         ORV_E_FAILED, which is not logged, when the first number is 4294967295 or does not fit
///         32 bits. A negative number is counted down from 2^32: -1 is 4294967295.
ORV_API int share_status_get(const char* path);

// --- Record and list operations of connections ---------------------------------------------------

/// Zeroes every field but the link.
ORV_API void conn_conf_init(tag_share_conn* connection);
/// Zeroes every field but the link.
ORV_API void conn_conf_fini(tag_share_conn* connection);
/// Prints the record as one line.
/// @return the result of the last `printf`, which prints the user
ORV_API int conn_conf_show(const tag_share_conn* connection);
/// Clears the anchor's fields and makes the list empty.
ORV_API void conn_list_init(tag_shareconn_list* list);
/// Releases every record. @return 0; -1 for a NULL list, after printing "Can't destory NULL list"
ORV_API int conn_list_fini(tag_shareconn_list* list);
/// Prints every record; for a NULL list "Can't show NULL list".
ORV_API void conn_list_show(const tag_shareconn_list* list);

// --- Connections ---------------------------------------------------------------------------------

/// Lists the connected clients: FTP, then SMB, then iSCSI. The list is initialised first: records
/// that it holds are forgotten and not released.
/// @return ORV_OK, or the code of the first source that failed; what was listed before stays:
///         ORV_E_COMMAND, ORV_E_NETSTAT, ORV_E_SMBSTATUS, ORV_E_EXPORTS, or ORV_E_FAILED for a NULL
///         list
ORV_API int share_conn_get(tag_shareconn_list* list);

/// Appends the FTP clients that "netstat" prints with an IPv4 address; other addresses are logged.
/// @return ORV_OK; ORV_E_COMMAND when the tool failed; ORV_E_NETSTAT when its output cannot be
///         opened; ORV_E_FAILED for a NULL list
ORV_API int get_conninfo_from_netstat(tag_shareconn_list* list);

/// Appends the SMB clients, one record for each session that "smbstatus" lists. A record that is in
/// the list already and holds the number of a process as its protocol is completed with them.
/// @return ORV_OK; ORV_E_COMMAND when "smbstatus" failed; ORV_E_SMBSTATUS when its output cannot be
///         opened; ORV_E_FAILED for a NULL list
ORV_API int get_conninfo_from_smbstatus(tag_shareconn_list* list);

/// Appends the sessions of the iSCSI target, each with the address of its first connection; none
/// when the target is not loaded. A line that is cut short before its name opens none: a session
/// without an initiator is not listed, one below a target without a name has an empty `share`.
/// @return ORV_OK; ORV_E_COMMAND when the sessions cannot be copied; ORV_E_EXPORTS when the copy
///         cannot be opened; ORV_E_FAILED for a NULL list
ORV_API int get_conninfo_from_session(tag_shareconn_list* list);

/// @return ORV_OK when `text` is an IPv4 address in dotted form; ORV_E_FAILED when not, which is
///         not logged
ORV_API int check_ip(const char* text);

// --- Limits of the FTP service -------------------------------------------------------------------

// The limits stand in "/etc/vsftpd.conf". A change takes the lock "/var/lib/orv/lock/vsftpd.conf",
// for which it waits up to ten seconds. Where the lock file cannot be made, the change goes on
// without it; programs that do not know this lock are not kept from the file. Readers take none.
// Lines may have any length.

/// Reads the limits. A limit that is not in the file leaves its output as it was; of several lines
/// the last counts; a text that begins with no number is 0, a number above 4294967295 is that.
/// @param rate     bytes per second of a local user, 0 for no limit
/// @param clients  connections at the same time, 0 for no limit
/// @param per_ip   connections at the same time from one address, 0 for no limit
/// @return ORV_OK; ORV_E_FTP_CONFIG when the file cannot be opened or read; ORV_E_FAILED when an
///         output is NULL. The outputs are unchanged on failure.
ORV_API int ftp_share_para_get(unsigned int* rate, unsigned int* clients, unsigned int* per_ip);

/// Replaces the limits that the file holds and commits it; a limit that it does not hold is not
/// added. Comment lines and empty lines go, and the white space around a line. A value above
/// 2147483647 is written as a negative number. The new file keeps owner and mode; the FTP server
/// sees it after a restart.
/// @return ORV_OK; ORV_E_FTP_CONFIG when the file cannot be opened or read, or another change keeps
///         the lock; ORV_E_FTP_TEMPORARY when the new file cannot be made; ORV_E_COMMAND when it
///         cannot be moved into place. The file is unchanged on failure; a temporary file stays in
///         /tmp after ORV_E_COMMAND, and after ORV_E_FTP_CONFIG when the lock was taken.
ORV_API int ftp_share_para_set(unsigned int rate, unsigned int clients, unsigned int per_ip);

#endif
