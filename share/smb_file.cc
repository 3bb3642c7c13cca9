#include <unistd.h>

#include <cerrno>
#include <memory>
#include <optional>
#include <string>

#include "common/families.h"
#include "common/log.h"
#include "share/ini_line.h"
#include "share/rewrite.h"
#include "share/share_lines.h"
#include "share/share_paths.h"
#include "share/share_text.h"

/// The Samba files: "/etc/samba/smb.conf" and, without global settings, the recycle file.

namespace {

void apply(tag_share_config& share, const orv::ini_setting& setting) {
  if (setting.key == "comment") {
    orv::fill_once(share.comment, setting.value);
  } else if (setting.key == "path") {
    orv::fill_once(share.path, setting.value);
  } else if (setting.key == "writable" || setting.key == "writeable") {
    share.writable = setting.value == "yes" ? 1 : 0;
  } else if (setting.key == "valid users") {
    orv::fill_once(share.valid_users, setting.value);
  }
}

class reader {
 public:
  explicit reader(tag_shareconf_list* list) : list_(list) {}

  int take(std::string_view line) {
    if (line.size() < orv::shortest_ini_line || line.starts_with('#')) return ORV_OK;
    if (orv::is_section(line)) return begin_section(line);
    if (in_global_section_) return ORV_OK;
    const auto setting = orv::setting_of(line);
    if (!setting) return orv::senseless_line();
    if (share_ != nullptr) apply(*share_, *setting);
    return ORV_OK;
  }

 private:
  int begin_section(std::string_view line) {
    const auto name = orv::section_name(line);
    if (!name) return orv::senseless_line();
    in_global_section_ = *name == orv::global_section;
    if (in_global_section_) return ORV_OK;
    share_ = orv::append(list_);
    if (share_ == nullptr) return ORV_E_SHARE_READ;
    orv::set_text(share_->name, *name);
    orv::set_text(share_->service, "samba");
    return ORV_OK;
  }

  tag_shareconf_list* list_;
  tag_share_config* share_ = nullptr;
  bool in_global_section_ = false;
};

/// Appends a share; the live and the recycle file spell the key of its right differently. A share
/// that Samba takes for the global section would change the settings of all shares: it is left out.
void append_share(orv::secret_text& text, const tag_share_config& share,
                  std::string_view right_key) {
  constexpr std::string_view users_key = "valid users";
  constexpr std::size_t users_room = orv::longest_share_line - 7 - users_key.size();
  const std::string name = orv::stored_name(orv::text_of(share.name));
  if (orv::is_global_to_samba(name)) return;
  orv::append_section(text, name);
  orv::append_setting(text, "comment", orv::samba_value(orv::text_of(share.comment)));
  orv::append_setting(text, "path", orv::samba_value(orv::text_of(share.path)));
  orv::append_setting(text, "public", "yes");
  orv::append_setting(text, right_key, share.writable == 1 ? "yes" : "no");
  orv::append_setting(text, "printable", "no");
  orv::append_setting(text, "create mask", "0777");
  const std::string_view users = orv::whole_items(orv::text_of(share.valid_users), users_room);
  orv::append_setting(text, users_key, orv::or_nobody(orv::samba_value(users), users));
}

void append_live_share(orv::secret_text& text, const tag_share_config& share) {
  append_share(text, share, "writable");
}

void append_parked_share(orv::secret_text& text, const tag_share_config& share) {
  append_share(text, share, "writeable");
}

/// The part of a Samba file that is kept: what stands before its second "[", wherever that stands.
struct kept_part {
  off_t size = 0;
  bool ends_a_line = true;
};

/// Finds the kept part; nothing, with `errno`, on a read error.
std::optional<kept_part> find_kept_part(int file) {
  constexpr std::size_t block_size = 64UL * 1024;
  const auto block = std::make_unique_for_overwrite<char[]>(block_size);
  kept_part kept;
  int sections = 0;
  for (;;) {
    const ssize_t got = pread(file, block.get(), block_size, kept.size);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return std::nullopt;
    if (got == 0) return kept;
    for (const char c : std::string_view(block.get(), static_cast<std::size_t>(got))) {
      if (c == '[' && ++sections == 2) return kept;
      kept.ends_a_line = c == '\n';
      ++kept.size;
    }
  }
}

}  // namespace

int get_share_from_smb(int fd, tag_shareconf_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  reader shares(list);
  return orv::read_share_lines(fd, orv::line_buffer::cleared,
                               [&](std::string_view line) { return shares.take(line); });
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int put_share_to_smb(int fd, tag_shareconf_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const auto kept = find_kept_part(fd);
  if (!kept) return ORV_E_SHARE_READ;
  orv::secret_text text = orv::text_of_shares(list, append_live_share);
  if (!text.empty() && !kept->ends_a_line) text.insert(text.begin(), '\n');
  return orv::rewrite_from(fd, kept->size, text, orv::smb_path);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int put_share_to_smb_recy(int fd, tag_shareconf_list* list) try {
  return orv::rewrite(fd, list, append_parked_share, orv::smb_recy_path);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
