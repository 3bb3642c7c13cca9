#include "bindings/python/share_changes.h"

#include <functional>
#include <string>

#include "bindings/python/failures.h"
#include "tools/orvctl/share_files.h"
#include "tools/orvctl/share_in_use.h"
#include "tools/orvctl/user_lists.h"

namespace orv_python {
namespace {

/// What a call says of a share's settings; what it does not say stays as it is.
struct settings {
  const maybe<share_comment>& comment;
  const maybe<share_users>& users;
  const maybe<flag>& writable;

  void apply(tag_share_config& request) const {
    if (comment.c()) fill(request.comment, *comment.c());
    if (users.c()) fill(request.valid_users, *users.c());
    if (writable.c()) request.writable = writable.c()->c() ? 1 : 0;
  }
};

[[noreturn]] void refuse(const std::string& why) { throw orvctl::usage_problem(why, ""); }

void must_suit(const settings& given, const std::string& service) {
  if (service != "ftp" || (!given.users.c() && !given.writable.c())) return;
  refuse("an FTP share has no users and rights of its own");
}

std::string text_of(const maybe<service>& by) { return by.c() ? by.c()->c() : ""; }

int ok_where(int result, int expected) {
  return result == expected ? static_cast<int>(ORV_OK) : result;
}

// --- Adding --------------------------------------------------------------------------------------

// What the library would store in a way that it cannot find again.
void must_make_sense(const std::string& name, const std::string& service, const std::string& path) {
  if (name.empty()) refuse("the name is empty");
  if (!path.starts_with('/')) refuse("the path is not absolute");
  if (service == "nfs" && name != path.substr(path.rfind('/') + 1)) {
    refuse("NFS knows a share by the last part of its path, which must be its name");
  }
}

// Asked here too, since an FTP share that exists is added with the result ORV_OK.
void must_be_new(const char* name) {
  orvctl::share_list listed;
  orvctl::read_listed(listed);
  for (const tag_share_config& share : listed) {
    if (share.name == std::string(name)) throw failure{ORV_E_SHARE_EXISTS, name};
  }
}

// When the service's file is locked, the share is in "/etc/sharefolder.conf" already: adding it
// once more would only say so and forget its users, and so it is modified.
int add_with_patience(tag_share_config& request) {
  bool listed = false;
  const int result = orvctl::with_patience([&] {
    if (listed) return share_mod(&request);
    const int added = share_add(&request);
    listed = added == ORV_E_SERVICE_LOCKED;
    return added;
  });
  return listed ? ok_where(result, ORV_E_NO_SHARE) : result;
}

// --- Out of use ----------------------------------------------------------------------------------

// An attempt that meets a lock may have done a part of the work, which the next one then misses.
int park(const tag_share_config& share) {
  bool begun = false;
  const int result = orvctl::with_patience([&] {
    tag_share_config request = share;
    const int parked = share_set_use(&request);
    begun = begun || parked == ORV_E_SERVICE_LOCKED;
    return parked;
  });
  return begun ? ok_where(result, ORV_E_NO_SHARE) : result;
}

tag_share_config share_out_of_use(const char* name) {
  orvctl::share_list listed;
  orvctl::read_listed(listed);
  const tag_share_config* found = orvctl::find_share(listed, name);
  if (found == nullptr) throw failure{ORV_E_NO_SHARE, name};
  if (*found->service != '\0') throw failure{ORV_E_SHARE_EXISTS, std::string(name) + " is in use"};
  return *found;
}

bool is_kept(const tag_share_config& kept, const tag_share_config& wanted) {
  return kept.name == std::string(wanted.name) && kept.service == std::string(wanted.service);
}

// The settings that the recycle file of this service keeps, if it has the share.
bool take_parked_settings(tag_share_config& request) {
  orvctl::share_list parked;
  orvctl::read_parked(parked);
  for (const tag_share_config& share : parked) {
    if (!is_kept(share, request)) continue;
    liborv_strncpy(request.valid_users, sizeof request.valid_users, share.valid_users);
    request.writable = share.writable;
    return true;
  }
  return false;
}

}  // namespace

void share_add_safely(const share_name& name, const service& by, const share_path& path,
                      const bytes_in_gib& size, const maybe<share_comment>& comment,
                      const maybe<share_users>& users, const maybe<flag>& writable) {
  const settings given{comment, users, writable};
  must_make_sense(name.c(), by.c(), path.c());
  must_suit(given, by.c());
  must_be_new(name.c());
  tag_share_config request;
  share_conf_init(&request);
  fill(request.name, name);
  fill(request.path, path);
  fill(request.service, by);
  request.size = size.c();
  given.apply(request);
  orvctl::share_list before;
  orvctl::read_service(before, by.c());
  const int result = add_with_patience(request);
  // Of a share that another process was first to add the library has changed the service's file.
  if (result != ORV_E_SHARE_EXISTS) check(result);
  orvctl::give_user_lists_back(by.c(), before);
  if (by.c() == std::string("nfs")) orvctl::keep_read_only(before, request);
  check(result);
}

void share_modify_safely(const share_name& name, const maybe<service>& by,
                         const maybe<share_comment>& comment, const maybe<share_users>& users,
                         const maybe<flag>& writable) {
  const settings given{comment, users, writable};
  const orvctl::share_in_use share(name.c(), text_of(by));
  must_suit(given, share.service());
  tag_share_config request = share.record();
  given.apply(request);
  const int result = orvctl::with_patience([&] { return share_mod(&request); });
  // The library adds a share to a file that does not have it, and has no file of an FTP share.
  share.settle(ok_where(result, ORV_E_NO_SHARE), request);
}

void share_delete_safely(const share_name& name, const maybe<service>& by) {
  const orvctl::share_in_use share(name.c(), text_of(by));
  const std::string used_by = share.service();
  const int result = orvctl::with_patience([&] { return share_del(name.c(), used_by.c_str()); });
  share.settle(result, share.record());
}

void share_disable_safely(const share_name& name) {
  const orvctl::share_in_use share(name.c());
  if (share.service() == "iscsi") {
    refuse("nothing keeps the settings of an iSCSI volume that is out of use");
  }
  tag_share_config kept = share.record();
  const int result = share.service() == "ftp" ? ftp_set_use(&kept) : park(kept);
  share.settle(result, share.record());
}

void share_enable_safely(const share_name& name, const service& by,
                         const maybe<share_comment>& comment, const maybe<share_users>& users,
                         const maybe<flag>& writable) {
  const settings given{comment, users, writable};
  must_suit(given, by.c());
  const bool nfs = by.c() == std::string("nfs");
  if (nfs && !writable.c()) refuse("NFS keeps no right: say whether the share is to be writable");
  tag_share_config request = share_out_of_use(name.c());
  fill(request.service, by);
  const bool parked = take_parked_settings(request);
  given.apply(request);
  orvctl::share_list before;
  orvctl::read_service(before, by.c());
  // The service's file does not have a share that is out of use: the library adds it and says so.
  check(ok_where(orvctl::with_patience([&] { return share_mod(&request); }), ORV_E_NO_SHARE));
  if (nfs) orvctl::keep_read_only(before, request);
  if (!parked) return;
  // Of the two recycle files one misses the share.
  check(ok_where(orvctl::with_patience([&] { return share_recy_del(name.c()); }), ORV_E_NO_SHARE));
}

void share_forget_safely(const share_name& name) {
  share_out_of_use(name.c());
  check(
      ok_where(orvctl::with_patience([&] { return forbid_share_del(name.c()); }), ORV_E_NO_SHARE));
}

std::vector<tag_share_config> shares_out_of_use() {
  orvctl::share_list parked;
  orvctl::share_list listed;
  orvctl::read_parked(parked);
  orvctl::read_listed(listed);
  std::vector<tag_share_config> all;
  for (const tag_share_config& share : parked) all.push_back(share);
  for (const tag_share_config& share : listed) {
    if (*share.service == '\0' && orvctl::find_share(parked, share.name) == nullptr) {
      all.push_back(share);
    }
  }
  return all;
}

}  // namespace orv_python
