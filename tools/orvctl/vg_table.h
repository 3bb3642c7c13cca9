#ifndef ORVCTL_VG_TABLE_H
#define ORVCTL_VG_TABLE_H

#include <string>

#include "tools/orvctl/records.h"
#include "tools/orvctl/table.h"

namespace orvctl {

table vg_table(const vg_list& groups);

/// One volume group, as `vg list` shows it. The command ends when there is none of this name.
table one_vg(const std::string& name);

}  // namespace orvctl

#endif
