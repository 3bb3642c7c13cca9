#ifndef ORV_LVM_VG_BACKUP_H
#define ORV_LVM_VG_BACKUP_H

#include <cstdio>
#include <string>
#include <string_view>

#include "common/handles.h"

namespace orv {

/// Opens LVM's backup of a group's metadata. Empty when there is none.
unique_file open_backup(const char* vgname);

/// The identifier of a physical volume, from the line directly above the one of its device. Empty
/// when the backup has none.
std::string identifier_of(FILE* backup, std::string_view device);

}  // namespace orv

#endif
