#ifndef ORVCTL_SERVICE_STATES_H
#define ORVCTL_SERVICE_STATES_H

#include <orv/share.h>

#include <string>
#include <vector>

#include "tools/orvctl/table.h"

namespace orvctl {

/// A service that shares, or the management daemon "orv", and what asking for it came to.
struct service_state {
  const char* name;
  int result;
};

std::vector<service_state> service_states();

/// Whether a service runs; null when that cannot be found out.
json is_running(const service_state& state);

/// The service that offers a share, by its name here; empty for a share out of use. Shares call one
/// of them "iSCSI".
std::string service_of(const tag_share_config& share);

table service_table(const std::vector<service_state>& states);

}  // namespace orvctl

#endif
