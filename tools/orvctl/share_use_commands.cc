#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/confirm.h"
#include "tools/orvctl/errors.h"
#include "tools/orvctl/share_files.h"
#include "tools/orvctl/share_in_use.h"
#include "tools/orvctl/share_settings.h"

namespace orvctl {
namespace {

struct name_arguments {
  std::string name;
};

// An attempt that meets a lock may have done a part of the work, which the next one then misses.
int park(const tag_share_config& share) {
  bool begun = false;
  const int result = with_patience([&] {
    tag_share_config request = share;
    const int parked = share_set_use(&request);
    begun = begun || parked == ORV_E_SERVICE_LOCKED;
    return parked;
  });
  return begun && result == ORV_E_NO_SHARE ? static_cast<int>(ORV_OK) : result;
}

int take_out_of_use(session& run, const tag_share_config& share) {
  if (share.service != std::string("ftp")) return park(share);
  confirm(run, "The directory of this share is unmounted, and its mount point is removed.",
          [&] { return share_row(share); });
  tag_share_config request = share;
  return ftp_set_use(&request);
}

// The share may be gone from its service by then: this is the last place that knows its users.
void must_be_kept(int result, const tag_share_config& kept) {
  if (result == ORV_OK || result == ORV_E_NO_SHARE || *kept.valid_users == '\0') return;
  throw library_problem(result,
                        std::string("the users of ") + kept.name + " were " + kept.valid_users);
}

void disable(session& run, const share_arguments& given) {
  const share_in_use share(given.name, given.service);
  if (share.service() == "iscsi") {
    throw usage_problem("nothing keeps the settings of an iSCSI volume that is out of use",
                        "delete the share, and add it again when it is needed");
  }
  must_suit_service(given.settings, share.service());
  tag_share_config kept = share.record();
  apply(given.settings, kept);
  const int result = take_out_of_use(run, kept);
  must_be_kept(result, kept);
  share.settle(result, kept);
  report(run, "The share " + given.name + " is out of use.",
         {{"share", given.name}, {"service", share.service()}});
}

tag_share_config share_out_of_use(const std::string& name) {
  share_list listed;
  read_listed(listed);
  const tag_share_config* found = find_share(listed, name);
  if (found == nullptr) throw library_problem(ORV_E_NO_SHARE, name);
  if (*found->service == '\0') return *found;
  problem in_use = library_problem(ORV_E_SHARE_EXISTS, name + " is in use");
  in_use.advice = "take it out of use first, with 'orvctl share disable'";
  throw in_use;
}

// The settings that the recycle file of this service keeps, if it has the share.
bool take_parked_settings(tag_share_config& request) {
  share_list parked;
  read_parked(parked);
  for (const tag_share_config& share : parked) {
    if (std::string(share.name) != request.name || std::string(share.service) != request.service) {
      continue;
    }
    liborv_strncpy(request.valid_users, sizeof request.valid_users, share.valid_users);
    request.writable = share.writable;
    return true;
  }
  return false;
}

// The service's file does not have a share that is out of use: the library adds it and says so.
void check_added(int result) {
  if (result != ORV_E_NO_SHARE) check(result);
}

void enable(session& run, const share_arguments& given) {
  must_suit_service(given.settings, given.service);
  if (given.service == "nfs" && !given.settings.sets_right()) {
    throw usage_problem("a share of NFS does not keep its right while it is out of use",
                        "give --read-only or --read-write");
  }
  tag_share_config request = share_out_of_use(given.name);
  set_field(request.service, given.service, "the service");
  const bool parked = take_parked_settings(request);
  apply(given.settings, request);
  share_list before;
  read_service(before, given.service);
  check_added(with_patience([&] { return share_mod(&request); }));
  if (given.service == "nfs") keep_read_only(before, request);
  if (parked) check_added(with_patience([&] { return share_recy_del(given.name.c_str()); }));
  report(run, "The share " + given.name + " is in use (" + given.service + ").",
         {{"share", given.name}, {"service", given.service}});
}

void forget(session& run, const name_arguments& given) {
  must_be_answerable(run);
  const tag_share_config share = share_out_of_use(given.name);
  confirm(run, "This share and the settings kept of it are removed; the files in it stay.",
          [&] { return share_row(share); });
  // No share is in both recycle files, and so one always misses it.
  const int result = with_patience([&] { return forbid_share_del(given.name.c_str()); });
  if (result != ORV_E_NO_SHARE) check(result);
  report(run, "The share " + given.name + " is forgotten.", {{"share", given.name}});
}

}  // namespace

void add_share_use_commands(CLI::App& share, session& run) {
  CLI::App& disabling =
      add_destroying_verb(share, run, "disable", "Take a share out of use and keep its settings",
                          "orvctl share disable data");
  on_run(disabling, run, add_share_arguments(disabling, other_service), disable);

  CLI::App& enabling = add_changing_verb(
      share, run, "enable", "Take a share into use again, with the settings kept of it",
      "orvctl share enable data --service samba");
  on_run(enabling, run, add_share_arguments(enabling, "samba, nfs, ftp or iscsi", true), enable);

  const auto forgotten = std::make_shared<name_arguments>();
  CLI::App& forgetting = add_destroying_verb(
      share, run, "forget", "Remove a share that is out of use, and the settings kept of it",
      "orvctl share forget data");
  add_word(forgetting, "NAME", forgotten->name, "name of the share");
  on_run(forgetting, run, forgotten, forget);
}

}  // namespace orvctl
