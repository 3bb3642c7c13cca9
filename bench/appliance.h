/// What stands on the simulated machine: its storage, shares, users and clients, as many as wanted.
#pragma once

namespace bench {

struct storage {
  int disks = 4;
  int arrays = 1;  ///< each one with a volume group of its own
  int pools = 1;   ///< each one with a mounted file system
};

void set_storage(const storage& wanted);

/// Shares of Samba, in turn with NFS and iSCSI ones when `mixed`, and their files.
enum class services { samba, mixed };
void set_shares(int count, services used = services::mixed);

/// The appliance's mount table alone.
void set_mount_table(int entries);

/// Users in the user file, and in the account files with a group each; the tools know how to add a
/// "newcomer".
void set_users(int count);

/// Daemons that run, and the model with a tool for the state of its power supplies.
void set_services();

/// Clients of FTP, Samba and iSCSI, a third of each.
void set_connections(int count);

}  // namespace bench
