#include <array>
#include <optional>
#include <ostream>

#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/errors.h"

#include <orv/service.h>

namespace orvctl {
namespace {

using limit_values = std::array<std::optional<unsigned>, 3>;

struct limit_kind {
  const char* option;
  const char* title;
  const char* key;
  const char* name_in_file;
};

constexpr std::array<limit_kind, 3> kinds = {{
    {"--rate", "Rate of a user (bytes/s)", "rate", "local_max_rate"},
    {"--clients", "Clients", "clients", "max_clients"},
    {"--per-address", "Clients of one address", "per_address", "max_per_ip"},
}};

// A limit that the file does not have leaves its output as it was, whatever that was.
limit_values read_limits() {
  std::array<unsigned, 3> some = {0, 0, 0};
  std::array<unsigned, 3> others = {1, 1, 1};
  check(ftp_share_para_get(&some[0], &some[1], &some[2]));
  check(ftp_share_para_get(&others[0], &others[1], &others[2]));
  limit_values found;
  for (std::size_t i = 0; i < found.size(); ++i) {
    if (some[i] == others[i]) found[i] = some[i];
  }
  return found;
}

json value_of(const std::optional<unsigned>& limit) { return limit ? json(*limit) : json(); }

json fields_of(const limit_values& limits) {
  json fields = json::object();
  for (std::size_t i = 0; i < kinds.size(); ++i) fields[kinds[i].key] = value_of(limits[i]);
  return fields;
}

json shown_value(const std::optional<unsigned>& limit) {
  if (!limit) return "(not in the file)";
  return *limit == 0 ? json("no limit") : json(*limit);
}

void show(session& run) {
  const limit_values limits = read_limits();
  table shown({{"LIMIT", nullptr, form::text}, {"VALUE", nullptr, form::text}});
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    shown.add({kinds[i].title, shown_value(limits[i])});
  }
  run.document["ftp_limits"] = fields_of(limits);
  if (!run.as_json) run.io.out << shown.text(run.shown);
}

// A limit that is not in the file would silently not be set.
void must_be_in_file(const limit_values& wanted, const limit_values& present) {
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    if (!wanted[i] || present[i]) continue;
    problem missing = library_problem(
        ORV_E_FTP_CONFIG, std::string("it has no line '") + kinds[i].name_in_file + "'");
    missing.meaning = "the configuration of the FTP service does not have the limit";
    missing.advice = std::string("add a line '") + kinds[i].name_in_file +
                     "=0' to '/etc/vsftpd.conf', and nothing has been changed";
    throw missing;
  }
}

void set(session& run, const limit_values& wanted) {
  if (!wanted[0] && !wanted[1] && !wanted[2]) {
    throw usage_problem("no limit was given", "give --rate, --clients or --per-address");
  }
  limit_values limits = read_limits();
  must_be_in_file(wanted, limits);
  for (std::size_t i = 0; i < limits.size(); ++i) {
    if (wanted[i]) limits[i] = wanted[i];
  }
  check(ftp_share_para_set(limits[0].value_or(0), limits[1].value_or(0), limits[2].value_or(0)));
  report(run, "Set the limits; they hold after 'orvctl service restart ftp'.", fields_of(limits));
}

}  // namespace

void add_ftp_limit_commands(CLI::App& program, session& run) {
  CLI::App& limits = add_noun(program, "ftp-limit", "Limits of the FTP service",
                              "orvctl ftp-limit set --clients 20");
  add_query(limits, run, "show", "Show the limits", "orvctl ftp-limit show", show);

  const auto wanted = std::make_shared<limit_values>();
  CLI::App& setting =
      add_changing_verb(limits, run, "set", "Change limits; the file's comments and empty lines go",
                        "orvctl ftp-limit set --rate 1048576 --clients 20 --per-address 2");
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    add_option(setting, kinds[i].option, (*wanted)[i],
               std::string(kinds[i].title) + ", 0 for no limit")
        .type_name("N")
        .check(limit);
  }
  on_run(setting, run, wanted, set);
}

}  // namespace orvctl
