#include <ostream>

#include "tools/orvctl/commands.h"
#include "tools/orvctl/errors.h"
#include "tools/orvctl/machine_facts.h"

#include <orv/system.h>

namespace orvctl {
namespace {

// A fact that cannot be read is null, and says why; the others are not spoilt by it.
void info(session& run) {
  const std::vector<machine_fact> facts = machine_facts();
  table shown({{"WHAT", nullptr, form::text}, {"VALUE", nullptr, form::text}});
  json errors = json::object();
  for (const machine_fact& each : facts) {
    const bool is_read = each.result == ORV_OK;
    shown.add({each.title, is_read ? text_value(each.text)
                                   : json("(" + library_problem(each.result).meaning + ")")});
    if (!is_read) errors[each.key] = library_problem(each.result).name;
  }
  run.document["system"] = facts_object(facts);
  run.document["unreadable"] = errors;
  if (!run.as_json) run.io.out << shown.text(run.shown);
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
  add_query(system, run, "info", "Show versions, model, times, temperature, fans and power",
            "orvctl system info", info);
  add_list(system, run, "codes", "Show every result code, its meaning and what to do",
           "orvctl system codes --json", codes);

  const auto given = std::make_shared<processes_arguments>();
  CLI::App& listing =
      add_changing_verb(system, run, "processes", "Write the list of processes to a file",
                        "orvctl system processes /tmp/processes.txt");
  add_word(listing, "FILE", given->file, "file, which is overwritten");
  on_run(listing, run, given, processes);
}

}  // namespace orvctl
