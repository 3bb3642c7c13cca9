#include "tools/orvctl/service_states.h"

#include <orv/service.h>

#include "tools/orvctl/errors.h"

namespace orvctl {
namespace {

struct source {
  const char* name;
  int (*status)();
};

constexpr source sources[] = {
    {"samba", smb_status_get},   {"nfs", nfs_status_get}, {"ftp", ftp_status_get},
    {"iscsi", iscsi_status_get}, {"orv", orv_status_get},
};

json error_of(const service_state& state) {
  return is_running(state).is_null() ? json(library_problem(state.result).name) : json();
}

constexpr column<service_state> state_columns[] = {
    {"SERVICE", "name", form::text, [](const service_state& state) { return json(state.name); }},
    {"RUNNING", "running", form::state, is_running},
    {nullptr, "error", form::text, error_of},
};

}  // namespace

std::vector<service_state> service_states() {
  std::vector<service_state> states;
  for (const source& each : sources) states.push_back({each.name, each.status()});
  return states;
}

// A service that does not run, and one that cannot be asked for, give the same code.
json is_running(const service_state& state) {
  if (state.result == ORV_OK) return true;
  return state.result == ORV_E_COMMAND ? json(false) : json();
}

std::string service_of(const tag_share_config& share) {
  return share.service == std::string("iSCSI") ? "iscsi" : share.service;
}

table service_table(const std::vector<service_state>& states) {
  return make_table(state_columns, states);
}

}  // namespace orvctl
