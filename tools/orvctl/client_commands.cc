#include "tools/orvctl/commands.h"
#include "tools/orvctl/quiet_output.h"
#include "tools/orvctl/records.h"

namespace orvctl {
namespace {

constexpr column<tag_share_conn> client_columns[] = {
    {"SHARE", "share", form::text, [](const tag_share_conn& c) { return text_value(c.share); }},
    {"PROTOCOL", "protocol", form::text,
     [](const tag_share_conn& c) { return text_value(c.protocol); }},
    {"ADDRESS", "address", form::text, [](const tag_share_conn& c) { return text_value(c.ip); }},
    {"USER", "user", form::text, [](const tag_share_conn& c) { return text_value(c.user); }},
};

void list(session& run) {
  client_list clients;
  const int result = without_notes([&] { return share_conn_get(clients.get()); });
  show_list(run, "clients", make_table(client_columns, clients), result);
}

}  // namespace

void add_client_commands(CLI::App& program, session& run) {
  CLI::App& client =
      add_noun(program, "client", "Clients that are connected", "orvctl client list");
  add_list(client, run, "list",
           "Show the connected clients of FTP, Samba and iSCSI; of FTP the client's port",
           "orvctl client list", list);
}

}  // namespace orvctl
