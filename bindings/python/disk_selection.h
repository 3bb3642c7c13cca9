#ifndef ORV_PYTHON_DISK_SELECTION_H
#define ORV_PYTHON_DISK_SELECTION_H

#include <orv/scoped.h>

namespace orv_python {

/// The disks of some channels (a list with commas) of an enclosure. The call ends when the disks
/// cannot be listed or a channel has none.
orv::disk_list disks_of(const char* wanted, const char* place);

}  // namespace orv_python

#endif
