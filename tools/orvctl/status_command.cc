#include <functional>
#include <ostream>

#include "tools/orvctl/commands.h"
#include "tools/orvctl/findings.h"
#include "tools/orvctl/fs_table.h"
#include "tools/orvctl/raid_table.h"
#include "tools/orvctl/smart_query.h"
#include "tools/orvctl/state_colour.h"

namespace orvctl {
namespace {

template <class list>
std::uint64_t count(const list& records) {
  std::uint64_t found = 0;
  for (auto at = records.begin(); at != records.end(); ++at) ++found;
  return found;
}

std::uint64_t spares_among(const disk_list& disks) {
  std::uint64_t found = 0;
  for (const tag_disk_info& disk : disks) found += disk.hotspare != 0 ? 1 : 0;
  return found;
}

json counts_of(const inventory& machine) {
  return {{"disks", count(machine.disks)},   {"hot_spares", spares_among(machine.disks)},
          {"arrays", count(machine.arrays)}, {"volume_groups", count(machine.groups)},
          {"pools", count(machine.pools)},   {"file_systems", count(machine.file_systems)},
          {"shares", count(machine.shares)}, {"clients", count(machine.clients)},
          {"alarms", count(machine.alarms)}};
}

json status_object(const inventory& machine, const std::vector<finding>& findings) {
  return {{"state", overall_state(findings)},
          {"problems", finding_table(findings).objects()},
          {"system", facts_object(machine.facts)},
          {"counts", counts_of(machine)},
          {"arrays", raid_table(machine.arrays).objects()},
          {"file_systems", fs_table(machine.file_systems).objects()},
          {"services", service_table(machine.services).objects()}};
}

std::string text_or_dash(const machine_fact& fact) {
  return fact.value.is_null() || fact.text.empty() ? "-" : fact.text;
}

std::string services_line(const std::vector<service_state>& states) {
  std::string line;
  for (const service_state& each : states) {
    const json runs = is_running(each);
    line += (line.empty() ? "" : ", ") + std::string(each.name) +
            (runs.is_null()       ? " (not known)"
             : runs == json(true) ? " runs"
                                  : " does not run");
  }
  return line;
}

std::string number_of(std::uint64_t many, const char* one_name, const char* many_name) {
  return std::to_string(many) + " " + (many == 1 ? one_name : many_name);
}

std::string storage_line(const inventory& machine) {
  return number_of(count(machine.disks), "disk", "disks") + " (" +
         number_of(spares_among(machine.disks), "hot spare", "hot spares") + "), " +
         number_of(count(machine.arrays), "array", "arrays") + ", " +
         number_of(count(machine.groups), "volume group", "volume groups") + ", " +
         number_of(count(machine.pools), "pool", "pools");
}

std::string sharing_line(const inventory& machine) {
  return number_of(count(machine.shares), "share", "shares") + ", " +
         number_of(count(machine.clients), "client", "clients");
}

table machine_table(const inventory& machine) {
  const auto fact = [&](const char* key) { return text_or_dash(fact_of(machine.facts, key)); };
  table shown({{"WHAT", nullptr, form::text}, {"VALUE", nullptr, form::text}});
  shown.add({"Machine", fact("host_name") + ", " + fact("model") + ", software " +
                            fact("software_version") + ", hardware " + fact("hardware_version")});
  shown.add({"Time", fact("time") + ", started " + fact("start_time")});
  shown.add({"Hardware", "temperature " + fact("temperature_celsius") + ", power supply " +
                             fact("power_supply") + ", fans " + fact("fans")});
  shown.add({"Storage", storage_line(machine)});
  shown.add({"Services", services_line(machine.services)});
  shown.add({"Sharing", sharing_line(machine)});
  return shown;
}

void show_part(session& run, const char* title, const table& part, list_view view) {
  if (part.empty()) return;
  run.io.out << '\n' << title << '\n' << part.text(view);
}

void show_screen(session& run, const inventory& machine, const std::vector<finding>& findings) {
  list_view view = run.shown;
  const json state = overall_state(findings);
  const std::string heading = findings.empty() ? "Nothing is wrong." : "What is wrong:";
  run.io.out << (view.coloured ? coloured(heading, mood_of(state)) : heading) << '\n';
  view.without_headings = true;
  if (!findings.empty()) run.io.out << finding_table(findings).text(view);
  run.io.out << '\n' << machine_table(machine).text(view);
  view.without_headings = false;
  view.columns = {"name", "level", "state", "progress", "size", "members"};
  show_part(run, "Arrays", raid_table(machine.arrays), view);
  view.columns = {"mount_point", "state", "size", "used", "use", "group"};
  show_part(run, "File systems", fs_table(machine.file_systems), view);
}

void status(session& run) {
  run.shows_gaps = true;
  inventory machine;
  // A disk that says nothing of its health is not wrong: few virtual ones do.
  ask_smart(machine.disks, smart_part::summary);
  const std::vector<finding> findings = findings_of(machine);
  run.document["status"] = status_object(machine, findings);
  if (!run.as_json) show_screen(run, machine, findings);
}

}  // namespace

void add_status_command(CLI::App& program, session& run) {
  CLI::App& verb = add_verb(program, run, "status",
                            "The whole machine on one screen, what is "
                            "wrong first",
                            "orvctl status");
  add_flag(verb, "--bytes", run.shown.bytes, "sizes as plain numbers of bytes");
  on_run(verb, run, status);
}

}  // namespace orvctl
