#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/confirm.h"
#include "tools/orvctl/disk_selection.h"

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
void set_and_verify(disk_selection& wanted, const spare_arguments& given, bool spare) {
  for (tag_disk_info& disk : wanted.disks()) disk.hotspare = spare ? 1 : -1;
  check(disks_hotspare_set(wanted.disks().get()));
  std::string failed;
  disk_selection now(given.channels, given.enclosure);
  for (const tag_disk_info& disk : now.disks()) {
    if ((disk.hotspare != 0) != spare) failed += " " + std::to_string(disk.ch);
  }
  if (!failed.empty()) throw library_problem(ORV_E_COMMAND, "unchanged: channel" + failed);
}

void add(session& run, const spare_arguments& given) {
  must_be_answerable(run);
  disk_selection disks(given.channels, given.enclosure);
  confirm(run, "A disk is wiped when it becomes a hot spare: all data on these disks will be lost.",
          [&] { return disk_losses(given.channels, given.enclosure); });
  set_and_verify(disks, given, true);
  report(run, "The disks of channels " + given.channels + " are hot spares now.",
         {{"channels", given.channels}, {"enclosure", given.enclosure}});
}

void remove(session& run, const spare_arguments& given) {
  disk_selection disks(given.channels, given.enclosure);
  set_and_verify(disks, given, false);
  report(run, "The disks of channels " + given.channels + " are no hot spares any more.",
         {{"channels", given.channels}, {"enclosure", given.enclosure}});
}

std::shared_ptr<spare_arguments> add_disk_words(CLI::App& verb) {
  const auto given = std::make_shared<spare_arguments>();
  add_word(verb, "CHANNELS", given->channels, "channels of the disks, such as 4,5")
      ->check(channel_list);
  add_enclosure(verb, given->enclosure);
  return given;
}

}  // namespace

void add_spare_commands(CLI::App& program, session& run) {
  CLI::App& spare =
      add_noun(program, "spare", "Hot spares, ready for every array", "orvctl spare add 8");
  on_run(add_verb(spare, run, "list", "Show the hot spares", "orvctl spare list"), run, list);

  CLI::App& adding = add_destroying_verb(spare, run, "add", "Wipe disks and make them hot spares",
                                         "orvctl spare add 8 --enclosure 0");
  on_run(adding, run, add_disk_words(adding), add);

  CLI::App& removing = add_verb(spare, run, "remove", "Make hot spares ordinary disks again",
                                "orvctl spare remove 8");
  on_run(removing, run, add_disk_words(removing), remove);
}

}  // namespace orvctl
