// How many processes a getter starts, and how the time outside of them grows.
#include "bench/getters.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "bench/appliance.h"
#include "bench/clock.h"
#include "bench/row.h"
#include "bench/watch.h"

namespace bench {
namespace {

using getter_call = decltype(getter::call);

/// Processor time of a call in this process, without its tools.
double time_outside(getter_call call, std::size_t records) {
  const double start = processor_time();
  const std::size_t found = call();
  const double end = processor_time();
  if (found != records) throw std::runtime_error(std::to_string(found) + " records");
  return end - start;
}

/// Throws for fewer than expected, which would look as reached.
double processes_of(getter_call call, int expected) {
  const watch watching;
  call();
  const int started = watching.seen().processes;
  if (started < expected) throw std::runtime_error(std::to_string(started) + " processes");
  return started;
}

struct documented {
  getter asked;
  /// Commands of a call, which depend on the disks and arrays.
  int (*commands)(const storage& machine);
  storage few;
  storage many;
};

constexpr int disks_of_host = 6;

int commands_of_disks(const storage& machine) {
  return (machine.disks + disks_of_host - 1) / disks_of_host + 1;  // each host's file, hotspare
}
/// mdstat twice, each array's detail, and the disks.
int commands_of_arrays(const storage& machine) {
  return 2 + machine.arrays + commands_of_disks(machine);
}
/// vgdisplay, pvdisplay, the arrays, and the disks.
int commands_of_groups(const storage& machine) {
  return 2 + commands_of_arrays(machine) + commands_of_disks(machine);
}
/// lvdisplay and the groups.
int commands_of_pools(const storage& machine) { return 1 + commands_of_groups(machine); }

constexpr storage few_disks{60, 1, 1};
constexpr storage many_disks{600, 1, 1};
constexpr storage few_arrays{20, 100, 1};
constexpr storage many_arrays{20, 1'000, 1};
constexpr storage few_pools{4, 1, 100};
constexpr storage many_pools{4, 1, 1'000};

constexpr documented getters_to_count[] = {
    {getters[0], commands_of_disks, few_disks, many_disks},
    {getters[2], commands_of_arrays, few_arrays, many_arrays},
    {getters[3], commands_of_groups, few_arrays, many_arrays},
    {getters[4], commands_of_pools, few_pools, many_pools},
    {getters[5], commands_of_pools, few_pools, many_pools},
};

const char* records_of(const documented& each) {
  if (each.many.disks > each.many.arrays && each.many.disks > each.many.pools) return "disks";
  return each.many.arrays > each.many.pools ? "arrays and groups" : "pools and file systems";
}

int number_of(const storage& machine) {
  return std::max({machine.disks, machine.arrays, machine.pools});
}

side on(const storage& machine, side measured) {
  return [=] {
    set_storage(machine);
    return measured();
  };
}

side outside_on(const storage& machine, getter_call call) {
  const auto records = static_cast<std::size_t>(number_of(machine));
  return on(machine, [=] { return time_outside(call, records); });
}

void add(rows& all, const documented& each) {
  const std::string name = each.asked.name;
  const std::string many = std::to_string(number_of(each.many)) + ' ' + records_of(each);
  const std::string few = std::to_string(number_of(each.few)) + ' ' + records_of(each);
  const auto call = each.asked.call;
  const int expected = each.commands(each.many);
  const side processes = [=] { return processes_of(call, expected); };
  all.push_back({"processes of " + name + ", " + many, "documented number", 1.0,
                 "nothing: exactly the documented commands", nullptr, on(each.many, processes),
                 [expected] { return expected; }, 1, unit::count});
  all.push_back({name + " outside its tools, " + many, few, 11,
                 "linear; temporary files, sysfs files and directories, statfs", nullptr,
                 outside_on(each.many, call), outside_on(each.few, call)});
}

}  // namespace

void add_growth(rows& all) {
  for (const documented& each : getters_to_count) add(all, each);
}

}  // namespace bench
