#ifndef ORV_LVM_VG_BACKUP_H
#define ORV_LVM_VG_BACKUP_H

#include "common/handles.h"

namespace orv {

/// Opens LVM's backup of a group's metadata. Empty when there is none.
unique_file open_backup(const char* vgname);

}  // namespace orv

#endif
