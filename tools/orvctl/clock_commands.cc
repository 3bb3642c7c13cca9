#include <charconv>
#include <chrono>
#include <optional>
#include <string_view>

#include "tools/orvctl/commands.h"
#include "tools/orvctl/errors.h"

#include <orv/system.h>

namespace orvctl {
namespace {

struct clock_arguments {
  std::string date;
  std::string time;
};

// So many digits and nothing else.
std::optional<int> number_at(std::string_view text, std::size_t at, std::size_t digits) {
  int number = 0;
  const char* start = text.data() + at;
  const auto [end, error] = std::from_chars(start, start + digits, number);
  if (error != std::errc() || end != start + digits || *start == '-') return std::nullopt;
  return number;
}

std::optional<std::chrono::year_month_day> parse_date(std::string_view text) {
  constexpr std::string_view pattern = "YYYY-MM-DD";
  if (text.size() != pattern.size() || text[4] != '-' || text[7] != '-') return std::nullopt;
  const auto year = number_at(text, 0, 4);
  const auto month = number_at(text, 5, 2);
  const auto day = number_at(text, 8, 2);
  if (!year || !month || !day) return std::nullopt;
  const std::chrono::year_month_day date(std::chrono::year(*year),
                                         std::chrono::month(static_cast<unsigned>(*month)),
                                         std::chrono::day(static_cast<unsigned>(*day)));
  return date.ok() ? std::optional(date) : std::nullopt;
}

bool parse_time(std::string_view text, tag_datetime& out) {
  constexpr std::string_view pattern = "HH:MM:SS";
  if (text.size() != pattern.size() || text[2] != ':' || text[5] != ':') return false;
  const auto hour = number_at(text, 0, 2);
  const auto minute = number_at(text, 3, 2);
  const auto second = number_at(text, 6, 2);
  if (!hour || !minute || !second || *hour > 23 || *minute > 59 || *second > 59) return false;
  out.hour = *hour;
  out.minute = *minute;
  out.second = *second;
  return true;
}

// The library lets fields out of range count on: February 30 would be set as a day of March.
tag_datetime datetime_of(const clock_arguments& given) {
  tag_datetime when{};
  const auto date = parse_date(given.date);
  if (!date) throw usage_problem("'" + given.date + "' is no date", "give it as 2024-05-31");
  if (!parse_time(given.time, when)) {
    throw usage_problem("'" + given.time + "' is no time of day", "give it as 18:30:00");
  }
  when.year = static_cast<int>(date->year());
  when.month = static_cast<int>(static_cast<unsigned>(date->month()));
  when.day = static_cast<int>(static_cast<unsigned>(date->day()));
  return when;
}

void show(session& run) {
  char time[32] = "";
  check(systime_get(time, static_cast<int>(sizeof time)));
  run.document["time"] = time;
  show_value(run, time);
}

// Date and time may be one word.
clock_arguments split(const clock_arguments& given) {
  const std::size_t blank = given.date.find(' ');
  if (!given.time.empty() || blank == std::string::npos) return given;
  return {given.date.substr(0, blank), given.date.substr(blank + 1)};
}

void set(session& run, const clock_arguments& words) {
  const clock_arguments given = split(words);
  const tag_datetime when = datetime_of(given);
  check(systime_set(&when));
  const std::string time = given.date + " " + given.time;
  report(run, "Set the clock to " + time + ".", {{"time", time}});
}

}  // namespace

void add_clock_commands(CLI::App& program, session& run) {
  CLI::App& clock = add_noun(program, "clock", "Date and time of day, as local time",
                             "orvctl clock set 2024-05-31 18:30:00");
  add_query(clock, run, "show", "Show date and time", "orvctl clock show", show);

  const auto given = std::make_shared<clock_arguments>();
  CLI::App& setting = add_changing_verb(clock, run, "set", "Set the clock, the hardware's too",
                                        "orvctl clock set 2024-05-31 18:30:00");
  add_word(setting, "DATE", given->date, "date, as YYYY-MM-DD");
  add_option(setting, "TIME", given->time, "time of day, as HH:MM:SS").type_name("");
  on_run(setting, run, given, set);
}

}  // namespace orvctl
