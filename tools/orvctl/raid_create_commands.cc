#include "tools/orvctl/arguments.h"
#include "tools/orvctl/array_watch.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/confirm.h"
#include "tools/orvctl/disk_selection.h"
#include "tools/orvctl/long_work.h"

namespace orvctl {
namespace {

struct create_arguments {
  std::string name;
  std::string level;
  std::string disks;
  std::string spares;
  std::string enclosure = "0";
  bool foreground = false;
  bool wait = false;
};

tag_md_info request_of(const create_arguments& given) {
  tag_md_info request{};
  md_conf_init(&request);
  set_field(request.name, given.name, "the name of the array");
  set_field(request.level, given.level, "the level");
  set_field(request.disks, given.disks, "the list of disks");
  set_field(request.spares, given.spares, "the list of spares");
  set_field(request.enclosure, given.enclosure, "the enclosure");
  if (given.foreground) set_field(request.state, "foreground", "the state");
  return request;
}

void create(session& run, const create_arguments& given) {
  tag_md_info request = request_of(given);
  confirm(run, "These disks are wiped: all data on them will be lost.",
          [&] { return disk_losses(given.disks, given.enclosure); });
  const begins said(run,
                    "Wiping the disks of channels " + given.disks + ", then creating the array.");
  check(raid_create(&request));
  report(run, std::string("Created ") + request.name + ".",
         {{"array", request.name}, {"level", given.level}});
  show_value(run, request.name);
  if (given.wait) wait_for_array(run, request.name);
}

// Device names keep their order, which decides where the data is found again; channels come in the
// order of the disk list, as they did when the array was created.
std::string devices_of(const create_arguments& given) {
  if (is_channelID(given.disks.c_str()) == 0) return given.disks;
  return device_names(given.disks, given.enclosure, count_disks(given.disks.c_str()));
}

table members(const std::string& devices) {
  table shown({{"MEMBERS, IN THIS ORDER", nullptr, form::text}});
  shown.add({devices});
  return shown;
}

void recreate(session& run, const create_arguments& given) {
  must_be_answerable(run);
  create_arguments wanted = given;
  wanted.disks = devices_of(given);
  tag_md_info request = request_of(wanted);
  confirm(run,
          "An array of another level, or with its disks in another order, than before destroys the "
          "data on them.",
          [&] { return members(wanted.disks); });
  check(reset_raid(&request));
  report(run, "Created " + given.name + " anew.", {{"array", given.name}, {"level", given.level}});
  if (given.wait) wait_for_array(run, given.name);
}

void add_common_options(CLI::App& verb, create_arguments& given) {
  add_option(verb, "--level", given.level, "raid0, raid1, raid5, raid6 or linear")
      .required()
      .type_name("LEVEL");
  add_enclosure(verb, given.enclosure);
  add_wait(verb, given.wait);
}

}  // namespace

void add_raid_create_commands(CLI::App& raid, session& run) {
  const auto given = std::make_shared<create_arguments>();
  CLI::App& creating =
      add_destroying_verb(raid, run, "create", "Create an array of disks",
                          "orvctl raid create --level raid5 --disks 1,2,3 --name md0");
  add_common_options(creating, *given);
  add_option(creating, "--disks", given->disks, "channels of the disks, such as 1,2,3")
      .required()
      .type_name("CHANNELS")
      .check(channel_list);
  add_option(creating, "--name", given->name, "name of the array; without it the next free one")
      .type_name("MD");
  add_option(creating, "--spares", given->spares,
             "refuse unless these devices, such as sdd,sde, are free too")
      .type_name("DEVICES");
  add_flag(creating, "--foreground", given->foreground, "initialise in the foreground");
  on_run(creating, run, given, create);

  const auto again = std::make_shared<create_arguments>();
  CLI::App& recreating = add_destroying_verb(
      raid, run, "recreate", "Create an array anew over its old disks, without wiping them",
      "orvctl raid recreate md0 --level raid5 --disks sda,sdb,sdc");
  add_to_help(recreating,
              "For the repair of an array that was taken apart. A raid1 becomes a raid0, and "
              "a wrong\nlevel or order of disks destroys the data.");
  add_word(recreating, "MD", again->name, "name of the array, such as md0");
  add_common_options(recreating, *again);
  add_option(recreating, "--disks", again->disks,
             "devices in the array's order, such as sda,sdb,sdc; or channels")
      .required()
      .type_name("DISKS");
  on_run(recreating, run, again, recreate);
}

}  // namespace orvctl
