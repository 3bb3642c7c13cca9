#include <orv/share.h>
#include <sys/stat.h>

#include "common/captured_output.h"
#include "common/families.h"
#include "common/fields.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/text.h"
#include "share/share_index.h"
#include "share/share_list.h"

/// The volumes of the running iSCSI target.

namespace {

constexpr char volume_path[] = "/proc/net/iet/volume";

/// What the log of `get_shareinfo_from_iSCSI` says when the volumes cannot be opened.
constexpr int logged_line = 914;
constexpr int logged_code = 0;

/// "data" of "tid:1 name:iqn.2006-05.org.orv:data.20240131235959".
std::string_view share_name(std::string_view line) {
  constexpr std::size_t name_field = 1;
  const std::string_view field = orv::before(orv::from_field(line, " ", name_field), " ");
  if (field.find(':') == std::string_view::npos) return {};
  return orv::trimmed(orv::without_stamp(orv::after_last(field, ':')));
}

/// "/mnt/data" of "lun:0 state:0 iotype:fileio iomode:wb path:/mnt/data".
std::string_view volume_file(std::string_view line) {
  constexpr std::size_t path_field = 4;
  return orv::after(orv::from_field(line, " ", path_field), ':');
}

/// Reads the target's list: below each target its units.
class reader {
 public:
  explicit reader(tag_shareconf_list* list) : list_(list), shares_(list, &tag_share_config::name) {}

  /// Takes the next line; false without memory.
  bool take(std::string_view line) {
    const std::string_view kind = orv::trimmed_right(orv::before(line, ":"));
    if (kind == "tid") return begin_target(share_name(line));
    if (kind == "lun") add_unit(volume_file(line));
    return true;
  }

 private:
  /// Without a name the units that follow belong to no share.
  bool begin_target(std::string_view name) {
    share_ = nullptr;
    if (name.empty()) return true;
    share_ = find_or_append(name);
    if (share_ == nullptr) return false;
    orv::set_text(share_->service, "iSCSI");
    share_->writable = 1;
    share_->used = 0;
    return true;
  }

  /// Only the first unit of a target gives its share a path.
  void add_unit(std::string_view path) {
    if (share_ == nullptr || path.empty()) return;
    orv::set_text(share_->path, path);
    share_ = nullptr;
  }

  tag_share_config* find_or_append(std::string_view name) {
    tag_share_config* share = shares_.find(name);
    if (share != nullptr) return share;
    share = orv::append(list_);
    if (share == nullptr) return nullptr;
    orv::set_text(share->name, name);
    shares_.add(orv::text_of(share->name), *share);
    return share;
  }

  tag_shareconf_list* list_;
  orv::share_index shares_;
  tag_share_config* share_ = nullptr;
};

/// Takes all lines; false without memory, and on a read error.
bool take_volumes(FILE* file, tag_shareconf_list* list) {
  reader volumes(list);
  orv::line_reader lines(file);
  while (lines.next()) {
    if (!volumes.take(orv::trimmed(lines.line()))) return false;
  }
  return !lines.failed();
}

}  // namespace

int get_shareinfo_from_iSCSI(tag_shareconf_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  struct stat examined {};
  if (stat(volume_path, &examined) != 0) return ORV_OK;
  const orv::captured_output output("/tmp/iscsi.XXXXXX");
  if (!output.fill(orv::command("cat /proc/net/iet/volume > %s", output.path()))) {
    return ORV_E_COMMAND;
  }
  const orv::unique_file file = output.stream();
  if (file && take_volumes(file.get(), list)) return ORV_OK;
  orv::log_failure(logged_code, "get_shareinfo_from_iSCSI", logged_line);
  return ORV_E_EXPORTS;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
