#include "tools/orvctl/inventory.h"

#include "tools/orvctl/quiet_output.h"

namespace orvctl {

inventory::inventory() : services(service_states()), facts(machine_facts()) {
  sources = {
      {"disks", disks_info_get(disks.get())},
      {"arrays", raid_get(arrays.get())},
      {"volume_groups", vg_get(groups.get())},
      {"pools", pool_get(pools.get())},
      {"file_systems", fs_get(file_systems.get())},
      {"shares", share_get(shares.get())},
      {"clients", without_notes([this] { return share_conn_get(clients.get()); })},
      {"alarms", alarm_get(alarms.get())},
  };
}

}  // namespace orvctl
