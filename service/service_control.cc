#include <orv/service.h>

#include "common/command.h"
#include "common/log.h"

namespace {

int control(const char* form, const char* function = __builtin_FUNCTION()) try {
  return orv::run(orv::command(form));
} catch (const std::bad_alloc&) {
  return orv::without_memory(ORV_E_COMMAND, function);
}

}  // namespace

int smb_start() { return control("/etc/init.d/samba start > /dev/null"); }

int smb_stop() { return control("/etc/init.d/samba stop > /dev/null"); }

int nfs_start() { return control("/etc/init.d/nfs start > /dev/null"); }

int nfs_stop() { return control("/etc/init.d/nfs stop > /dev/null"); }

int ftp_start() { return control("/etc/init.d/vsftpd start > /dev/null"); }

int ftp_stop() { return control("/etc/init.d/vsftpd stop > /dev/null"); }

int iscsi_start() { return control("/etc/init.d/iscsi-target start > /dev/null"); }

int iscsi_stop() { return control("/etc/init.d/iscsi-target stop > /dev/null"); }
