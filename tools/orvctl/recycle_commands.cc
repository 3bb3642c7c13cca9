#include <vector>

#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/confirm.h"
#include "tools/orvctl/errors.h"
#include "tools/orvctl/share_files.h"
#include "tools/orvctl/share_settings.h"

namespace orvctl {
namespace {

struct delete_arguments {
  std::string name;
};

// The exports do not tell a read-only share when they are read back.
json kept_right(const tag_share_config& share) {
  return share.service == std::string("samba") ? is_writable(share) : json();
}

constexpr column<tag_share_config> recycle_columns[] = {
    {"NAME", "name", form::text, [](const tag_share_config& s) { return text_value(s.name); }},
    {"FORMER SERVICE", "former_service", form::text,
     [](const tag_share_config& s) { return text_value(s.service); }},
    {"PATH", "path", form::text, [](const tag_share_config& s) { return text_value(s.path); }},
    {"USERS", "users", form::text,
     [](const tag_share_config& s) { return text_value(s.valid_users); }},
    {"WRITABLE", "writable", form::text, kept_right},
    {"COMMENT", "comment", form::text,
     [](const tag_share_config& s) { return text_value(s.comment); }},
};

/// The shares out of use: what the recycle files keep, and what only "/etc/sharefolder.conf" lists.
std::vector<tag_share_config> shares_out_of_use() {
  share_list parked;
  share_list listed;
  read_parked(parked);
  read_listed(listed);
  std::vector<tag_share_config> all;
  for (const tag_share_config& share : parked) all.push_back(share);
  for (const tag_share_config& share : listed) {
    if (*share.service == '\0' && find_share(parked, share.name) == nullptr) all.push_back(share);
  }
  return all;
}

std::vector<tag_share_config> of_name(const std::string& name, const std::string& service = "") {
  std::vector<tag_share_config> found;
  for (const tag_share_config& share : shares_out_of_use()) {
    if (name == share.name && (service.empty() || service == share.service)) found.push_back(share);
  }
  if (found.empty()) throw library_problem(ORV_E_NO_SHARE, name + " is not kept");
  return found;
}

void list(session& run) {
  const std::vector<tag_share_config> shares = shares_out_of_use();
  if (shares.empty() && !run.as_json) return report(run, "No share is out of use.", {});
  show_list(run, "kept_shares", make_table(recycle_columns, shares), ORV_OK);
}

// No recycle file keeps an FTP share: only "/etc/sharefolder.conf" has it.
void name_former_service(tag_share_config& share) {
  if (*share.service == '\0') set_field(share.service, "ftp", "the service");
}

void take_listed_comment(tag_share_config& share) {
  share_list listed;
  read_listed(listed);
  const tag_share_config* found = find_share(listed, share.name);
  if (found != nullptr) {
    liborv_strncpy(share.comment, sizeof share.comment, found->comment);
  }
}

void modify(session& run, const share_arguments& given) {
  must_set_something(given.settings);
  for (tag_share_config& share : of_name(given.name, given.service)) {
    name_former_service(share);
    must_suit_service(given.settings, share.service);
    take_listed_comment(share);
    apply(given.settings, share);
    check(with_patience([&] {
      tag_share_config request = share;
      return share_recy_mod(&request);
    }));
  }
  report(run, "Changed what is kept of the share " + given.name + ".", {{"share", given.name}});
}

void remove(session& run, const delete_arguments& given) {
  must_be_answerable(run);
  const std::vector<tag_share_config> doomed = of_name(given.name);
  confirm(run, "The settings kept of this share are removed; the share stays out of use.",
          [&] { return make_table(recycle_columns, doomed); });
  // Of the two recycle files one misses the share.
  const int result = with_patience([&] { return share_recy_del(given.name.c_str()); });
  if (result != ORV_E_NO_SHARE) check(result);
  report(run, "Nothing is kept of the share " + given.name + " any more.", {{"share", given.name}});
}

}  // namespace

void add_recycle_commands(CLI::App& program, session& run) {
  CLI::App& recycle = add_noun(program, "recycle", "What is kept of the shares that are out of use",
                               "orvctl recycle list");
  add_list(recycle, run, "list", "Show the shares that are out of use", "orvctl recycle list",
           list);

  CLI::App& modifying = add_changing_verb(recycle, run, "modify", "Change what is kept of a share",
                                          "orvctl recycle modify data --users ann");
  on_run(modifying, run,
         add_share_arguments(modifying, "former service, of a share that several have kept"),
         modify);

  const auto doomed = std::make_shared<delete_arguments>();
  CLI::App& removing = add_destroying_verb(recycle, run, "delete", "Remove what is kept of a share",
                                           "orvctl recycle delete data");
  add_word(removing, "NAME", doomed->name, "name of the share");
  on_run(removing, run, doomed, remove);
}

}  // namespace orvctl
