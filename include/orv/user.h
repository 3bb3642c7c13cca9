#ifndef ORV_USER_H
#define ORV_USER_H

/// Users of the appliance. Each is kept in three places: the user file, the system's account files
/// and the SMB password file.
///
/// The user file "/etc/nas_userfile.conf" holds a line "NAME||PASSWORD" per user, the password in
/// clear text. A line is read trimmed and up to 255 characters of it; the name ends at the first
/// "|", the password begins behind the last one, and a line without "|" is a name with an empty
/// password. So a password with "|" or with white space at its end comes back from the file
/// shortened, and the next change of the file stores what came back. The login password and the SMB
/// password are not read from there and stay whole.
///
/// Changes print the users that they find in the user file on standard output, passwords included.
/// A password never appears in the error log. Files that hold passwords are made for their owner
/// alone (mode 0600); files that are there keep owner and mode.
///
/// `set_users_to_conf`, `sys_user_add`, `sys_user_delete` and `sys_user_modify` take the lock
/// "/var/lib/orv/lock/nas_userfile.conf" while they change the user file, and wait up to ten
/// seconds for it. When another change keeps it, the user file stays as it was: ORV_E_USER_FILE,
/// where the result tells of that file. Where the lock file cannot be made, the change goes on
/// without it. While the shadow file is rewritten, it is locked, as `lckpwdf` does and by a record
/// lock on the file itself; the first is waited for up to fifteen seconds, and ORV_E_SHADOW_LOCKED
/// is the result when one of them is refused. No lock holds from the beginning of a change to its
/// end: changes are to be made one at a time. Users may be listed and passwords checked from
/// several threads at once.

#include <orv/errors.h>
#include <orv/export.h>
#include <orv/list.h>

#include <cstddef>
#include <cstdio>

// --- Records -------------------------------------------------------------------------------------

/// One user; also the request that `sys_user_add` and `sys_user_modify` take.
struct tag_user_info {
  int uid;            ///< lowest user number wanted; 0 in records read from the user file
  int gid;            ///< 0: the group gets the user's number
  char name[24];      ///< login name
  char password[24];  ///< in clear text
  char type[4];       ///< "NAS" for a password of less than 12 characters, else "SAN"
  list_node node;     ///< link of its list
};

/// List of users.
struct tag_user_info_list : tag_user_info {};

static_assert(sizeof(tag_user_info) == 80 && offsetof(tag_user_info, gid) == 4 &&
              offsetof(tag_user_info, name) == 8 && offsetof(tag_user_info, password) == 32 &&
              offsetof(tag_user_info, type) == 56 && offsetof(tag_user_info, node) == 64);
static_assert(sizeof(tag_user_info_list) == sizeof(tag_user_info));

// --- Record and list operations ------------------------------------------------------------------

/// Clears uid, gid, name and password; the type stays as it is.
ORV_API void user_info_init(tag_user_info* user);
/// Clears uid, gid, name and password; the type stays as it is.
ORV_API void user_info_fini(tag_user_info* user);
/// Prints the record as one line, password included. @return the result of the last `printf`, which
/// prints the gid
ORV_API int user_info_show(const tag_user_info* user);
/// Clears the anchor's fields but the type and makes the list empty.
ORV_API void user_list_init(tag_user_info_list* list);
/// Releases every record. @return 0; -1 for a NULL list, after printing "Can't destory NULL list"
ORV_API int user_list_fini(tag_user_info_list* list);
/// Prints every record; for a NULL list "Can't show NULL list".
ORV_API void user_list_show(const tag_user_info_list* list);

// --- The user file -------------------------------------------------------------------------------

/// Initialises a list, as `user_list_init`, and fills it from the user file. Records that the list
/// holds already are not released.
/// @return as `get_users_from_conf`
ORV_API int sys_user_get(tag_user_info_list* list);

/// Appends the users of the user file to an initialised list, name, password and type filled.
/// @return ORV_OK; ORV_E_USER_FILE when the file is missing or cannot be read, and then the users
///         read before stay in the list; ORV_E_FAILED for a NULL list
ORV_API int get_users_from_conf(tag_user_info_list* list);

