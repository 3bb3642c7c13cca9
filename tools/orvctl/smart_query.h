#ifndef ORVCTL_SMART_QUERY_H
#define ORVCTL_SMART_QUERY_H

#include <string>

#include "tools/orvctl/records.h"
#include "tools/orvctl/table.h"

namespace orvctl {

/// What disks are asked for.
enum class smart_part { summary, attributes };

/// Asks every disk of a list. What was asked for before stays in the records.
/// @return ORV_OK or the code of the last disk
int ask_smart(disk_list& disks, smart_part wanted);

/// A text of a summary; what a disk does not tell stays "NaN", and is null here.
json told(const char* text);

/// The temperature among a disk's attributes; null when it tells none.
json temperature_of(const tag_disk_info& disk);

}  // namespace orvctl

#endif
