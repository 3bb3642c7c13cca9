#ifndef ORVCTL_SHARE_FILES_H
#define ORVCTL_SHARE_FILES_H

#include <functional>
#include <string>
#include <vector>

#include "tools/orvctl/records.h"

/// What the files of the shares say, read under their locks as the library's changes read them. A
/// file that cannot be read ends the command.

namespace orvctl {

/// The library does not wait for a lock, and those of the appliance are held for a moment only:
/// tries again for a second while another process holds it.
/// @return the last result of the attempt
int with_patience(const std::function<int()>& attempt);

/// Appends the shares of "/etc/sharefolder.conf". They have no users, and all of them are writable.
void read_listed(share_list& shares);

/// Appends the shares of a service's own file, with users and rights; none for FTP.
void read_service(share_list& shares, const std::string& service);

/// Appends the shares out of use that the recycle files of Samba and NFS keep. Those of NFS are
/// always writable.
void read_parked(share_list& shares);

/// The record of this name, or NULL. Of the names of iSCSI volumes the time stamp does not count.
const tag_share_config* find_share(const share_list& shares, const std::string& name);

/// Takes and leaves the lock of each share file: who takes it puts a file together again that a
/// power cut, or the end of a process, left half rewritten. One that cannot be made whole ends the
/// command when the others have been tried.
/// @return the paths of those files
std::vector<std::string> complete_share_files();

/// Every change of the NFS file makes all of its shares writable, as read-only is not read back.
/// This makes those read-only again that were before, and the changed one what it is to be.
/// @param before  the file's shares before the change
void keep_read_only(const share_list& before, const tag_share_config& changed);

}  // namespace orvctl

#endif
