#ifndef ORVCTL_DISK_SELECTION_H
#define ORVCTL_DISK_SELECTION_H

#include <string>

#include "tools/orvctl/records.h"
#include "tools/orvctl/table.h"

namespace orvctl {

table disk_table(const disk_list& disks);
/// Of these disks the hot spares.
table spare_table(const disk_list& disks);

/// The disks of some channels of an enclosure. The command ends when the disks cannot be listed or
/// a channel has none.
class disk_selection {
 public:
  disk_selection(const std::string& channels, const std::string& enclosure);

  /// Also the request that the library's functions on disks take.
  disk_list& disks() & { return selected_; }

 private:
  disk_list selected_;
};

/// The device names of so many channels of an enclosure, as "sda,sdb" in the order of the disk
/// list. The command ends when another number of them has a disk with a name.
std::string device_names(const std::string& channels, const std::string& enclosure, int expected);

/// The disks of some channels and what uses each of them: what a command that wipes them destroys.
table disk_losses(const std::string& channels, const std::string& enclosure);

}  // namespace orvctl

#endif
