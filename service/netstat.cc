#include <orv/service.h>
#include <orv/support.h>

#include "common/captured_output.h"
#include "common/families.h"
#include "common/fields.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/text.h"
#include "service/line_parts.h"

namespace {

/// The columns of "tcp 0 0 nas:ftp 10.0.0.5:40112 ESTABLISHED" from the client's address on; empty
/// when the line is none of a connection to the FTP service. The data port's name counts too.
std::string_view ftp_client_in(std::string_view line) {
  if (!line.starts_with("tcp")) return {};
  if (!orv::from_field(line, " :", 4).starts_with("ftp")) return {};
  return orv::from_field(line, " ", 4);
}

/// Adds the FTP clients; false without memory, and on a read error.
bool add_clients(tag_shareconn_list* list, FILE* file) {
  orv::line_reader reader(file);
  while (reader.next()) {
    const std::string_view client = ftp_client_in(orv::trimmed(reader.line()));
    if (client.empty()) continue;
    const std::string host(orv::before(client, ":"));
    if (!orv::is_ip(host)) {
      liborv_log_error("get ftp client ip invalid %s\n", host.c_str());
      continue;
    }
    tag_share_conn* const connection = orv::append(list);
    if (connection == nullptr) return false;
    orv::set_text(connection->share, "*");
    orv::set_text(connection->protocol, "Ftp");
    orv::set_text(connection->ip, host);
    orv::set_text(connection->user, orv::after(client, ':'));
  }
  return !reader.failed();
}

}  // namespace

int get_conninfo_from_netstat(tag_shareconn_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const orv::captured_output output("/tmp/conn_info.XXXXXX");
  if (!output.fill(orv::command("netstat -t > %s", output.path()))) return ORV_E_COMMAND;
  const orv::unique_file file = output.stream();
  if (!file) {
    liborv_log_error("cannot open %s\n", output.path().c_str());
    return ORV_E_NETSTAT;
  }
  return add_clients(list, file.get()) ? ORV_OK : orv::log_failure(ORV_E_NETSTAT);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
