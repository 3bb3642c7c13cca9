#include <cerrno>
#include <ctime>
#include <string>

#include "common/fields.h"
#include "common/local_time.h"
#include "common/log.h"
#include "common/secret_text.h"
#include "common/text.h"
#include "share/rewrite.h"
#include "share/share_lines.h"
#include "share/share_list.h"
#include "share/share_paths.h"
#include "share/share_text.h"
#include "share/user_passwords.h"

/// The configuration of the iSCSI target, "/etc/ietd.conf".

namespace {

constexpr std::string_view target_prefix = "iqn.2006-05.org.orv:";
constexpr std::size_t shortest_line = 8;
constexpr std::size_t longest_password = 12;

std::string_view first_word(std::string_view text) { return orv::before(text, " \t"); }

class reader {
 public:
  explicit reader(tag_shareconf_list* list) : list_(list) {}

  int take(std::string_view line) {
    if (line.size() < shortest_line) return ORV_OK;
    if (line.starts_with("Target")) return begin_target(orv::after(first_word_of(line, 1), ':'));
    if (share_ == nullptr) return ORV_OK;
    if (line.starts_with("IncomingUser")) {
      orv::append_user(*share_, first_word_of(line, 1));
    } else if (line.starts_with("Lun")) {
      take_path(orv::from_field(line, " ", 2));
    }
    return ORV_OK;
  }

 private:
  static std::string_view first_word_of(std::string_view line, std::size_t index) {
    return first_word(orv::from_field(line, " ", index));
  }

  /// Without a name the lines that follow belong to no share.
  int begin_target(std::string_view name) {
    share_ = nullptr;
    if (name.empty()) return ORV_OK;
    share_ = orv::append(list_);
    if (share_ == nullptr) return ORV_E_SHARE_READ;
    orv::set_text(share_->name, name);
    orv::set_text(share_->service, "iscsi");
    return ORV_OK;
  }

  /// The path in "Path=/mnt/a,Type=fileio,IOMode=wb".
  void take_path(std::string_view options) {
    if (options.find('=') == std::string_view::npos) return;
    orv::set_text(share_->path, orv::before(orv::after(options, '='), ","));
  }

  tag_shareconf_list* list_;
  tag_share_config* share_ = nullptr;
};

/// Appends targets to the text of the file. A target keeps the stamp of the time when it was first
/// written.
class writer {
 public:
  /// False when there are passwords that cannot be read: a target without them lets everybody in.
  bool knows_passwords() const { return known_users_.has_value() || has_no_users_; }

  void append_target(orv::secret_text& text, const tag_share_config& share) const {
    const std::string name = orv::stored_name(orv::text_of(share.name), "iscsi");
    text.append("Target ").append(target_prefix).append(name);
    if (name.find('.') == std::string::npos) text += stamp_;
    text += '\n';
    const std::string users = orv::fit_value(orv::text_of(share.valid_users), "\t");
    for (const std::string_view user : orv::split(users, " ,")) append_user(text, user);
    const std::string path = orv::fit_value(orv::text_of(share.path));
    text += "\tLun 0 Path=" + path + ",Type=fileio,IOMode=wb\n";
    text += "\tHeaderDigest\tNone,None\n\tDataDigest\tNone,None\n\tWthreads\t16\n";
  }

 private:
  void append_user(orv::secret_text& text, std::string_view user) const {
    const orv::secret_text* const password = known_users_ ? known_users_->find(user) : nullptr;
    text.append("\tIncomingUser ").append(user).append(" ");
    if (password != nullptr) {
      orv::append_fit_value(text, std::string_view(*password).substr(0, longest_password));
    }
    text += '\n';
  }

  std::string stamp_ = orv::local_time_text(std::time(nullptr), ".%Y%m%d%H%M%S").value_or("");
  std::optional<orv::user_passwords> known_users_ = orv::user_passwords::read();
  bool has_no_users_ = !known_users_ && errno == ENOENT;
};

}  // namespace

int get_share_from_ietd(int fd, tag_shareconf_list* list) try {
  const orv::cleared_stack stack;
  if (list == nullptr) return orv::log_missing_argument();
  reader targets(list);
  return orv::read_share_lines(fd, orv::line_buffer::kept,
                               [&](std::string_view line) { return targets.take(line); });
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int put_share_to_ietd(int fd, tag_shareconf_list* list) try {
  const orv::cleared_stack stack;
  if (list == nullptr) return orv::log_missing_argument();
  const writer targets;
  if (!targets.knows_passwords()) return ORV_E_SHARE_WRITE;
  const auto append_share = [&](orv::secret_text& text, const tag_share_config& share) {
    targets.append_target(text, share);
  };
  return orv::rewrite(fd, list, append_share, orv::ietd_path);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
