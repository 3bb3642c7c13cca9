#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/confirm.h"
#include "tools/orvctl/errors.h"
#include "tools/orvctl/share_files.h"
#include "tools/orvctl/share_in_use.h"
#include "tools/orvctl/share_settings.h"

namespace orvctl {
namespace {

struct delete_arguments {
  std::string name;
  std::string service;
};

// An FTP share has no service file: the library always says that something was missing.
void modify(session& run, const share_arguments& given) {
  must_set_something(given.settings);
  share_in_use share(given.name, given.service);
  must_suit_service(given.settings, share.service());
  tag_share_config request = share.record();
  apply(given.settings, request);
  const int result = with_patience([&] { return share_mod(&request); });
  const bool was_missing = result == ORV_E_NO_SHARE && share.service() != "ftp";
  share.settle(result == ORV_E_NO_SHARE ? static_cast<int>(ORV_OK) : result, request);
  std::string sentence = "Changed the share " + given.name + ".";
  if (was_missing) sentence += "\nIt was missing from the file of its service and was added there.";
  report(run, sentence, {{"share", given.name}, {"service", share.service()}});
}

void remove(session& run, const delete_arguments& given) {
  must_be_answerable(run);
  share_in_use share(given.name, given.service);
  confirm(run, "This share is removed; the files in it stay.",
          [&] { return share_row(share.record()); });
  const int result =
      with_patience([&] { return share_del(given.name.c_str(), share.service().c_str()); });
  share.settle(result, share.record());
  report(run, "Deleted the share " + given.name + ".",
         {{"share", given.name}, {"service", share.service()}});
}

}  // namespace

void add_share_change_commands(CLI::App& share, session& run) {
  CLI::App& modifying =
      add_changing_verb(share, run, "modify", "Change comment, users or rights of a share",
                        "orvctl share modify data --users ann,bob --read-only");
  on_run(modifying, run, add_share_arguments(modifying, other_service), modify);

  const auto doomed = std::make_shared<delete_arguments>();
  CLI::App& removing = add_destroying_verb(share, run, "delete", "Remove a share; its files stay",
                                           "orvctl share delete data");
  add_word(removing, "NAME", doomed->name, "name of the share");
  add_service(removing, doomed->service, other_service);
  on_run(removing, run, doomed, remove);
}

}  // namespace orvctl
