#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/errors.h"

#include <orv/system.h>

namespace orvctl {
namespace {

struct host_arguments {
  std::string name;
};

void show(session& run) {
  char name[256] = "";
  check(hostname_get(name, static_cast<int>(sizeof name)));
  run.document["host_name"] = text_value(name);
  show_value(run, name);
}

void set(session& run, const host_arguments& given) {
  check(hostname_set(given.name.c_str()));
  report(run, "The host name is " + given.name + ".", {{"host_name", given.name}});
}

}  // namespace

void add_host_commands(CLI::App& program, session& run) {
  CLI::App& host = add_noun(program, "host", "The host name", "orvctl host set nas1");
  add_query(host, run, "show", "Show the host name", "orvctl host show", show);

  const auto given = std::make_shared<host_arguments>();
  CLI::App& setting =
      add_changing_verb(host, run, "set", "Change the host name", "orvctl host set nas1");
  add_word(setting, "NAME", given->name, "new host name").check(host_name);
  on_run(setting, run, given, set);
}

}  // namespace orvctl