/// Rewrites the user file in place with the names and passwords of a list; a file that is missing
/// is made. A control character other than a tab is written as a blank, so that no value adds a
/// line. Takes the lock of the user file; when another change keeps it, nothing is written.
/// @return ORV_OK, also when the file could not be written: that is logged, and on a full disk the
///         file stays as it was; ORV_E_FAILED for a NULL list, and then the file is not touched
ORV_API int set_users_to_conf(tag_user_info_list* list);

// --- Changes -------------------------------------------------------------------------------------

/// Adds a user: checks that login name and numbers are free, makes the system account with
/// "adduser", writes a fresh MD5-crypt hash into the shadow file, makes the SMB user, appends the
/// user to the user file (a missing one counts as empty) and commits "/etc/passwd", "/etc/shadow",
/// "/etc/group", "/etc/samba/private/smbpasswd" and the user file. The name and the hash are
/// printed.
///
/// The numbers only decide whether the user is refused; "adduser" takes numbers of its own.
///
/// A name that is empty, begins with "-" or holds ":", "|" or a control character, a password that
/// holds a line end, and a name or password so long that a command does not fit its buffer are
/// refused with ORV_E_COMMAND before anything is changed. Every other character reaches the SMB
/// password as it is; the shell's `echo` must know "-e", as those of busybox and bash do.
///
/// @return ORV_OK. Nothing is changed with ORV_E_PASSWD_FILE when the password file cannot be read
///         and written, ORV_E_LOGIN_USED when the login name is in use, ORV_E_GROUP_USED when the
///         gid is 0 and a group has the login name, ORV_E_NO_UID when the first free number is
///         above 65000, ORV_E_FAILED when the password cannot be hashed, and ORV_E_COMMAND when
///         "adduser" failed.
///         With every other failure the system account stays, and the steps that were not reached
///         are not done: ORV_E_NO_SHADOW, ORV_E_SHADOW_OPEN, ORV_E_SHADOW_LOCKED,
///         ORV_E_SHADOW_BACKUP, ORV_E_SHADOW_CREATE, ORV_E_SHADOW_WRITE or ORV_E_SHADOW_RENAME when
///         the shadow file stays as "adduser" left it (with ORV_E_SHADOW_CREATE and
///         ORV_E_SHADOW_RENAME the new file that could not take its place may stay beside it as
///         "/etc/shadow+", empty and closed to all, or with its owner and mode, until the next
///         change replaces it); ORV_E_COMMAND when "smbpasswd" failed;
///         ORV_E_USER_FILE when the user file cannot be locked, read or written: it stays as it
///         was, and the other files are committed all the same.
ORV_API int sys_user_add(tag_user_info user);

/// Deletes a user: its SMB user, its system account, and every record of its name in the user file;
/// then commits the files that `sys_user_add` names. What fails does not keep the rest from being
/// done.
/// @return ORV_OK; ORV_E_USER_FILE when the user file cannot be locked, read or written, and it
///         stays as it was; else ORV_E_COMMAND when "userdel" failed
ORV_API int sys_user_delete(const char* name);

/// Deletes the user `oldname` as `sys_user_delete` does and adds the user given, with one commit at
/// the end. A name or password that can never be added is refused before anything is changed. When
/// the user cannot be added after that, the old one is gone: the log says what failed.
/// @return as `sys_user_add`
ORV_API int sys_user_modify(const char* oldname, tag_user_info user);

// --- Passwords -----------------------------------------------------------------------------------

/// Checks a password against the shadow file. A wrong one is not logged.
/// @return ORV_OK; ORV_E_NO_USER when there is no account of this name, after printing "invalide
///         username"; ORV_E_PASSWORD when the password is wrong, or when the shadow file has no
///         entry of this name whose third and fourth field are numbers, or cannot be opened
ORV_API int sys_user_validpwd(const char* name, const char* password);

/// Copies the whole content of an open stream into a file, which is made with mode 0600 or
/// overwritten, and gives it the stream's times of access and modification. A file that is there
/// loses the rights for others that the stream's file does not give. The stream ends up at its end.
/// @param path  must not be the stream's own file
/// @return 0; 1 on a failure (`errno` says why), and then the file may be incomplete
ORV_API int create_backup(const char* path, FILE* stream);

#endif
