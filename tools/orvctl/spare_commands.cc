#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/confirm.h"
#include "tools/orvctl/disk_selection.h"
#include "tools/orvctl/long_work.h"

namespace orvctl {
namespace {

struct spare_arguments {
  std::string channels;
  std::string enclosure = "0";
};

void list(session& run) {
  disk_list disks;
  const int result = disks_info_get(disks.get());
  show_list(run, "spares", spare_table(disks), result);
}

// `disks_hotspare_set` does not tell whether the tools did their work, so the disks are read again.
void set_and_verify(const session& run, disk_selection& wanted, const spare_arguments& given,
                    bool spare) {
  for (tag_disk_info& disk : wanted.disks()) disk.hotspare = spare ? 1 : -1;
  check(disks_hotspare_set(wanted.disks().get()));
  if (run.planned != nullptr) return;
  std::string failed;
  bool any_changed = spare;  // a disk that does not become a spare is wiped all the same
  disk_selection now(given.channels, given.enclosure);
  for (const tag_disk_info& disk : now.disks()) {
    const bool is_as_wanted = (disk.hotspare != 0) == spare;
    any_changed = any_changed || is_as_wanted;
    if (!is_as_wanted) failed += " " + std::to_string(disk.ch);
  }
  if (failed.empty()) return;
  const std::string detail = "unchanged: channel" + failed;
  throw any_changed ? partial_problem(ORV_E_COMMAND, detail)
                    : library_problem(ORV_E_COMMAND, detail);
}

void add(session& run, const spare_arguments& given) {
  must_be_answerable(run);
  disk_selection disks(given.channels, given.enclosure);
  confirm(run, "A disk is wiped when it becomes a hot spare: all data on these disks will be lost.",
          [&] { return disk_losses(given.channels, given.enclosure); });
  const begins said(run, "Wiping the disks of channels " + given.channels + ".");
  set_and_verify(run, disks, given, true);
  report(run, "The disks of channels " + given.channels + " are hot spares now.",
         {{"channels", given.channels}, {"enclosure", given.enclosure}});
}

void remove(session& run, const spare_arguments& given) {
  disk_selection disks(given.channels, given.enclosure);
  set_and_verify(run, disks, given, false);
  report(run, "The disks of channels " + given.channels + " are no hot spares any more.",
         {{"channels", given.channels}, {"enclosure", given.enclosure}});
}

std::shared_ptr<spare_arguments> add_disk_words(CLI::App& verb) {
  const auto given = std::make_shared<spare_arguments>();
  add_word(verb, "CHANNELS", given->channels, "channels of the disks, such as 4,5")
      .check(channel_list);
  add_enclosure(verb, given->enclosure);
  return given;
}

}  // namespace

void add_spare_commands(CLI::App& program, session& run) {
  CLI::App& spare =
      add_noun(program, "spare", "Hot spares, ready for every array", "orvctl spare add 8");
  add_list(spare, run, "list", "Show the hot spares", "orvctl spare list", list);

  CLI::App& adding = add_destroying_verb(spare, run, "add", "Wipe disks and make them hot spares",
                                         "orvctl spare add 8 --enclosure 0");
  on_run(adding, run, add_disk_words(adding), add);

  CLI::App& removing = add_changing_verb(
      spare, run, "remove", "Make hot spares ordinary disks again", "orvctl spare remove 8");
  on_run(removing, run, add_disk_words(removing), remove);
}

}  // namespace orvctl
