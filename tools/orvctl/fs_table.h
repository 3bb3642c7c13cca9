#ifndef ORVCTL_FS_TABLE_H
#define ORVCTL_FS_TABLE_H

#include "tools/orvctl/records.h"
#include "tools/orvctl/table.h"

namespace orvctl {

table fs_table(const fs_list& systems);

}  // namespace orvctl

#endif
