#include <orv/share.h>

#include "common/captured_output.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/secret_text.h"
#include "common/text.h"
#include "share/share_index.h"
#include "share/share_list.h"

/// Users of iSCSI volumes.

namespace {

/// What the log of `get_shareinfo_from_ietd` says when the targets cannot be opened.
constexpr int logged_line = 705;
constexpr int logged_code = 0;

/// "data" of "Target iqn.2006-05.org.orv:data.20240131235959".
std::string_view share_name(std::string_view line) {
  orv::next_part(line, ":");
  return orv::trimmed(orv::without_stamp(orv::next_part(line, ":")));
}

/// Reads the target's configuration: below each target its users.
class reader {
 public:
  explicit reader(tag_shareconf_list* list) {
    for (tag_share_config& share : orv::records(list)) shares_.put(orv::text_of(share.name), share);
  }

  void take(std::string_view line) {
    constexpr std::string_view blanks = " \t";
    std::string_view rest = line;
    const std::string_view keyword = orv::next_part(rest, blanks);
    if (keyword == "Target") {
      begin_target(share_name(line));
    } else if (keyword == "IncomingUser" && share_ != nullptr) {
      orv::append_user(*share_, orv::next_part(rest, blanks));
    }
  }

 private:
  /// The users of a target that has no name, or is no listed share, belong to no share. Those of a
  /// second target of one share follow the first one's behind a ",".
  void begin_target(std::string_view name) {
    share_ = name.empty() ? nullptr : shares_.find(name);
    if (share_ != nullptr) orv::set_text(share_->service, "iSCSI");
  }

  orv::share_index shares_;  ///< the last of each name
  tag_share_config* share_ = nullptr;
};

/// Takes all lines; false on a read error.
bool take_targets(FILE* file, tag_shareconf_list* list) {
  reader targets(list);
  orv::line_reader lines(file);
  while (lines.next()) targets.take(orv::trimmed(lines.line()));
  return !lines.failed();
}

}  // namespace

int get_shareinfo_from_ietd(tag_shareconf_list* list) try {
  const orv::cleared_stack stack;
  if (list == nullptr) return orv::log_missing_argument();
  const orv::captured_output output("/tmp/iscsi.XXXXXX");
  if (!output.fill(orv::command("cat /etc/ietd.conf > %s", output.path()))) return ORV_E_COMMAND;
  const orv::unique_file file = output.stream();
  if (file && take_targets(file.get(), list)) return ORV_OK;
  orv::log_failure(logged_code, "get_shareinfo_from_ietd", logged_line);
  return ORV_E_IETD;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
