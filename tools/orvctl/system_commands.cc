#include <ostream>

#include "tools/orvctl/commands.h"
#include "tools/orvctl/errors.h"

#include <orv/system.h>

namespace orvctl {
namespace {

struct fact {
  const char* title;
  const char* key;
  int (*get)(char* buffer, int size);
};

constexpr fact facts[] = {
    {"Model", "model", devmodel_get},
    {"Host name", "host_name", hostname_get},
    {"Software version", "software_version", softversion_get},
    {"Hardware version", "hardware_version", hardversion_get},
    {"Time", "time", systime_get},
    {"Start time", "start_time", starttime_get},
    {"Temperature", "temperature", tmp_get},
    {"Fans", "fans", fan_speed_get},
    {"Power supply", "power_supply", pwstate_get},
};

// A fact that cannot be read is null, and says why; the others are not spoilt by it.
void info(session& run) {
  table shown({{"WHAT", nullptr, form::text}, {"VALUE", nullptr, form::text}});
  json values = json::object();
  json errors = json::object();
  for (const fact& each : facts) {
    char text[256] = "";
    const int result = each.get(text, static_cast<int>(sizeof text));
    values[each.key] = result == ORV_OK ? text_value(text) : json();
    if (result != ORV_OK) errors[each.key] = library_problem(result).name;
    shown.add({each.title, result == ORV_OK ? values[each.key]
                                            : json("(" + library_problem(result).meaning + ")")});
  }
  run.document["system"] = values;
  run.document["unreadable"] = errors;
  if (!run.as_json) run.io.out << shown.text();
}

constexpr column<code_info> code_columns[] = {
    {"CODE", "code", form::number, [](const code_info& row) { return json(row.code); }},
    {"NAME", "name", form::text, [](const code_info& row) { return json(row.name); }},
    {"EXIT", "exit_status", form::number,
     [](const code_info& row) { return json(static_cast<int>(row.status)); }},
    {"MEANING", "meaning", form::text,
     [](const code_info& row) { return json(orv_strerror(row.code)); }},
    {nullptr, "advice", form::text, [](const code_info& row) { return json(row.advice); }},
};

void codes(session& run) { show_list(run, "codes", make_table(code_columns, all_codes()), ORV_OK); }

struct processes_arguments {
  std::string file;
};

void processes(session& run, const processes_arguments& given) {
  check(procinfo_get(given.file.c_str()));
  report(run, "Wrote the list of processes to " + given.file + ".", {{"file", given.file}});
}

}  // namespace

void add_system_commands(CLI::App& program, session& run) {
  CLI::App& system = add_noun(program, "system", "The appliance itself", "orvctl system info");
  on_run(add_verb(system, run, "info", "Show versions, model, times, temperature, fans and power",
                  "orvctl system info"),
         run, info);
  on_run(add_verb(system, run, "codes", "Show every result code, its meaning and what to do",
                  "orvctl system codes --json"),
         run, codes);

  const auto given = std::make_shared<processes_arguments>();
  CLI::App& listing = add_verb(system, run, "processes", "Write the list of processes to a file",
                               "orvctl system processes /tmp/processes.txt");
  add_word(listing, "FILE", given->file, "file, which is overwritten");
  on_run(listing, run, given, processes);
}

}  // namespace orvctl
