#include <orv/service.h>

#include <unistd.h>

#include "common/captured_output.h"
#include "common/families.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/text.h"
#include "service/line_parts.h"

namespace {

constexpr char session_path[] = "/proc/net/iet/session";

/// Reads the target's list: below each target its sessions, below each session its connections.
class session_reader {
 public:
  explicit session_reader(tag_shareconn_list* list) : list_(list) {}

  /// Takes the next line, "KIND:NUMBER NAME:VALUE...". A target without a name is not mistaken for
  /// the one before, nor is a session without an initiator.
  /// @return false without memory
  bool take(std::string_view line) {
    const std::string_view kind = orv::before(line, ":");
    const std::size_t mark = line.find(':', kind.size() + 1);
    const bool has_value = mark != std::string_view::npos;
    const std::string_view value = has_value ? line.substr(mark + 1) : std::string_view();
    if (kind == "tid") target_ = value;
    if (kind == "cid") close_session(orv::before(value, " "));
    if (kind != "sid") return true;
    session_ = nullptr;
    return !has_value || add_session(value);
  }

 private:
  bool add_session(std::string_view initiator) {
    session_ = orv::append(list_);
    if (session_ == nullptr) return false;
    orv::set_text(session_->share, target_);
    orv::set_text(session_->protocol, "iSCSI");
    orv::set_text(session_->user, initiator);
    return true;
  }

  /// Only the first connection of a session gives it its address.
  void close_session(std::string_view address) {
    if (session_ != nullptr && orv::is_ip(address)) orv::set_text(session_->ip, address);
    session_ = nullptr;
  }

  tag_shareconn_list* list_;
  std::string target_;
  tag_share_conn* session_ = nullptr;
};

/// Adds the sessions; false without memory, and on a read error.
bool add_sessions(tag_shareconn_list* list, FILE* file) {
  session_reader sessions(list);
  orv::line_reader reader(file);
  while (reader.next()) {
    if (!sessions.take(orv::trimmed(reader.line()))) return false;
  }
  return !reader.failed();
}

}  // namespace

int get_conninfo_from_session(tag_shareconn_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  if (access(session_path, F_OK) != 0) return ORV_OK;
  const orv::captured_output output("/tmp/iscsi.XXXXXX");
  if (!output.fill(orv::command("cat /proc/net/iet/session > %s", output.path()))) {
    return ORV_E_COMMAND;
  }
  const orv::unique_file file = output.stream();
  if (file && add_sessions(list, file.get())) return ORV_OK;
  orv::log_failure(ORV_OK);
  return ORV_E_EXPORTS;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
