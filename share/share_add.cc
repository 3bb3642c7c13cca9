#include "common/log.h"
#include "common/text.h"
#include "share/share_change.h"
#include "share/share_index.h"
#include "share/share_list.h"

namespace {

/// The shares in a service's file, by name. The names of iSCSI targets are looked up without their
/// time stamps.
class service_shares {
 public:
  explicit service_shares(tag_shareconf_list* list) : list_(list) {
    for (tag_share_config& share : orv::records(list)) index(share);
  }

  tag_share_config* find(const tag_share_config& share) const {
    return (orv::is_iscsi(share) ? by_unstamped_name_ : by_name_).find(orv::text_of(share.name));
  }

  void append(const tag_share_config& share) { index(orv::append_copy(list_, share)); }

 private:
  void index(tag_share_config& share) {
    by_name_.add(orv::text_of(share.name), share);
    by_unstamped_name_.add(orv::without_stamp(orv::text_of(share.name)), share);
  }

  tag_shareconf_list* list_;
  orv::share_index by_name_;
  orv::share_index by_unstamped_name_;
};

/// The share list holds no users: those of the service's file are lost here, as documented.
void update(tag_share_config& listed, const tag_share_config& share) {
  orv::set_text(listed.path, orv::text_of(share.path));
  orv::set_text(listed.valid_users, orv::text_of(share.valid_users));
  orv::set_text(listed.comment, orv::text_of(share.comment));
}

/// Brings a service's list in line with every share of that service.
void bring_in_line(tag_shareconf_list* service_list, tag_shareconf_list* shares,
                   std::string_view service) {
  service_shares listed(service_list);
  for (const tag_share_config& share : orv::records(shares)) {
    if (tag_share_config* const match = listed.find(share)) {
      update(*match, share);
    } else if (orv::text_of(share.service) == service) {
      listed.append(share);
    }
  }
}

int add(const tag_share_config& share) {
  orv::locked_files locks;
  orv::share_file shares(&orv::sharefolder, locks);
  int result = shares.open(ORV_E_SHARES_LOCKED);
  if (result != ORV_OK) return result;
  if (!orv::add_share(shares.list(), share)) {
    result = ORV_E_SHARE_EXISTS;
  } else if (shares.write() != ORV_OK) {
    return ORV_E_SHARES_WRITE;
  }

  const std::string_view word = orv::text_of(share.service);
  orv::share_file service(orv::find_mode(orv::share_mode_table, word), locks);
  if (service.has_no_file()) return ORV_OK;
  const int opened = service.open(ORV_E_SERVICE_LOCKED);
  if (opened != ORV_OK) return opened;
  bring_in_line(service.list(), shares.list(), word);
  return service.write() == ORV_OK ? result : ORV_E_SERVICE_WRITE;
}

}  // namespace

int share_add(tag_share_config* share) try {
  if (!orv::is_request(share)) return orv::log_missing_argument();
  return orv::finish(add(orv::as_stored(*share)));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
