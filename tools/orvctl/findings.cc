#include "tools/orvctl/findings.h"

#include <algorithm>
#include <limits>
#include <set>
#include <string_view>

#include "tools/orvctl/errors.h"
#include "tools/orvctl/smart_query.h"
#include "tools/orvctl/state_colour.h"

namespace orvctl {
namespace {

using findings = std::vector<finding>;

const char* severity_name(severity how_bad) {
  return how_bad == severity::critical ? "critical" : "warning";
}

bool contains(const char* text, std::string_view part) {
  return std::string_view(text).find(part) != std::string_view::npos;
}

void judge_alarms(const inventory& machine, findings& all) {
  for (const tag_alarm_info& alarm : machine.alarms) {
    all.push_back({severity::critical, "alarm", alarm.name, alarm.text});
  }
}

// A degraded array works; it is urgent when nothing rebuilds it.
void judge_array(const tag_md_info& array, findings& all) {
  const std::string state = array.state;
  const mood judged = mood_of(state);
  if (judged == mood::bad) {
    all.push_back({severity::critical, "array", array.name, state});
  } else if (contains(array.state, "degraded")) {
    const bool is_rebuilt = *array.progress != '\0';
    all.push_back({is_rebuilt ? severity::warning : severity::critical, "array", array.name,
                   state + (is_rebuilt ? std::string(" ") + array.progress : "")});
  } else if (contains(array.disks, "(F)")) {
    all.push_back({severity::warning, "array", array.name, "has a failed member"});
  }
}

std::string place_of(const tag_disk_info& disk) {
  const std::string place =
      "channel " + std::to_string(disk.ch) + " of enclosure " + disk.enclosure;
  return *disk.name == '\0' ? place : std::string(disk.name) + " (" + place + ")";
}

void judge_disk(const tag_disk_info& disk, findings& all) {
  if (mood_of(text_value(disk.state)) == mood::bad) {
    all.push_back({severity::critical, "disk", place_of(disk), std::string("is ") + disk.state});
  }
  const json health = told(disk.smart.health);
  if (mood_of(health) == mood::bad) {
    all.push_back(
        {severity::critical, "disk", place_of(disk), "its health is " + health.get<std::string>()});
  }
}

void judge_pool(const tag_pool_info& pool, findings& all) {
  if (mood_of(text_value(pool.state)) != mood::bad) return;
  all.push_back({severity::critical, "pool", pool.poolname, std::string("is ") + pool.state});
}

void judge_use(const tag_fs_info& fs, findings& all) {
  constexpr std::uint64_t much = 90;
  constexpr std::uint64_t too_much = 98;
  constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max() / 100;
  if (fs.size == 0 || fs.used > fs.size || fs.used > most) return;
  const std::uint64_t percent = fs.used * 100 / fs.size;
  if (percent < much) return;
  all.push_back({percent >= too_much ? severity::critical : severity::warning, "file system",
                 fs.mountpoint, "is " + std::to_string(percent) + "% full"});
}

void judge_file_system(const tag_fs_info& fs, findings& all) {
  const std::string_view state = fs.state;
  if (state == "available") return judge_use(fs, all);
  const bool is_unmounted = state == "umount";
  all.push_back({is_unmounted ? severity::warning : severity::critical, "file system",
                 fs.mountpoint, is_unmounted ? "is not mounted" : "is not available"});
}

void judge_services(const inventory& machine, findings& all) {
  std::set<std::string> needed;
  for (const tag_share_config& share : machine.shares) needed.insert(service_of(share));
  for (const service_state& state : machine.services) {
    if (needed.count(state.name) == 0 || is_running(state) != json(false)) continue;
    all.push_back({severity::warning, "service", state.name, "has shares and does not run"});
  }
}

void judge_hardware(const inventory& machine, findings& all) {
  for (const json& fan : fact_of(machine.facts, "fans").value) {
    if (fan["speed_rpm"] != 0) continue;
    all.push_back({severity::critical, "fan", fan["name"], "stands still"});
  }
  const json& power = fact_of(machine.facts, "power_supply").value;
  if (!power.is_null() && mood_of(power) != mood::good) {
    all.push_back({severity::critical, "power supply", "", "is " + power.get<std::string>()});
  }
}

void tell_unreadable(const inventory& machine, findings& all) {
  for (const inventory::source& each : machine.sources) {
    if (each.result == ORV_OK) continue;
    std::string name = each.name;
    std::replace(name.begin(), name.end(), '_', ' ');
    all.push_back({severity::warning, "list", name,
                   "cannot be read: " + library_problem(each.result).meaning});
  }
}

constexpr column<finding> finding_columns[] = {
    {"SEVERITY", "severity", form::state,
     [](const finding& each) { return json(severity_name(each.how_bad)); }},
    {"KIND", "kind", form::text, [](const finding& each) { return json(each.kind); }},
    {"SUBJECT", "subject", form::text,
     [](const finding& each) { return text_value(each.subject); }},
    {"WHAT IS WRONG", "message", form::text,
     [](const finding& each) { return json(each.message); }},
};

}  // namespace

std::vector<finding> findings_of(const inventory& machine) {
  findings all;
  judge_alarms(machine, all);
  for (const tag_md_info& array : machine.arrays) judge_array(array, all);
  for (const tag_disk_info& disk : machine.disks) judge_disk(disk, all);
  for (const tag_pool_info& pool : machine.pools) judge_pool(pool, all);
  for (const tag_fs_info& fs : machine.file_systems) judge_file_system(fs, all);
  judge_services(machine, all);
  judge_hardware(machine, all);
  tell_unreadable(machine, all);
  std::stable_sort(all.begin(), all.end(), [](const finding& one, const finding& other) {
    return one.how_bad < other.how_bad;
  });
  return all;
}

const char* overall_state(const std::vector<finding>& findings) {
  return findings.empty() ? "ok" : severity_name(findings.front().how_bad);
}

table finding_table(const std::vector<finding>& findings) {
  return make_table(finding_columns, findings);
}

}  // namespace orvctl
