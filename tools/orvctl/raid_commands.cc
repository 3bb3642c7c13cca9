#include <string_view>

#include "tools/orvctl/arguments.h"
#include "tools/orvctl/array_watch.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/confirm.h"
#include "tools/orvctl/disk_selection.h"
#include "tools/orvctl/raid_table.h"

namespace orvctl {
namespace {

struct array_arguments {
  std::string array;
};

struct member_arguments {
  std::string array;
  std::string disk;
  bool raid5_only = false;
  bool wait = false;
};

void list(session& run) {
  raid_list arrays;
  const int result = raid_get(arrays.get());
  show_list(run, "arrays", raid_table(arrays), result);
}

void add(session& run, const member_arguments& given) {
  confirm(run, "The disk becomes part of the array: all data on it will be lost.", [&] {
    named_array found(given.array);
    return disk_losses(given.disk, found.array().enclosure);
  });
  check(raid_add(given.array.c_str(), given.disk.c_str()));
  report(run, "Added the disk of channel " + given.disk + " to " + given.array + ".",
         {{"array", given.array}, {"channel", given.disk}});
  if (given.wait) wait_for_array(run, given.array);
}

void remove(session& run, const member_arguments& given) {
  const auto take_out = given.raid5_only ? raid_check_rm : raid_rm;
  check(take_out(given.array.c_str(), given.disk.c_str()));
  report(run, "Removed the disk of channel " + given.disk + " from " + given.array + ".",
         {{"array", given.array}, {"channel", given.disk}});
}

// A channel stands for the disk in this bay of the array's enclosure.
std::string device_of(const std::string& disk, const tag_md_info& array) {
  if (is_channelID(disk.c_str()) == 0) return disk;
  return device_names(disk, array.enclosure, 1);
}

void fail(session& run, const member_arguments& given) {
  must_be_answerable(run);
  named_array found(given.array);
  const std::string device = device_of(given.disk, found.array());
  confirm(run, "The array goes on without " + device + ", or stops when it cannot.",
          [&] { return found.shown(); });
  check(set_disk_faulty(given.array.c_str(), device.c_str()));
  report(run, "Marked " + device + " in " + given.array + " as failed.",
         {{"array", given.array}, {"device", device}});
}

// The library would mark nothing and call that done: members of a RAID controller's array are
// channels, and an array may have lost them all.
void must_have_devices(const tag_md_info& array) {
  if (std::string_view(array.disks).starts_with("sd")) return;
  throw library_problem(ORV_E_NO_DISK, std::string(array.name) + " has no member with a device");
}

void fail_all(session& run, const array_arguments& given) {
  must_be_answerable(run);
  named_array found(given.array);
  must_have_devices(found.array());
  confirm(run, "The array stops working; what it holds cannot be reached any more.",
          [&] { return found.shown(); });
  check(set_raid_faulty(&found.array()));
  report(run, "Marked the members of " + given.array + " as failed.", {{"array", given.array}});
}

void destroy(session& run, const array_arguments& given) {
  confirm(run, "This array is taken apart, and what it holds cannot be reached any more.",
          [&] { return named_array(given.array).shown(); });
  check(raid_destroy(given.array.c_str()));
  report(run, "Destroyed " + given.array + ".", {{"array", given.array}});
}

std::shared_ptr<array_arguments> add_array_word(CLI::App& verb) {
  const auto given = std::make_shared<array_arguments>();
  add_word(verb, "MD", given->array, "array, such as md0");
  return given;
}

std::shared_ptr<member_arguments> add_member_words(CLI::App& verb) {
  const auto given = std::make_shared<member_arguments>();
  add_word(verb, "MD", given->array, "array, such as md0");
  add_word(verb, "CHANNEL", given->disk, "channel of the disk, in the array's enclosure")
      .check(channel);
  return given;
}

void add_member_commands(CLI::App& raid, session& run) {
  CLI::App& adding =
      add_destroying_verb(raid, run, "add", "Add a disk to an array", "orvctl raid add md0 4");
  const auto added = add_member_words(adding);
  add_wait(adding, added->wait);
  on_run(adding, run, added, add);

  CLI::App& removing = add_changing_verb(raid, run, "remove", "Remove a failed disk from an array",
                                         "orvctl raid remove md0 2");
  const auto given = add_member_words(removing);
  add_flag(removing, "--raid5-only", given->raid5_only, "only when the array is a raid5");
  on_run(removing, run, given, remove);
}

void add_fail_commands(CLI::App& raid, session& run) {
  CLI::App& failing = add_destroying_verb(raid, run, "fail", "Mark a member of an array as failed",
                                          "orvctl raid fail md0 2");
  const auto given = std::make_shared<member_arguments>();
  add_word(failing, "MD", given->array, "array, such as md0");
  add_word(failing, "DISK", given->disk, "channel or device of the disk: 2 or sdb");
  on_run(failing, run, given, fail);

  CLI::App& failing_all = add_destroying_verb(
      raid, run, "fail-all", "Mark every member of an array as failed", "orvctl raid fail-all md0");
  on_run(failing_all, run, add_array_word(failing_all), fail_all);
}

}  // namespace

void add_raid_commands(CLI::App& program, session& run) {
  CLI::App& raid = add_noun(program, "raid", "RAID arrays of disks", "orvctl raid list");
  add_list(raid, run, "list", "Show all arrays", "orvctl raid list --json", list);
  add_raid_watch_command(raid, run);
  add_raid_create_commands(raid, run);
  add_member_commands(raid, run);
  add_fail_commands(raid, run);
  CLI::App& destroying =
      add_destroying_verb(raid, run, "destroy", "Take an array apart", "orvctl raid destroy md0");
  on_run(destroying, run, add_array_word(destroying), destroy);
}

}  // namespace orvctl
