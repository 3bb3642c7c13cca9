#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/errors.h"
#include "tools/orvctl/share_files.h"
#include "tools/orvctl/share_settings.h"
#include "tools/orvctl/user_lists.h"

namespace orvctl {
namespace {

struct add_arguments {
  std::string name;
  std::string service;
  std::string path;
  std::uint64_t size = 0;
  share_settings settings;
};

void list(session& run) {
  share_list shares;
  const int result = share_get(shares.get());
  show_list(run, "shares", share_table(shares), result);
}

void recover(session& run) {
  const std::vector<std::string> completed = complete_share_files();
  std::string sentence = completed.empty() ? "All share files are whole." : "Put together again:";
  for (const std::string& path : completed) sentence += ' ' + path;
  report(run, sentence, {{"completed", completed}});
}

// What the library would store in a way that it cannot find again.
void must_make_sense(const add_arguments& given) {
  if (given.name.empty()) throw usage_problem("the name of the share is empty", "give one");
  if (given.path.empty() || given.path.front() != '/') {
    throw usage_problem("'" + given.path + "' is not an absolute path", "begin it with '/'");
  }
  if (given.service == "nfs" && given.name != given.path.substr(given.path.rfind('/') + 1)) {
    throw usage_problem("NFS knows a share by the last part of its path",
                        "give the share that name");
  }
  must_suit_service(given.settings, given.service);
}

tag_share_config request_of(const add_arguments& given) {
  tag_share_config request;
  share_conf_init(&request);
  set_field(request.name, given.name, "the name of the share");
  set_field(request.path, given.path, "the path");
  set_field(request.service, given.service, "the service");
  request.size = given.size;
  apply(given.settings, request);
  return request;
}

// Asked here too, since an FTP share that exists is added with the result ORV_OK.
void must_be_new(const std::string& name) {
  share_list listed;
  read_listed(listed);
  for (const tag_share_config& share : listed) {
    if (name == share.name) throw library_problem(ORV_E_SHARE_EXISTS, name);
  }
}

std::string names_of(const std::vector<std::string>& shares) {
  std::string names;
  for (const std::string& name : shares) names += (names.empty() ? "" : ", ") + name;
  return names;
}

std::vector<std::string> repair_others(const tag_share_config& added, const share_list& before) {
  try {
    std::vector<std::string> restored = give_user_lists_back(added.service, before);
    if (added.service == std::string("nfs")) keep_read_only(before, added);
    return restored;
  } catch (problem& found) {
    found.detail = "the share was added, but the other shares of " + std::string(added.service) +
                   " were not repaired" + (found.detail.empty() ? "" : ": ") + found.detail;
    found.status = exit_status::partial;
    found.advice =
        "look at 'orvctl share list' and set users and rights with 'orvctl share modify'";
    throw;
  }
}

// When the service's file is locked, the share is in "/etc/sharefolder.conf" already: adding it
// once more would only say so and forget its users, and so it is modified.
int add_with_patience(tag_share_config& request) {
  bool listed = false;
  const int result = with_patience([&] {
    if (listed) return share_mod(&request);
    const int added = share_add(&request);
    listed = added == ORV_E_SERVICE_LOCKED;
    return added;
  });
  return listed && result == ORV_E_NO_SHARE ? static_cast<int>(ORV_OK) : result;
}

// Of a share that another process was first to add the library has changed the service's file.
void check_added(int result, const add_arguments& given) {
  if (result == ORV_E_SERVICE_LOCKED) {
    throw partial_problem(result, given.name + " is listed, but " + given.service +
                                      " does not know it yet; 'orvctl share modify' adds it there");
  }
  if (result != ORV_E_SHARE_EXISTS) check(result);
}

void add(session& run, const add_arguments& given) {
  must_make_sense(given);
  tag_share_config request = request_of(given);
  must_be_new(given.name);
  share_list before;
  read_service(before, given.service);
  const int result = add_with_patience(request);
  check_added(result, given);
  const std::vector<std::string> restored = repair_others(request, before);
  check(result);
  std::string sentence = "Added the share " + given.name + " (" + given.service + ").";
  if (!restored.empty()) sentence += "\nGave " + names_of(restored) + " their user lists back.";
  report(run, sentence,
         {{"share", given.name}, {"service", given.service}, {"user_lists_given_back", restored}});
}

void add_add_command(CLI::App& share, session& run) {
  const auto given = std::make_shared<add_arguments>();
  CLI::App& verb =
      add_changing_verb(share, run, "add", "Offer a directory or a volume to clients",
                        "orvctl share add data --service samba --path /mnt/data --users ann");
  add_word(verb, "NAME", given->name, "name of the share");
  add_service(verb, given->service, "samba, nfs, ftp or iscsi").required();
  add_option(verb, "--path", given->path, "absolute path of the directory or of the volume")
      .required()
      .type_name("PATH");
  add_option(verb, "--size", given->size, "size of the volume in GiB")
      .type_name("GIB")
      .check(limit);
  add_settings(verb, given->settings);
  on_run(verb, run, given, add);
}

}  // namespace

void add_share_commands(CLI::App& program, session& run) {
  CLI::App& share =
      add_noun(program, "share", "Shares: what clients reach over Samba, NFS, FTP and iSCSI",
               "orvctl share add data --service samba --path /mnt/data --users ann");
  add_list(share, run, "list", "Show all shares", "orvctl share list --json", list);
  add_add_command(share, run);
  add_share_change_commands(share, run);
  add_share_use_commands(share, run);
  on_run(add_verb(share, run, "recover",
                  "Put share files together again that a power cut left half rewritten",
                  "orvctl share recover"),
         run, recover);
}

}  // namespace orvctl
