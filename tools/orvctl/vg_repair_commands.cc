#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/confirm.h"
#include "tools/orvctl/errors.h"
#include "tools/orvctl/raid_table.h"

namespace orvctl {
namespace {

struct repair_arguments {
  std::string name;
  std::string volume;
};

// The repair functions answer with this when they handled a lost physical volume, whether or not
// the tools that they ran succeeded.
constexpr int handled = -1;

constexpr char see_result[] = "'orvctl vg list' shows whether the group is whole again.";

table all_arrays() {
  raid_list arrays;
  check(raid_get(arrays.get()));
  return raid_table(arrays);
}

void repair(session& run, const repair_arguments& given) {
  confirm(run,
          "The members of the first inactive array are marked as failed, and the metadata of " +
              given.name + " is restored without it: what the array holds is given up.",
          all_arrays);
  const int result = vg_check_rm(given.name.c_str());
  if (result != handled) check(result);
  report(run,
         result == handled ? "Handled one inactive array of " + given.name + ": " + see_result
                           : "No array is inactive: there is nothing to repair.",
         {{"volume_group", given.name}, {"attempted", result == handled}});
}

void resume(session& run, const repair_arguments& given) {
  confirm(run,
          given.volume + " is replaced by the RAM disk, and the metadata of " + given.name +
              " is restored: what " + given.volume + " holds is given up.",
          all_arrays);
  const int result = md_vg_resume(given.name.c_str(), given.volume.c_str());
  if (result == ORV_OK) {
    throw library_problem(ORV_E_NO_VG, given.volume + " is no physical volume of " + given.name);
  }
  if (result != handled) check(result);
  report(run, "Handled " + given.volume + " of " + given.name + ": " + see_result,
         {{"volume_group", given.name}, {"physical_volume", given.volume}});
}

void restore(session& run, const repair_arguments& given) {
  confirm(run, "The metadata of " + given.name + " is replaced by its last backup.", all_arrays);
  check(vgcfgrestore(given.name.c_str()));
  report(run, "Restored the metadata of " + given.name + ".", {{"volume_group", given.name}});
}

void device(session& run, const repair_arguments& given) {
  char name[256] = "";
  check(vg_get_pv(given.name.c_str(), name));
  if (run.as_json) {
    report(run, "", {{"volume_group", given.name}, {"device", name}});
  } else {
    show_value(run, name);
  }
}

std::shared_ptr<repair_arguments> add_name(CLI::App& verb) {
  const auto given = std::make_shared<repair_arguments>();
  add_word(verb, "NAME", given->name, "volume group");
  return given;
}

}  // namespace

void add_vg_repair_commands(CLI::App& vg, session& run) {
  CLI::App& asking = add_verb(vg, run, "device", "Show the first device of a volume group",
                              "orvctl vg device vg1");
  on_run(asking, run, add_name(asking), device);

  CLI::App& repairing = add_destroying_verb(
      vg, run, "repair", "Bring a volume group back that lost an array", "orvctl vg repair vg1");
  on_run(repairing, run, add_name(repairing), repair);

  CLI::App& resuming = add_destroying_verb(vg, run, "resume",
                                           "Bring a volume group back that lost a physical volume",
                                           "orvctl vg resume vg1 md0");
  const auto given = add_name(resuming);
  add_word(resuming, "PV", given->volume, "device of the lost volume, such as md0 or sdc");
  on_run(resuming, run, given, resume);

  CLI::App& restoring = add_destroying_verb(
      vg, run, "restore", "Restore the metadata of a volume group", "orvctl vg restore vg1");
  on_run(restoring, run, add_name(restoring), restore);
}

}  // namespace orvctl
