#include <ctime>
#include <map>
#include <ostream>

#include "tools/orvctl/commands.h"
#include "tools/orvctl/findings.h"
#include "tools/orvctl/smart_query.h"
#include "tools/orvctl/state_colour.h"
#include "tools/orvctl/storage_metrics.h"

namespace orvctl {
namespace {

std::string text_of(const machine_fact& fact) {
  return fact.value.is_string() ? fact.value.get<std::string>() : "";
}

// The start time is written as local time.
json start_time_of(const inventory& machine) {
  std::tm parts{};
  const std::string text = text_of(fact_of(machine.facts, "start_time"));
  if (::strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &parts) == nullptr) return {};
  parts.tm_isdst = -1;
  const std::time_t seconds = std::mktime(&parts);
  return seconds < 0 ? json() : json(seconds);
}

json is_power_normal(const inventory& machine) {
  const json& state = fact_of(machine.facts, "power_supply").value;
  return state.is_null() ? json() : json(mood_of(state) == mood::good);
}

void measure_machine(const inventory& machine, metric_families& to) {
  const auto fact = [&](const char* key) { return text_of(fact_of(machine.facts, key)); };
  to.begin("orv_build_info", "Version of orvctl.");
  to.add({{"version", ORVCTL_VERSION}}, 1);
  to.begin("orv_system_info", "The machine and its versions.");
  to.add({{"model", fact("model")},
          {"host_name", fact("host_name")},
          {"software_version", fact("software_version")},
          {"hardware_version", fact("hardware_version")}},
         1);
  to.begin("orv_start_time", "When the machine was started, since the epoch.", "seconds");
  to.add({}, start_time_of(machine));
  to.begin("orv_temperature", "Temperature of the machine.", "celsius");
  to.add({}, fact_of(machine.facts, "temperature_celsius").value);
  to.begin("orv_fan_speed", "Speed of a fan.", "rpm");
  for (const json& fan : fact_of(machine.facts, "fans").value) {
    to.add({{"fan", fan["name"]}}, fan["speed_rpm"]);
  }
  to.begin("orv_power_supply_normal", "Whether the power supply is well.");
  to.add({}, is_power_normal(machine));
}

void measure_sharing(const inventory& machine, metric_families& to) {
  std::map<std::string, int> shares;
  std::map<std::string, int> clients = {{"CIFS", 0}, {"Ftp", 0}, {"iSCSI", 0}};
  for (const service_state& each : machine.services) shares[each.name] = 0;
  shares.erase("orv");
  for (const tag_share_config& share : machine.shares) ++shares[service_of(share)];
  for (const tag_share_conn& client : machine.clients) ++clients[client.protocol];
  to.begin("orv_shares", "Shares by the service that offers them; those out of use have none.");
  for (const auto& [service, many] : shares) to.add({{"service", service}}, many);
  to.begin("orv_clients", "Connected clients.");
  for (const auto& [protocol, many] : clients) to.add({{"protocol", protocol}}, many);
  to.begin("orv_service_running", "Whether a service runs.");
  for (const service_state& each : machine.services) {
    to.add({{"service", each.name}}, is_running(each));
  }
}

void measure_problems(const inventory& machine, metric_families& to) {
  int alarms = 0;
  std::map<severity, int> problems = {{severity::critical, 0}, {severity::warning, 0}};
  for (const finding& each : findings_of(machine)) {
    ++problems[each.how_bad];
    alarms += each.kind == "alarm" ? 1 : 0;
  }
  to.begin("orv_alarms", "Alarms that are raised.");
  to.add({}, alarms);
  to.begin("orv_alarm_raised", "An alarm that is raised.");
  for (const tag_alarm_info& alarm : machine.alarms) {
    to.add({{"id", alarm.id}, {"name", alarm.name}}, 1);
  }
  to.begin("orv_problems", "What 'orvctl status' finds wrong.");
  to.add({{"severity", "critical"}}, problems[severity::critical]);
  to.add({{"severity", "warning"}}, problems[severity::warning]);
}

void measure_sources(const inventory& machine, metric_families& to) {
  to.begin("orv_list_readable", "Whether this list of the machine could be read.");
  for (const inventory::source& each : machine.sources) {
    to.add({{"list", each.name}}, each.result == ORV_OK);
  }
}

void metrics(session& run) {
  run.shows_gaps = true;
  inventory machine;
  ask_smart(machine.disks, smart_part::summary);
  ask_smart(machine.disks, smart_part::attributes);
  metric_families measured;
  measure_machine(machine, measured);
  measure_disks(machine, measured);
  measure_arrays(machine, measured);
  measure_volumes(machine, measured);
  measure_file_systems(machine, measured);
  measure_sharing(machine, measured);
  measure_problems(machine, measured);
  measure_sources(machine, measured);
  run.document["metrics"] = measured.objects();
  if (!run.as_json) run.io.out << measured.text();
}

}  // namespace

void add_metrics_command(CLI::App& program, session& run) {
  CLI::App& verb =
      add_verb(program, run, "metrics", "Measured values in the OpenMetrics text format",
               "orvctl metrics > /var/lib/prometheus/node-exporter/orv.prom");
  on_run(verb, run, metrics);
}

}  // namespace orvctl
