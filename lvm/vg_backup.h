#ifndef ORV_LVM_VG_BACKUP_H
#define ORV_LVM_VG_BACKUP_H

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "common/handles.h"

namespace orv {

/// Opens LVM's backup of a group's metadata. Empty when there is none.
unique_file open_backup(const char* vgname);

/// Looks for a physical volume's identifier, in the line directly above the one of its device.
/// @param identifier  empty when the backup has none; that of a line without two quotes is ""
/// @return false, with `errno`, when the backup cannot be read
bool find_identifier(FILE* backup, std::string_view device, std::optional<std::string>& identifier);

}  // namespace orv

#endif
