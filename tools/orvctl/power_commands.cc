#include "tools/orvctl/commands.h"
#include "tools/orvctl/confirm.h"
#include "tools/orvctl/errors.h"

#include <orv/system.h>

namespace orvctl {
namespace {

constexpr char ends_service[] = "this ends the service of every client";

void off(session& run) {
  confirm(run, "The machine is powered off.", {}, ends_service);
  check(sys_shutdown());
  report(run, "The machine goes down.", {{"power", "off"}});
}

void reboot(session& run) {
  confirm(run, "The machine is restarted.", {}, ends_service);
  check(sys_reboot());
  report(run, "The machine goes down and starts again.", {{"power", "reboot"}});
}

}  // namespace

void add_power_commands(CLI::App& program, session& run) {
  CLI::App& power =
      add_noun(program, "power", "Power off and restart of the machine", "orvctl power reboot");
  on_run(add_destroying_verb(power, run, "off", "Power the machine off", "orvctl power off"), run,
         off);
  on_run(add_destroying_verb(power, run, "reboot", "Restart the machine", "orvctl power reboot"),
         run, reboot);
}

}  // namespace orvctl
