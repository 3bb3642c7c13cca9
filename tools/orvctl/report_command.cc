#include <sys/utsname.h>

#include <fstream>
#include <ostream>
#include <sstream>

#include "tools/orvctl/commands.h"
#include "tools/orvctl/problem_text.h"
#include "tools/orvctl/system_log.h"
#include "tools/orvctl/tool_output.h"

#include <orv/system.h>

namespace orvctl {
namespace {

constexpr std::size_t most_log_lines = 500;

// None of them holds a password.
constexpr const char* shown_files[] = {"/proc/mdstat", "/proc/mounts", "/proc/partitions",
                                       "/etc/mdfstab", "/etc/exports"};

struct versioned_tool {
  const char* name;
  std::vector<std::string> words;
};

std::vector<versioned_tool> versioned_tools() {
  return {{"mdadm", {"/sbin/mdadm", "--version"}},
          {"lvm", {"/sbin/lvm", "version"}},
          {"smartctl", {"/usr/local/sbin/smartctl", "--version"}},
          {"samba", {"/usr/sbin/smbd", "--version"}}};
}

// LVM complains first of descriptors that it was not meant to have.
json version_among(const std::vector<std::string>& lines) {
  for (const std::string& line : lines) {
    const std::size_t start = line.find_first_not_of(' ');
    if (start != std::string::npos && !line.starts_with("File descriptor")) {
      return text_value(line.substr(start));
    }
  }
  return {};
}

json versions() {
  utsname kernel{};
  ::uname(&kernel);
  json all = {{"orvctl", ORVCTL_VERSION},
              {"kernel", std::string(kernel.sysname) + " " + kernel.release + " " + kernel.version +
                             " " + kernel.machine}};
  for (const versioned_tool& tool : versioned_tools()) {
    all[tool.name] = version_among(tool_output(tool.words));
  }
  return all;
}

/// What one command of a report came to.
struct asked {
  std::string text;
  json document;
};

/// Asks as the command alone would, and goes on when it fails.
asked ask(const session& run, const query& each) {
  std::ostringstream out;
  std::ostringstream err;
  const streams io{run.io.in, out, err, false};
  session part{io};
  part.as_json = run.as_json;
  try {
    each.ask(part);
  } catch (const problem& found) {
    err << problem_text(each.command, found);
    part.document["error"] = problem_object(each.command, found);
  }
  part.document.erase("format_version");
  return {out.str() + err.str(), part.document};
}

json content_of(const char* path) {
  std::ifstream file(path);
  if (!file) return {};
  return std::string(std::istreambuf_iterator<char>(file), {});
}

void show_title(std::ostream& out, const std::string& title) {
  out << "\n=== " << title << " ===\n";
}

void write_text(std::ostream& out, const json& report) {
  show_title(out, "versions");
  for (const auto& [name, version] : report["versions"].items()) {
    out << name << ": " << (version.is_null() ? "-" : version.get<std::string>()) << '\n';
  }
  for (const auto& [path, content] : report["files"].items()) {
    show_title(out, path);
    out << (content.is_null() ? "(cannot be read)\n" : content.get<std::string>());
  }
  show_title(out, "log");
  for (const json& line : report["log"]) out << line.get<std::string>() << '\n';
}

json time_now() {
  char time[32] = "";
  return systime_get(time, static_cast<int>(sizeof time)) == ORV_OK ? json(time) : json();
}

// The text is written at once: a reader that goes away in its midst is known by the failure.
void make_report(session& run) {
  run.shows_gaps = true;
  json report = {{"time", time_now()}, {"versions", versions()}};
  std::ostringstream text;
  text << "Report of orvctl, " << report["time"].dump() << '\n';
  json answers = json::object();
  for (const query& each : run.queries) {
    const asked answer = ask(run, each);
    show_title(text, "orvctl " + each.command);
    text << answer.text;
    answers[each.command] = answer.document;
  }
  report["commands"] = answers;
  report["files"] = json::object();
  for (const char* path : shown_files) report["files"][path] = content_of(path);
  report["log"] = last_log_lines(most_log_lines);
  run.document["report"] = report;
  if (run.as_json) return;
  write_text(text, report);
  run.io.out << text.str();
}

}  // namespace

void add_report_command(CLI::App& program, session& run) {
  CLI::App& verb = add_verb(program, run, "report",
                            "All lists, versions and logs in one text for support, no passwords",
                            "orvctl report --json > report.json");
  on_run(verb, run, make_report);
}

}  // namespace orvctl
