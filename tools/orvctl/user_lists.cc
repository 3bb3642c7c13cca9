#include "tools/orvctl/user_lists.h"

#include <map>

#include "tools/orvctl/errors.h"

namespace orvctl {
namespace {

using shares_by_name = std::map<std::string, const tag_share_config*>;

shares_by_name by_name(const share_list& shares) {
  shares_by_name all;
  for (const tag_share_config& share : shares) all.emplace(share.name, &share);
  return all;
}

const tag_share_config* find(const shares_by_name& shares, const std::string& name) {
  const auto found = shares.find(name);
  return found == shares.end() ? nullptr : found->second;
}

// "*" is how NFS writes an empty list.
bool has_list(const tag_share_config& share) {
  const std::string users = share.valid_users;
  return !users.empty() && users != "*";
}

/// The name by which a target is listed: without its time stamp.
std::string listed_name(const std::string& service, const std::string& name) {
  return service == "iscsi" ? name.substr(0, name.find('.')) : name;
}

/// The shares as `share_add` left them.
struct appliance_shares {
  explicit appliance_shares(const std::string& service) {
    read_service(live_, service);
    read_listed(listed_);
    live = by_name(live_);
    listed = by_name(listed_);
  }

  shares_by_name live;
  shares_by_name listed;

 private:
  share_list live_;
  share_list listed_;
};

bool lost_its_list(const tag_share_config& before, const appliance_shares& now) {
  if (!has_list(before)) return false;
  const tag_share_config* live = find(now.live, before.name);
  return live != nullptr && !has_list(*live);
}

/// The change that gives a share its list back and leaves the rest as it is.
tag_share_config request_of(const tag_share_config& before, const tag_share_config& listed,
                            const std::string& service) {
  tag_share_config request = listed;
  liborv_strncpy(request.service, sizeof request.service, service.c_str());
  liborv_strncpy(request.valid_users, sizeof request.valid_users, before.valid_users);
  request.writable = before.writable;
  return request;
}

class restoration {
 public:
  explicit restoration(const std::string& service) : service_(service), now_(service) {}

  void give_back(const tag_share_config& before) {
    if (!lost_its_list(before, now_)) return;
    const std::string name = listed_name(service_, before.name);
    const tag_share_config* listed = find(now_.listed, name);
    // A share that is out of use would be taken into use.
    if (listed == nullptr || *listed->service == '\0') return lose(before, ORV_E_NO_SHARE);
    tag_share_config request = request_of(before, *listed, service_);
    const int result = with_patience([&] { return share_mod(&request); });
    if (result != ORV_OK) return lose(before, result);
    restored_.push_back(name);
  }

  std::vector<std::string> restored() const {
    if (code_ != ORV_OK) throw library_problem(code_, "the users of " + lost_ + " are lost");
    return restored_;
  }

 private:
  void lose(const tag_share_config& before, int code) {
    lost_ +=
        (lost_.empty() ? "" : " and ") + std::string(before.name) + " (" + before.valid_users + ")";
    code_ = code;
  }

  const std::string& service_;
  appliance_shares now_;
  std::vector<std::string> restored_;
  std::string lost_;
  int code_ = ORV_OK;
};

}  // namespace

std::vector<std::string> give_user_lists_back(const std::string& service,
                                              const share_list& before) {
  if (service == "ftp") return {};
  restoration work(service);
  for (const tag_share_config& share : before) work.give_back(share);
  return work.restored();
}

}  // namespace orvctl
