#include "tools/orvctl/share_in_use.h"

#include "tools/orvctl/errors.h"
#include "tools/orvctl/fields.h"

namespace orvctl {
namespace {

problem out_of_use(const std::string& name) {
  problem result = library_problem(ORV_E_NO_SHARE, name + " is out of use");
  result.advice =
      "take it into use with 'orvctl share enable', or see 'orvctl recycle --help' and "
      "'orvctl share forget --help'";
  return result;
}

}  // namespace

share_in_use::share_in_use(const std::string& name, const std::string& service) {
  share_conf_init(&record_);
  share_list listed;
  read_listed(listed);
  if (const tag_share_config* found = find_share(listed, name)) {
    record_ = *found;
    if (*record_.service == '\0') throw out_of_use(name);
  } else {
    if (service.empty()) throw library_problem(ORV_E_NO_SHARE, name);
    set_field(record_.name, name, "the name of the share");
  }
  if (!service.empty()) set_field(record_.service, service, "the service");
  read_service(before_, record_.service);
  take_service_settings();
}

void share_in_use::take_service_settings() {
  const tag_share_config* live = find_share(before_, record_.name);
  if (live == nullptr) return;
  liborv_strncpy(record_.valid_users, sizeof record_.valid_users, live->valid_users);
  record_.writable = live->writable;
  if (*record_.path == '\0') liborv_strncpy(record_.path, sizeof record_.path, live->path);
}

void share_in_use::settle(int result, const tag_share_config& changed) const {
  const bool changed_files = result == ORV_OK || result == ORV_E_NO_SHARE;
  if (changed_files && service() == "nfs") keep_read_only(before_, changed);
  if (result == ORV_E_NO_SHARE) {
    throw library_problem(result, "one of its two files did not have it; the other was changed");
  }
  check(result);
}

}  // namespace orvctl
