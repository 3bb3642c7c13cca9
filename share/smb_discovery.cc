#include <orv/share.h>

#include <algorithm>
#include <string>
#include <vector>

#include "common/families.h"
#include "common/log.h"
#include "common/text.h"
#include "share/ini_lines.h"
#include "share/share_index.h"
#include "share/share_paths.h"

/// Users and rights of Samba shares.

namespace {

/// A setting of which the first of equal keys counts.
struct first_value {
  std::string_view key;
  bool is_there = false;
  std::string value{};

  void take(const orv::ini_lines& line) {
    const auto found = is_there ? std::nullopt : line.value_of(key);
    if (!found) return;
    is_there = true;
    value = *found;
  }
};

class rights {
 public:
  void clear() { writable_.is_there = writeable_.is_there = users_.is_there = false; }
  void take(const orv::ini_lines& line) {
    for (first_value* const known : {&writable_, &writeable_, &users_}) known->take(line);
  }
  void give(tag_share_config& share) const {
    const first_value& right = writable_.is_there ? writable_ : writeable_;
    if (right.is_there && right.value == "no") share.writable = 0;
    if (users_.is_there) orv::set_text(share.valid_users, users_.value);
  }

 private:
  first_value writable_{"writable"};
  first_value writeable_{"writeable"};
  first_value users_{"valid users"};
};

std::string_view section_of(const tag_share_config* share) {
  return orv::trimmed(orv::text_of(share->name));
}

/// Gives each Samba share of a list what its section says: of sections of one name the first one
/// counts.
class reader {
 public:
  explicit reader(tag_shareconf_list* list) {
    for (tag_share_config& share : orv::records(list)) {
      if (orv::text_of(share.service) != "samba") continue;
      if (!shares_.add(section_of(&share), share)) namesakes_.push_back(&share);
    }
    std::ranges::stable_sort(namesakes_, {}, section_of);
    is_known_.resize(shares_.size());
  }

  void take(const orv::ini_lines& line) {
    if (line.is_head()) {
      end_section();
      begin_section(line.section());
    } else if (share_ != nullptr) {
      rights_.take(line);
    }
  }

  void end_section() {
    if (share_ == nullptr) return;
    rights_.give(*share_);
    const std::string_view name = section_of(share_);
    auto other = std::ranges::lower_bound(namesakes_, name, {}, section_of);
    for (; other != namesakes_.end() && section_of(*other) == name; ++other) rights_.give(**other);
    share_ = nullptr;
  }

 private:
  void begin_section(std::string_view name) {
    const orv::share_index::place found = shares_.search(name);
    if (found.share == nullptr || is_known_[found.passed_over]) return;
    is_known_[found.passed_over] = true;
    share_ = found.share;
    rights_.clear();
  }

  orv::share_index shares_;
  std::vector<tag_share_config*> namesakes_;  ///< of shares before them, sorted
  std::vector<bool> is_known_;
  tag_share_config* share_ = nullptr;
  rights rights_;
};

}  // namespace

int get_shareinfo_from_smbconf(tag_shareconf_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  reader sections(list);
  orv::ini_lines lines(orv::smb_path);
  while (lines.next()) sections.take(lines);
  sections.end_section();
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
