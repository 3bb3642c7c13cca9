#include <orv/service.h>

#include "common/command.h"

int smb_start() { return orv::run(orv::command("/etc/init.d/samba start > /dev/null")); }

int smb_stop() { return orv::run(orv::command("/etc/init.d/samba stop > /dev/null")); }

int nfs_start() { return orv::run(orv::command("/etc/init.d/nfs start > /dev/null")); }

int nfs_stop() { return orv::run(orv::command("/etc/init.d/nfs stop > /dev/null")); }

int ftp_start() { return orv::run(orv::command("/etc/init.d/vsftpd start > /dev/null")); }

int ftp_stop() { return orv::run(orv::command("/etc/init.d/vsftpd stop > /dev/null")); }

int iscsi_start() { return orv::run(orv::command("/etc/init.d/iscsi-target start > /dev/null")); }

int iscsi_stop() { return orv::run(orv::command("/etc/init.d/iscsi-target stop > /dev/null")); }
