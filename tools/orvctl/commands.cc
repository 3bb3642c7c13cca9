#include "tools/orvctl/commands.h"

#include <orv/scoped.h>

#include <CLI/CLI.hpp>
#include <charconv>

#include "tools/orvctl/dry_run.h"
#include "tools/orvctl/signals.h"

namespace orvctl {
namespace {

// Empty names stay, and are refused as names of columns.
std::vector<std::string> split(const std::string& names) {
  std::vector<std::string> all;
  std::size_t start = 0;
  for (;;) {
    const std::size_t comma = names.find(',', start);
    all.push_back(names.substr(start, comma - start));
    if (comma == std::string::npos) return all;
    start = comma + 1;
  }
}

bool is_time(std::string_view word) {
  unsigned seconds = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), seconds);
  return error == std::errc() && end == word.data() + word.size() && seconds >= 1 &&
         seconds <= 86400;
}

void carry_out(session& run, const std::function<void(session&)>& action, bool changes) {
  const orv::tool_timeout limit(run.tool_timeout.value_or(orv_tool_timeout()));
  if (run.dry_run) return show_plan_of(run, action);
  if (changes) {
    const finishing_first whatever_becomes_of_the_terminal;
    action(run);
  } else {
    const ending_cleanly after_the_running_tool;
    action(run);
  }
}

}  // namespace

void add_timeout(CLI::App& verb, session& run) {
  add_option(verb, "--timeout", run.tool_timeout, "end every tool that takes longer")
      .type_name("SECONDS")
      .check({is_time, "a number of seconds from 1 to 86400"});
}

CLI::App& add_noun(CLI::App& program, const std::string& name, const std::string& about,
                   const std::string& example) {
  CLI::App& noun = *program.add_subcommand(name, about);
  noun.require_subcommand(1);
  noun.footer("Example:\n  " + example + "\n\nEvery command has its own --help.");
  return noun;
}

CLI::App& add_verb(CLI::App& noun, session& run, const std::string& name, const std::string& about,
                   const std::string& example) {
  CLI::App& verb = *noun.add_subcommand(name, about);
  add_flag(verb, "--json", run.as_json, "write one JSON document, also for an error");
  add_timeout(verb, run);
  verb.footer("Example:\n  " + example);
  return verb;
}

CLI::App& add_changing_verb(CLI::App& noun, session& run, const std::string& name,
                            const std::string& about, const std::string& example) {
  CLI::App& verb = add_verb(noun, run, name, about, example);
  add_flag(verb, "--dry-run", run.dry_run, "check, show what would be done, and change nothing");
  return verb;
}

CLI::App& add_destroying_verb(CLI::App& noun, session& run, const std::string& name,
                              const std::string& about, const std::string& example) {
  CLI::App& verb = add_changing_verb(noun, run, name, about, example);
  add_flag(verb, "-y,--yes", run.yes, "go ahead without a question");
  return verb;
}

void add_list_options(CLI::App& verb, session& run) {
  add_option(
      verb, "--columns", [&run](const std::string& names) { run.shown.columns = split(names); },
      "show these columns only, in this order")
      .type_name("A,B");
  add_flag(verb, "--no-headings", run.shown.without_headings, "no line of headings");
  add_flag(verb, "--bytes", run.shown.bytes, "sizes as plain numbers of bytes");
}

void add_query(CLI::App& noun, session& run, const std::string& name, const std::string& about,
               const std::string& example, void (*action)(session&)) {
  on_run(add_verb(noun, run, name, about, example), run, action);
  run.queries.push_back({noun.get_name() + " " + name, action});
}

void add_list(CLI::App& noun, session& run, const std::string& name, const std::string& about,
              const std::string& example, void (*action)(session&)) {
  add_query(noun, run, name, about, example, action);
  add_list_options(*noun.get_subcommand(name), run);
}

option add_word(CLI::App& verb, const std::string& name, std::string& word,
                const std::string& about) {
  return add_option(verb, name, word, about).required().type_name("");
}

void on_run(CLI::App& verb, session& run, const std::function<void(session&)>& action) {
  const bool changes = verb.get_option_no_throw("--dry-run") != nullptr;
  verb.callback([&run, action, changes] { carry_out(run, action, changes); });
}

}  // namespace orvctl
