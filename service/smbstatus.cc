#include <orv/service.h>
#include <orv/support.h>

#include <algorithm>
#include <deque>
#include <optional>
#include <vector>

#include "common/captured_output.h"
#include "common/families.h"
#include "common/fields.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/text.h"
#include "service/line_parts.h"

namespace {

constexpr std::string_view smb_protocol = "CIFS";
constexpr std::string_view control_share = "IPC$";

/// Where a reader of smbstatus is: a table begins under a line of dashes and ends at an empty line.
class table_position {
 public:
  /// Moves to the next line. @return the number of the table whose row it is, from 1; 0 for none
  int table_of(std::string_view line) {
    const bool is_separator =
        !line.empty() && line.find_first_not_of('-') == std::string_view::npos;
    if (is_separator) ++number_;
    if (is_separator || line.empty()) in_table_ = is_separator;
    return in_table_ && !is_separator ? number_ : 0;
  }

 private:
  int number_ = 0;
  bool in_table_ = false;
};

/// The client's address, in what a row of the process table holds behind the user: group, machine
/// and "(ADDRESS)", which present versions write as "(ipv4:ADDRESS:PORT)".
std::string_view address_in(std::string_view row) {
  constexpr std::string_view mark = "(ipv4:";
  const std::size_t place = row.rfind(mark);
  if (place != std::string_view::npos) return orv::before(row.substr(place + mark.size()), ":)");
  return orv::before(orv::from_field(row, " ()", 2), ")");
}

/// Adds the client of a row of the process table. Until its share is known the record's protocol
/// is the number of its process. @return false without memory
bool add_process(tag_shareconn_list* list, std::string_view row) {
  const std::string_view process = orv::before(row, " ");
  if (!orv::is_number(process)) return true;
  tag_share_conn* const connection = orv::append(list);
  if (connection == nullptr) return false;
  const std::string_view from_user = orv::from_field(row, " ", 1);
  const std::string_view user = orv::before(from_user, " ");
  const std::string_view address = address_in(from_user.substr(user.size()));
  orv::set_text(connection->share, control_share);
  orv::set_text(connection->protocol, process);
  orv::set_text(connection->user, user);
  if (orv::is_ip(address)) orv::set_text(connection->ip, address);
  return true;
}

/// The clients of the process table by their processes. They stay in this order until their
/// protocols are settled.
class client_index {
 public:
  explicit client_index(tag_shareconn_list* list) {
    for (tag_share_conn& connection : orv::records(list)) clients_.push_back(&connection);
    std::ranges::stable_sort(clients_, {}, process_of);
    has_share_.resize(clients_.size());
  }

  /// Gives the clients of a row of the service table their share. A client keeps the share that it
  /// has: the first one listed.
  void take_service(std::string_view row) {
    const auto words = orv::split(row, " ");
    if (words.size() < 2 || !orv::is_number(words[1]) || words[0] == control_share) return;
    auto found = std::ranges::lower_bound(clients_, words[1], {}, process_of);
    for (; found != clients_.end() && process_of(*found) == words[1]; ++found) {
      auto has_share = has_share_[static_cast<std::size_t>(found - clients_.begin())];
      if (!has_share) orv::set_text((*found)->share, words[0]);
      has_share = true;
    }
  }

 private:
  static std::string_view process_of(const tag_share_conn* client) {
    return orv::text_of(client->protocol);
  }

  std::deque<tag_share_conn*> clients_;  // a vector would double as it grows
  std::vector<bool> has_share_;          // for each of them
};

/// Replaces the numbers of the processes.
void settle_protocols(tag_shareconn_list* list) {
  for (tag_share_conn& connection : orv::records(list)) {
    if (!orv::is_number(orv::text_of(connection.protocol))) continue;
    orv::set_text(connection.protocol, smb_protocol);
  }
}

/// Reads the tables of processes and services; false without memory, and on a read error.
bool read_tables(tag_shareconn_list* list, FILE* file) {
  table_position position;
  std::optional<client_index> clients;
  orv::line_reader reader(file);
  bool complete = true;
  while (complete && reader.next()) {
    const std::string_view line = orv::trimmed(reader.line());
    const int table = position.table_of(line);
    if (table == 1) complete = add_process(list, line);
    if (table != 2) continue;
    if (!clients) clients.emplace(list);
    clients->take_service(line);
  }
  settle_protocols(list);
  return complete && !reader.failed();
}

}  // namespace

int get_conninfo_from_smbstatus(tag_shareconn_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const orv::captured_output output("/tmp/smbconn_info.XXXXXX");
  if (!output.fill(orv::command("smbstatus > %s", output.path()))) return ORV_E_COMMAND;
  const orv::unique_file file = output.stream();
  if (!file) {
    liborv_log_error("cannot open %s", output.path().c_str());
    return ORV_E_SMBSTATUS;
  }
  return read_tables(list, file.get()) ? ORV_OK : orv::log_failure(ORV_E_SMBSTATUS);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
