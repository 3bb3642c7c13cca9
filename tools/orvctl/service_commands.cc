#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/errors.h"
#include "tools/orvctl/records.h"

namespace orvctl {
namespace {

struct service {
  const char* name;
  int (*status)();
  int (*start)();
  int (*stop)();
};

constexpr service services[] = {
    {"samba", smb_status_get, smb_start, smb_stop},
    {"nfs", nfs_status_get, nfs_start, nfs_stop},
    {"ftp", ftp_status_get, ftp_start, ftp_stop},
    {"iscsi", iscsi_status_get, iscsi_start, iscsi_stop},
    {"orv", orv_status_get, nullptr, nullptr},
};

struct service_state {
  const char* name;
  int result;
};

// A service that does not run, and one that cannot be asked for, give the same code.
json is_running(const service_state& state) {
  if (state.result == ORV_OK) return true;
  return state.result == ORV_E_COMMAND ? json(false) : json();
}

json error_of(const service_state& state) {
  return is_running(state).is_null() ? json(library_problem(state.result).name) : json();
}

constexpr column<service_state> state_columns[] = {
    {"SERVICE", "name", form::text, [](const service_state& state) { return json(state.name); }},
    {"RUNNING", "running", form::text, is_running},
    {nullptr, "error", form::text, error_of},
};

void list(session& run) {
  std::vector<service_state> states;
  for (const service& each : services) states.push_back({each.name, each.status()});
  show_list(run, "services", make_table(state_columns, states), ORV_OK);
}

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
  service_of(given).stop();
  check(service_of(given).start());
  report(run, "Restarted " + given.name + ".", {{"service", given.name}});
}

void add_service_verb(CLI::App& noun, session& run, const std::string& name,
                      const std::string& about,
                      void (*action)(session&, const service_arguments&)) {
  const auto given = std::make_shared<service_arguments>();
  CLI::App& verb = add_verb(noun, run, name, about, "orvctl service " + name + " samba");
  add_word(verb, "NAME", given->name, "samba, nfs, ftp or iscsi")->check(service_word);
  on_run(verb, run, given, action);
}

}  // namespace

void add_service_commands(CLI::App& program, session& run) {
  CLI::App& noun = add_noun(program, "service", "The services behind the shares",
                            "orvctl service restart samba");
  on_run(
      add_verb(noun, run, "list", "Show which services run, and whether the management daemon does",
               "orvctl service list"),
      run, list);
  add_service_verb(noun, run, "start", "Start a service", start);
  add_service_verb(noun, run, "stop", "Stop a service; its clients lose their connections", stop);
  add_service_verb(noun, run, "restart", "Stop and start a service, so that it sees changed shares",
                   restart);
}

}  // namespace orvctl
