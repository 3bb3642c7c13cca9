#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/confirm.h"
#include "tools/orvctl/disk_selection.h"
#include "tools/orvctl/long_work.h"

namespace orvctl {
namespace {

struct clear_arguments {
  std::string channels;
  std::string enclosure = "0";
};

void list(session& run) {
  disk_list disks;
  const int result = disks_info_get(disks.get());
  show_list(run, "disks", disk_table(disks), result);
}

// One by one, since `disks_clear` does not tell whether a disk was wiped.
void wipe(const session& run, const disk_list& disks) {
  std::string failed;
  bool any_wiped = false;
  for (const tag_disk_info& disk : disks) {
    const begins said(
        run, std::string("Wiping ") + disk.name + " (channel " + std::to_string(disk.ch) + ").");
    const bool wiped = clear_disk(disk.name) == ORV_OK;
    any_wiped = any_wiped || wiped;
    if (!wiped) failed += " " + std::to_string(disk.ch);
  }
  if (failed.empty()) return;
  const std::string detail = "not wiped: channel" + failed;
  throw any_wiped ? partial_problem(ORV_E_COMMAND, detail) : library_problem(ORV_E_COMMAND, detail);
}

void clear(session& run, const clear_arguments& given) {
  must_be_answerable(run);
  disk_selection disks(given.channels, given.enclosure);
  confirm(run, "All data on these disks will be lost.",
          [&] { return disk_losses(given.channels, given.enclosure); });
  wipe(run, disks.disks());
  report(run, "Cleared the disks of channels " + given.channels + ".",
         {{"channels", given.channels}, {"enclosure", given.enclosure}});
}

}  // namespace

void add_disk_commands(CLI::App& program, session& run) {
  CLI::App& disk = add_noun(program, "disk", "Disks in their bays", "orvctl disk list");
  add_list(disk, run, "list", "Show all disks", "orvctl disk list --json", list);

  const auto given = std::make_shared<clear_arguments>();
  CLI::App& verb =
      add_destroying_verb(disk, run, "clear", "Wipe disks", "orvctl disk clear 4,5 --enclosure 1");
  add_word(verb, "CHANNELS", given->channels, "channels of the disks, such as 4,5")
      .check(channel_list);
  add_enclosure(verb, given->enclosure);
  on_run(verb, run, given, clear);
}

}  // namespace orvctl
