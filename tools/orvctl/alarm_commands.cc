#include "tools/orvctl/commands.h"
#include "tools/orvctl/records.h"

namespace orvctl {
namespace {

constexpr column<tag_alarm_info> alarm_columns[] = {
    {"ID", "id", form::number, [](const tag_alarm_info& alarm) { return text_value(alarm.id); }},
    {"TIME", "time", form::text,
     [](const tag_alarm_info& alarm) { return text_value(alarm.time); }},
    {"NAME", "name", form::text,
     [](const tag_alarm_info& alarm) { return text_value(alarm.name); }},
    {"TEXT", "text", form::text,
     [](const tag_alarm_info& alarm) { return text_value(alarm.text); }},
};

void list(session& run) {
  alarm_list alarms;
  const int result = alarm_get(alarms.get());
  show_list(run, "alarms", make_table(alarm_columns, alarms), result);
}

}  // namespace

void add_alarm_commands(CLI::App& program, session& run) {
  CLI::App& alarm =
      add_noun(program, "alarm", "Alarms that the alarm daemon has raised", "orvctl alarm list");
  add_list(alarm, run, "list", "Show the current alarms", "orvctl alarm list --json", list);
}

}  // namespace orvctl
