#include <array>
#include <optional>
#include <string>

#include "bindings/python/families.h"
#include "bindings/python/functions.h"

namespace orv_python {
namespace {

const field<tag_share_conn> client_fields[] = {
    text_field<&tag_share_conn::share>("share",
                                       "SMB: the first share in use; iSCSI: the target; FTP: '*'"),
    text_field<&tag_share_conn::protocol>("protocol", "'Ftp', 'CIFS' or 'iSCSI'"),
    text_field<&tag_share_conn::ip>("address", "IPv4 address; empty when not known"),
    text_field<&tag_share_conn::user>("user", "SMB: user; iSCSI: initiator; FTP: port and state"),
};

// --- Services ------------------------------------------------------------------------------------

struct service_calls {
  const char* name;
  int (*start)();
  int (*stop)();
  int (*status)();
};

constexpr service_calls services[] = {
    {"samba", smb_start, smb_stop, smb_status_get},
    {"nfs", nfs_start, nfs_stop, nfs_status_get},
    {"ftp", ftp_start, ftp_stop, ftp_status_get},
    {"iscsi", iscsi_start, iscsi_stop, iscsi_status_get},
    {"orv", nullptr, nullptr, orv_status_get},
};

const service_calls& calls_of(const std::string& name) {
  const service_calls* found = services;
  while (name != found->name) ++found;
  return *found;
}

template <auto step>
void run_step(const service& wanted) {
  check((calls_of(wanted.c()).*step)());
}

// A service that does not run, and one that cannot be asked for, give the same code.
bool running(const word<"samba nfs ftp iscsi orv">& wanted) {
  const int result = calls_of(wanted.c()).status();
  if (result == ORV_E_COMMAND) return false;
  check(result);
  return true;
}

using of_service = parameter<"service", service>;

void add_service_functions(py::module_& module) {
  define<parameter<"service", word<"samba nfs ftp iscsi orv">>>(
      module, "service_running", turn::any,
      "Whether a service runs: samba, nfs, ftp, iscsi, or the management daemon orv.", running);
  define<of_service>(module, "service_start", turn::any,
                     "Starts a service: samba, nfs, ftp or iscsi.",
                     run_step<&service_calls::start>);
  define<of_service>(module, "service_stop", turn::any,
                     "Stops a service: its clients lose their connections.",
                     run_step<&service_calls::stop>);
}

// --- Limits of the FTP service -------------------------------------------------------------------

using limit_values = std::array<std::optional<unsigned>, 3>;

struct ftp_limits {
  limit_values values;
};

template <std::size_t place>
field<ftp_limits> limit_field(const char* name, const char* about) {
  return {name, "int | None", about, [](const ftp_limits& of) -> py::object {
            const std::optional<unsigned>& value = of.values[place];
            return value ? py::object(py::int_(*value)) : py::none();
          }};
}

const field<ftp_limits> limit_fields[] = {
    limit_field<0>("rate", "bytes per second of a local user"),
    limit_field<1>("clients", "connections at the same time"),
    limit_field<2>("per_address", "connections at the same time from one address"),
};

// A limit that the file does not have leaves its output as it was, whatever that was.
ftp_limits read_limits() {
  std::array<unsigned, 3> some = {0, 0, 0};
  std::array<unsigned, 3> others = {1, 1, 1};
  check(ftp_share_para_get(&some[0], &some[1], &some[2]));
  check(ftp_share_para_get(&others[0], &others[1], &others[2]));
  ftp_limits found;
  for (std::size_t i = 0; i < found.values.size(); ++i) {
    if (some[i] == others[i]) found.values[i] = some[i];
  }
  return found;
}

// A limit that is not in the file would silently not be set.
void set_limits(const maybe<limit>& rate, const maybe<limit>& clients,
                const maybe<limit>& per_address) {
  constexpr const char* lines[] = {"local_max_rate", "max_clients", "max_per_ip"};
  limit_values values = read_limits().values;
  std::size_t place = 0;
  for (const maybe<limit>* given : {&rate, &clients, &per_address}) {
    if (given->c() && !values[place]) {
      throw failure{ORV_E_FTP_CONFIG, std::string("there is no line '") + lines[place] + "'"};
    }
    if (given->c()) values[place] = given->c()->c();
    ++place;
  }
  check(ftp_share_para_set(values[0].value_or(0), values[1].value_or(0), values[2].value_or(0)));
}

}  // namespace

void add_services(py::module_& module) {
  declare<tag_share_conn>(module, "Client", "One connection of a client.", client_fields);
  declare<ftp_limits>(
      module, "FtpLimits",
      "Limits of the FTP service: 0 for no limit, None where its configuration has\n"
      "no such line.",
      limit_fields);

  define(module, "client_list", turn::any, "The connected clients of FTP, SMB and iSCSI.",
         query<orv::connection_list, share_conn_get>());
  add_service_functions(module);
  define(module, "ftp_limits", turn::ftp_limits, "The limits of the FTP service.", read_limits);
  define<parameter<"rate", maybe<limit>, "None">, parameter<"clients", maybe<limit>, "None">,
         parameter<"per_address", maybe<limit>, "None">>(
      module, "ftp_limits_set", turn::ftp_limits,
      "Changes limits of the FTP service; 0 is no limit, None leaves a limit as it is. They hold\n"
      "after a restart of the service. Comments and empty lines of its configuration go.",
      set_limits);
}

}  // namespace orv_python
