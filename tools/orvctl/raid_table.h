#ifndef ORVCTL_RAID_TABLE_H
#define ORVCTL_RAID_TABLE_H

#include <string>

#include "tools/orvctl/records.h"
#include "tools/orvctl/table.h"

namespace orvctl {

table raid_table(const raid_list& arrays);

/// The members of an array, each with its name and state.
json array_members(const tag_md_info& array);

/// One array of the machine, found by its name. The command ends when there is none.
class named_array {
 public:
  explicit named_array(const std::string& name);

  tag_md_info& array() { return *array_; }
  /// The array alone, as `raid list` shows it.
  table shown() const;

 private:
  raid_list arrays_;
  tag_md_info* array_ = nullptr;
};

}  // namespace orvctl

#endif
