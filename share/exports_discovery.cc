#include <orv/share.h>
#include <sys/stat.h>

#include "common/companion.h"
#include "common/handles.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/octal_code.h"
#include "common/text.h"
#include "share/share_index.h"
#include "share/share_list.h"
#include "share/share_paths.h"

/// Clients and rights of NFS shares.

namespace {

/// The number that stands for the line in the log of `get_shareinfo_from_exportfs`.
constexpr int logged_line = 816;

bool is_nfs(const tag_share_config& share) { return orv::has_service(share, "nfs"); }

/// Takes over a line "PATH CLIENTS(OPTION,...)". A line without a blank says nothing of clients.
void take(std::string_view line, const orv::share_index& shares) {
  if (line.starts_with('#') || line.find(' ') == std::string_view::npos) return;
  tag_share_config* const share = shares.find(orv::unescaped_text(orv::before(line, " ")).text());
  if (share == nullptr) return;
  const std::string_view clients = orv::trimmed_left(orv::after(line, ' '));
  orv::set_text(share->valid_users, orv::before(clients, " ("));
  if (orv::before(orv::after(clients, '('), ",)") == "ro") share->writable = 0;
}

}  // namespace

int get_shareinfo_from_exportfs(tag_shareconf_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  struct stat examined {};
  if (stat(orv::exports_path, &examined) != 0) return ORV_OK;
  const orv::unique_file file = orv::open_whole(orv::exports_path);
  if (!file) return orv::log_failure(ORV_E_EXPORTS, "get_shareinfo_from_exportfs", logged_line);
  const orv::share_index shares(list, &tag_share_config::path, is_nfs);
  orv::line_reader reader(file.get());
  while (reader.next()) take(orv::trimmed(reader.line()), shares);
  if (!reader.failed()) return ORV_OK;
  return orv::log_failure(ORV_E_EXPORTS, "get_shareinfo_from_exportfs", logged_line);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
