#include <cstdint>
#include <cstdlib>
#include <string>

#include "common/families.h"
#include "common/log.h"
#include "share/ini_line.h"
#include "share/rewrite.h"
#include "share/share_lines.h"
#include "share/share_paths.h"
#include "share/share_text.h"

/// The appliance's own list of shares, "/etc/sharefolder.conf".

namespace {

constexpr std::string_view services[] = {"samba", "nfs", "ftp", "iscsi"};

bool is_service(std::string_view word) {
  for (const std::string_view service : services) {
    if (word == service) return true;
  }
  return false;
}

uint64_t size_of(std::string_view value) {
  return static_cast<uint64_t>(std::strtol(std::string(value).c_str(), nullptr, 10));
}

void apply(tag_share_config& share, const orv::ini_setting& setting) {
  if (setting.key == "sharename") {
    orv::fill_once(share.name, setting.value);
  } else if (setting.key == "comment") {
    orv::fill_once(share.comment, setting.value);
  } else if (setting.key == "path") {
    orv::fill_once(share.path, setting.value);
  } else if (setting.key == "size") {
    share.size = size_of(setting.value);
  } else if (is_service(setting.key) && setting.value == "1") {
    orv::fill_once(share.service, setting.key);
  }
}

class reader {
 public:
  explicit reader(tag_shareconf_list* list) : list_(list) {}

  int take(std::string_view line) {
    if (line.size() < orv::shortest_ini_line) return ORV_OK;
    if (orv::is_section(line)) return begin_share(line);
    const auto setting = orv::setting_of(line);
    if (!setting) return orv::senseless_line();
    if (share_ != nullptr) apply(*share_, *setting);
    return ORV_OK;
  }

 private:
  /// What a share is called is said by its "sharename", not by its section.
  int begin_share(std::string_view line) {
    if (!orv::section_name(line) || orv::has_two_equals(line)) return orv::senseless_line();
    share_ = orv::append(list_);
    return share_ == nullptr ? ORV_E_SHARE_READ : ORV_OK;
  }

  tag_shareconf_list* list_;
  tag_share_config* share_ = nullptr;
};

/// A share of several services, or of one that is not known, has no service line.
void append_services(orv::secret_text& text, std::string_view service) {
  orv::secret_text lines;
  bool is_known = service.empty();
  for (const std::string_view word : services) {
    const bool is_used = orv::equal_ignoring_case(word, service);
    orv::append_setting(lines, word, is_used ? "1" : "0");
    is_known = is_known || is_used;
  }
  if (is_known) text += lines;
}

void append_share(orv::secret_text& text, const tag_share_config& share) {
  const std::string name = orv::stored_name(orv::text_of(share.name));
  orv::append_section(text, name);
  orv::append_setting(text, "sharename", name);
  orv::append_setting(text, "path", orv::text_of(share.path));
  orv::append_setting(text, "size", std::to_string(static_cast<int32_t>(share.size)));
  append_services(text, orv::text_of(share.service));
  orv::append_setting(text, "comment", orv::text_of(share.comment));
}

}  // namespace

int get_share_from_conf(int fd, tag_shareconf_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  reader shares(list);
  return orv::read_share_lines(fd, orv::line_buffer::cleared,
                               [&](std::string_view line) { return shares.take(line); });
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int put_share_to_conf(int fd, tag_shareconf_list* list) try {
  return orv::rewrite(fd, list, append_share, orv::sharefolder_path);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
