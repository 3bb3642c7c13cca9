// Every getter that runs tools, against a shell script that runs exactly the same command lines.
#include "bench/getters.h"

#include <filesystem>
#include <memory>
#include <stdexcept>

#include "bench/appliance.h"
#include "bench/clock.h"
#include "bench/machine.h"
#include "bench/process.h"
#include "bench/row.h"
#include "bench/watch.h"

namespace bench {
namespace {

/// The command line with its output thrown away.
std::string discarding(std::string line) {
  const std::size_t redirection = line.rfind("> /tmp/");
  if (redirection != std::string::npos) line.replace(redirection, line.npos, "> /dev/null");
  return line;
}

/// A script of the command lines that a getter runs, found out by watching it.
void write_script(const getter& asked, const std::string& path) {
  const watch watching;
  asked.call();
  if (watching.seen().commands.empty()) throw std::runtime_error("no commands");
  std::string script = "set -e\n";
  for (const std::string& line : watching.seen().commands) script += discarding(line) + '\n';
  write_file(path, script);
}

row compared(const getter& asked, const std::string& machine, int rounds, pace tools,
             std::function<void()> set_up) {
  const std::string script = std::string("/tmp/") + asked.name + ".sh";
  row made;
  made.name = asked.name + machine + (tools == pace::real ? "" : ", tools that take no time");
  made.other = "shell script of the same command lines";
  made.wanted = 1.05;
  made.limit = asked.limit;
  made.prepare = [asked, script, set_up, tools] {
    set_up();
    set_pace(tools);
    write_script(asked, script);
  };
  made.ours = time_of(asked.call);
  made.others = time_of([script] { run_program({"/bin/sh", script}); });
  made.rounds = rounds;
  made.processes = asked.processes;
  made.tells_own_share = true;
  return made;
}

/// Once more without the tools' time, where they take some.
void add(rows& all, const getter& asked, const std::string& machine, int rounds,
         const std::function<void()>& set_up) {
  all.push_back(compared(asked, machine, rounds, pace::real, set_up));
  if (!asked.runs_slow_tools) return;
  all.push_back(compared(asked, machine, rounds, pace::none, set_up));
}

}  // namespace

void add_getters(rows& all) {
  for (const getter& asked : getters_of_services) add(all, asked, "", 41, set_services);
  struct {
    storage sizes;
    const char* text;
    int rounds;
  } const machines[] = {{{4, 1, 1}, ", 4 disks, 1 array, 1 pool", 21},
                        {{40, 20, 50}, ", 40 disks, 20 arrays, 50 pools", 15},
                        {{80, 40, 500}, ", 80 disks, 40 arrays, 500 pools", 15}};
  for (const auto& machine : machines) {
    const auto set_up = [machine] {
      set_storage(machine.sizes);
      set_shares(machine.sizes.pools);
      set_connections(3 * machine.sizes.pools);
    };
    for (const getter& asked : getters) add(all, asked, machine.text, machine.rounds, set_up);
  }
}

}  // namespace bench
