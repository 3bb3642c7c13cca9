#ifndef ORVCTL_INVENTORY_H
#define ORVCTL_INVENTORY_H

#include <string>
#include <vector>

#include "tools/orvctl/machine_facts.h"
#include "tools/orvctl/records.h"
#include "tools/orvctl/service_states.h"

namespace orvctl {

/// The whole machine, asked once. A list that could not be read holds what was found by then.
class inventory {
 public:
  inventory();

  /// A list by its name in the JSON documents, and what asking for it came to.
  struct source {
    const char* name;
    int result;
  };

  disk_list disks;
  raid_list arrays;
  vg_list groups;
  pool_list pools;
  fs_list file_systems;
  share_list shares;
  client_list clients;
  alarm_list alarms;
  std::vector<service_state> services;
  std::vector<machine_fact> facts;
  std::vector<source> sources;
};

}  // namespace orvctl

#endif
