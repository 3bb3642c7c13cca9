#include "tools/orvctl/run.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <ostream>
#include <string_view>

#include "tools/orvctl/commands.h"
#include "tools/orvctl/complete_command.h"
#include "tools/orvctl/errors.h"
#include "tools/orvctl/library_calls.h"
#include "tools/orvctl/problem_text.h"

namespace orvctl {
namespace {

// A command line that cannot be parsed may ask for JSON all the same.
bool asks_for_json(int argc, const char* const* argv) {
  for (int i = 1; i < argc && std::string_view(argv[i]) != "--"; ++i) {
    if (std::string_view(argv[i]) == "--json") return true;
  }
  return false;
}

void build(CLI::App& program, session& run) {
  program.name("orvctl");
  program.require_subcommand(1);
  program.set_version_flag("--version", "orvctl " ORVCTL_VERSION);
  program.add_flag("--json", run.as_json, "write one JSON document, also for an error");
  add_timeout(program, run);
  program.footer(
      "Example:\n  orvctl raid create --level raid5 --disks 1,2,3\n\n"
      "Data goes to standard output, everything else to standard error.\n"
      "Exit status: 0 done, 1 failed, 2 wrong usage, 3 not found, 4 busy (in use or taken),\n"
      "5 done in part, 6 a tool took longer than --timeout allows. 'orvctl system codes' shows "
      "that\n"
      "of every result code.");
  program.get_formatter()->column_width(34);
  add_disk_commands(program, run);
  add_spare_commands(program, run);
  add_raid_commands(program, run);
  add_vg_commands(program, run);
  add_pool_commands(program, run);
  add_fs_commands(program, run);
  add_share_commands(program, run);
  add_recycle_commands(program, run);
  add_service_commands(program, run);
  add_client_commands(program, run);
  add_ftp_limit_commands(program, run);
  add_user_commands(program, run);
  add_smart_commands(program, run);
  add_alarm_commands(program, run);
  add_net_commands(program, run);
  add_host_commands(program, run);
  add_clock_commands(program, run);
  add_power_commands(program, run);
  add_system_commands(program, run);
  add_conf_commands(program, run);
  add_status_command(program, run);
  add_report_command(program, run);
  add_metrics_command(program, run);
}

// The part of the grammar that the command line got to.
const CLI::App& reached(const CLI::App& program) {
  const CLI::App* at = &program;
  while (!at->get_subcommands().empty()) at = at->get_subcommands().front();
  return *at;
}

// "raid create"; empty for the program itself.
std::string command_name(const CLI::App& program) {
  std::string name;
  for (const CLI::App* at = &reached(program); at != &program; at = at->get_parent()) {
    name = at->get_name() + (name.empty() ? "" : " " + name);
  }
  return name;
}

std::string verbs_of(const CLI::App& app) {
  std::string names;
  for (const CLI::App* each : app.get_subcommands({})) {
    names += (names.empty() ? "" : ", ") + each->get_name();
  }
  return names;
}

// The parser's own words, but for a command that is missing or misspelt.
std::string meaning_of(const CLI::ParseError& error, const CLI::App& at) {
  if (at.get_subcommands({}).empty()) return error.what();
  const auto unknown = at.remaining();
  if (unknown.empty()) return "a command is missing: one of " + verbs_of(at);
  return "there is no command '" + unknown.front() + "' but " + verbs_of(at);
}

problem usage_problem_of(const CLI::ParseError& error, const CLI::App& program) {
  const std::string name = command_name(program);
  return usage_problem(meaning_of(error, reached(program)),
                       "run 'orvctl " + name + (name.empty() ? "" : " ") + "--help'");
}

exit_status tell(session& run, const std::string& command, const problem& found) {
  if (run.as_json) {
    run.document["error"] = problem_object(command, found);
  } else {
    run.io.err << problem_text(command, found);
  }
  return found.status;
}

exit_status parse_and_run(CLI::App& program, session& run, int argc, const char* const* argv) {
  try {
    set_ended_command("");
    program.parse(argc, argv);
    if (ended_command().empty()) return run.status;
    if (!run.shows_gaps) throw timeout_problem(ended_command());
    run.io.err << problem_text(command_name(program), timeout_problem(ended_command()));
    return run.status;
  } catch (const CLI::Success& asked) {  // --help or --version
    run.as_json = false;
    program.exit(asked, run.io.out, run.io.err);
    return exit_status::ok;
  } catch (const CLI::ParseError& error) {
    return tell(run, command_name(program), usage_problem_of(error, program));
  } catch (const problem& found) {
    const bool has_cause = !ended_command().empty() && found.status != exit_status::timed_out;
    return tell(run, command_name(program), has_cause ? by_timeout(found, ended_command()) : found);
  } catch (const std::exception& error) {  // no memory, for one
    return tell(run, command_name(program), library_problem(ORV_E_FAILED, error.what()));
  }
}

// "orvctl complete WORD..." is asked by the shell's completion and is no command for people.
bool asks_for_completions(int argc, const char* const* argv) {
  return argc > 1 && std::string_view(argv[1]) == "complete";
}

int complete(const CLI::App& program, session& run, int argc, const char* const* argv) {
  const std::vector<std::string> words(argv + 2, argv + argc);
  for (const std::string& each : completions(program, run.queries, words))
    run.io.out << each << '\n';
  run.io.out.flush();
  return static_cast<int>(exit_status::ok);
}

}  // namespace

int run(int argc, const char* const* argv, const streams& io) {
  session this_run{io};
  this_run.as_json = asks_for_json(argc, argv);
  this_run.shown.coloured = io.coloured;
  CLI::App program(
      "Manages the appliance: disks, arrays, volume groups, pools, shares, services and users.");
  build(program, this_run);
  if (asks_for_completions(argc, argv)) return complete(program, this_run, argc, argv);
  const exit_status status = parse_and_run(program, this_run, argc, argv);
  if (this_run.as_json) {
    io.out << this_run.document.dump(2, ' ', false, json::error_handler_t::replace) << '\n';
  }
  if (io.out.flush()) return static_cast<int>(status);
  // A reader that has seen enough, such as `head`, wants no message.
  if (errno != EPIPE) io.err << "orvctl: standard output cannot be written\n";
  return static_cast<int>(exit_status::failed);
}

}  // namespace orvctl
