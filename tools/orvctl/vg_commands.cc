#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/confirm.h"
#include "tools/orvctl/disk_selection.h"
#include "tools/orvctl/long_work.h"
#include "tools/orvctl/vg_table.h"

namespace orvctl {
namespace {

struct create_arguments {
  std::string name;
  std::vector<std::string> volumes;
  std::string enclosure = "0";
};

struct destroy_arguments {
  std::string name;
};

void list(session& run) {
  vg_list groups;
  const int result = vg_get(groups.get());
  show_list(run, "volume_groups", vg_table(groups), result);
}

// Channels of the volumes that are whole disks; arrays are no disks.
std::string whole_disks(const std::vector<std::string>& volumes) {
  std::string channels;
  for (const std::string& volume : volumes) {
    if (is_channelID(volume.c_str()) == 1) channels += (channels.empty() ? "" : ",") + volume;
  }
  return channels;
}

void confirm_disks(const session& run, const create_arguments& given) {
  const std::string channels = whole_disks(given.volumes);
  if (channels.empty()) return;
  confirm(run, "These disks become physical volumes: all data on them will be lost.",
          [&] { return disk_losses(channels, given.enclosure); });
}

// Empty without whole disks.
std::string what_begins(const create_arguments& given) {
  const std::string channels = whole_disks(given.volumes);
  return channels.empty() ? "" : "Wiping the disks of channels " + channels + ".";
}

// A request, released with its physical volumes.
class vg_request {
 public:
  explicit vg_request(const create_arguments& given) {
    vg_conf_init(&request_);
    set_field(request_.vgname, given.name, "the name of the volume group");
    for (const std::string& volume : given.volumes) {
      auto& pv = orv::append(request_.pvs);
      liborv_strncpy(pv.pvname, sizeof pv.pvname, volume.c_str());
      liborv_strncpy(pv.enclosure, sizeof pv.enclosure, given.enclosure.c_str());
    }
  }
  ~vg_request() { vg_conf_fini(&request_); }
  vg_request(const vg_request&) = delete;
  vg_request& operator=(const vg_request&) = delete;

  tag_vg_info* get() { return &request_; }

 private:
  tag_vg_info request_;
};

void volumes_must_fit(const create_arguments& given) {
  for (const std::string& volume : given.volumes) {
    must_fit(volume, sizeof(tag_pv_info::pvname), "a physical volume");
  }
}

void create(session& run, const create_arguments& given) {
  volumes_must_fit(given);
  vg_request request(given);
  confirm_disks(run, given);
  const begins said(run, what_begins(given));
  check(vg_create(request.get()));
  report(run, "Created " + given.name + ".", {{"volume_group", given.name}});
}

void extend(session& run, const create_arguments& given) {
  volumes_must_fit(given);
  confirm_disks(run, given);
  const std::string& volume = given.volumes.front();
  const begins said(run, what_begins(given));
  check(vg_extend(given.name.c_str(), volume.c_str(), given.enclosure.c_str()));
  report(run, "Extended " + given.name + " by " + volume + ".",
         {{"volume_group", given.name}, {"physical_volume", volume}});
}

void destroy(session& run, const destroy_arguments& given) {
  confirm(run, "This volume group is removed, with its physical volumes.",
          [&] { return one_vg(given.name); });
  check(vg_destroy(given.name.c_str()));
  report(run, "Destroyed " + given.name + ".", {{"volume_group", given.name}});
}

constexpr char what_is_a_volume[] = "array such as md0, or channel of a whole disk";

void add_create_command(CLI::App& vg, session& run) {
  const auto given = std::make_shared<create_arguments>();
  CLI::App& verb = add_destroying_verb(vg, run, "create", "Create a volume group",
                                       "orvctl vg create vg1 --pv md0");
  add_word(verb, "NAME", given->name, "name of the volume group");
  // Joined by append: g++ 12 takes "+" on a long literal for an overflow when it optimises.
  const std::string what = std::string(what_is_a_volume).append("; may be repeated");
  add_option(verb, "--pv", given->volumes, what).required().one_at_a_time().type_name("PV");
  add_enclosure(verb, given->enclosure);
  on_run(verb, run, given, create);
}

void add_extend_command(CLI::App& vg, session& run) {
  const auto given = std::make_shared<create_arguments>();
  given->volumes.resize(1);
  CLI::App& verb = add_destroying_verb(vg, run, "extend", "Add a physical volume to a volume group",
                                       "orvctl vg extend vg1 md1");
  add_word(verb, "NAME", given->name, "volume group");
  add_word(verb, "PV", given->volumes.front(), what_is_a_volume);
  add_enclosure(verb, given->enclosure)
      .description("enclosure of the volume group and of the channel, 0 to 4");
  on_run(verb, run, given, extend);
}

}  // namespace

void add_vg_commands(CLI::App& program, session& run) {
  CLI::App& vg = add_noun(program, "vg", "Volume groups of arrays and whole disks",
                          "orvctl vg create vg1 --pv md0");
  add_list(vg, run, "list", "Show all volume groups", "orvctl vg list --json", list);
  add_create_command(vg, run);
  add_extend_command(vg, run);
  const auto given = std::make_shared<destroy_arguments>();
  CLI::App& verb = add_destroying_verb(vg, run, "destroy", "Remove a volume group without pools",
                                       "orvctl vg destroy vg1");
  add_word(verb, "NAME", given->name, "volume group");
  on_run(verb, run, given, destroy);
  add_vg_repair_commands(vg, run);
}

}  // namespace orvctl
