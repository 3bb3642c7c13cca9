/// Who is connected: netstat, smbstatus, the sessions of the iSCSI target; and who runs: pidof.

#include <orv/service.h>

#include "fuzz.h"

namespace {

bool is_protocol(std::string_view text) {
  return text == "Ftp" || text == "CIFS" || text == "iSCSI";
}

void check(fuzz::list<tag_shareconn_list>& connections, std::size_t limit) {
  connections.check(limit);
  for (const tag_share_conn& connection : connections) {
    EXPECT(is_protocol(orv::text_of(connection.protocol)));
    EXPECT(connection.ip[0] == '\0' || check_ip(connection.ip) == ORV_OK);
  }
}

void ask_for_process(std::string_view answer) {
  the_machine.tool_output = answer;
  const int result = ftp_status_get();
  EXPECT(result == ORV_OK || result == ORV_E_FAILED || result == ORV_E_STATUS_OUTPUT);
}

}  // namespace

FUZZ_TARGET(connections, in) {
  const unsigned source = in.below(4);
  const std::string_view text = in.rest();
  if (source == 3) return ask_for_process(text);
  the_machine.tool_output = text;
  if (source == 2) the_machine.put("/proc/net/iet/session", text);
  constexpr int (*readers[])(tag_shareconn_list*) = {
      get_conninfo_from_netstat, get_conninfo_from_smbstatus, get_conninfo_from_session};
  fuzz::list<tag_shareconn_list> connections;
  EXPECT(readers[source](connections.get()) == ORV_OK);
  check(connections, fuzz::lines_in(text));
}
