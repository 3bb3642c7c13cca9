#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/errors.h"
#include "tools/orvctl/service_states.h"

#include <orv/service.h>

namespace orvctl {
namespace {

struct service {
  const char* name;
  int (*start)();
  int (*stop)();
};

constexpr service services[] = {
    {"samba", smb_start, smb_stop},
    {"nfs", nfs_start, nfs_stop},
    {"ftp", ftp_start, ftp_stop},
    {"iscsi", iscsi_start, iscsi_stop},
};

void list(session& run) { show_list(run, "services", service_table(service_states()), ORV_OK); }

struct service_arguments {
  std::string name;
};

const service& service_of(const service_arguments& given) {
  const service* found = services;
  while (given.name != found->name) ++found;
  return *found;
}

void start(session& run, const service_arguments& given) {
  check(service_of(given).start());
  report(run, "Started " + given.name + ".", {{"service", given.name}});
}

void stop(session& run, const service_arguments& given) {
  check(service_of(given).stop());
  report(run, "Stopped " + given.name + ".", {{"service", given.name}});
}

// A service that cannot be stopped, since it does not run, is started all the same.
void restart(session& run, const service_arguments& given) {
  const bool stopped = service_of(given).stop() == ORV_OK;
  const int result = service_of(given).start();
  if (stopped && result != ORV_OK) throw partial_problem(result, given.name + " is stopped");
  check(result);
  report(run, "Restarted " + given.name + ".", {{"service", given.name}});
}

void add_service_verb(CLI::App& noun, session& run, const std::string& name,
                      const std::string& about,
                      void (*action)(session&, const service_arguments&)) {
  const auto given = std::make_shared<service_arguments>();
  CLI::App& verb = add_changing_verb(noun, run, name, about, "orvctl service " + name + " samba");
  add_word(verb, "NAME", given->name, "samba, nfs, ftp or iscsi").check(service_word);
  on_run(verb, run, given, action);
}

}  // namespace

void add_service_commands(CLI::App& program, session& run) {
  CLI::App& noun = add_noun(program, "service", "The services behind the shares",
                            "orvctl service restart samba");
  add_list(noun, run, "list", "Show which services run, and whether the management daemon does",
           "orvctl service list", list);
  add_service_verb(noun, run, "start", "Start a service", start);
  add_service_verb(noun, run, "stop", "Stop a service; its clients lose their connections", stop);
  add_service_verb(noun, run, "restart", "Stop and start a service, so that it sees changed shares",
                   restart);
}

}  // namespace orvctl
