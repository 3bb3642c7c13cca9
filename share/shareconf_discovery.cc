#include <orv/share.h>

#include <array>
#include <charconv>
#include <cstdlib>
#include <deque>
#include <string>
#include <vector>

#include "common/families.h"
#include "common/log.h"
#include "common/text.h"
#include "share/ini_lines.h"
#include "share/share_index.h"
#include "share/share_paths.h"

/// The shares that "/etc/sharefolder.conf" declares.

namespace {

/// Longest name of a section and longest number that are looked at.
constexpr std::size_t longest_head = 34;
constexpr std::size_t longest_number = 31;

/// The keys in the order in which they are written: the next one is looked for first.
constexpr std::string_view keys[] = {"sharename", "path", "size",  "samba",
                                     "nfs",       "ftp",  "iscsi", "comment"};
enum key_number : std::size_t {
  name_key,
  path_key,
  size_key,
  first_service_key,
  comment_key = first_service_key + 4,
  number_of_keys
};
static_assert(std::size(keys) == number_of_keys);

/// What the keys of services are called in a share.
constexpr const char* services[] = {"samba", "nfs", "ftp", "iSCSI"};
constexpr std::size_t number_of_services = std::size(services);

uint64_t number_in(std::string_view value) {
  value = value.substr(0, longest_number);
  unsigned long number = 0;
  if (std::from_chars(value.begin(), value.end(), number).ec == std::errc()) return number;
  // A sign, no number, or one that is too large.
  const std::string text(value);
  return std::strtoul(text.c_str(), nullptr, 10);
}

/// The share that the settings of a section describe: of equal keys the first one counts.
class described_share {
 public:
  void begin(tag_share_config* share) { *this = described_share(share); }

  void take(const orv::ini_lines& line) {
    for (std::size_t i = 0; i < number_of_keys; ++i) {
      const std::size_t key = (expected_ + i) % number_of_keys;
      const auto value = line.value_of(keys[key]);
      if (!value) continue;
      if (!is_known_[key]) set(key, *value);
      is_known_[key] = true;
      expected_ = key + 1;
      return;
    }
  }

  /// The services stand in the order of the table, whatever that of the settings.
  void end() const {
    for (std::size_t i = 0; i < number_of_services; ++i) {
      if (is_on_[i]) share_conf_set_value(share_->service, services[i], "1");
    }
  }

  tag_share_config* share() const { return share_; }

  described_share() = default;

 private:
  explicit described_share(tag_share_config* share) : share_(share) {}

  void set(std::size_t key, std::string_view value) {
    if (key == name_key) {
      orv::set_text(share_->name, value);
    } else if (key == path_key) {
      orv::set_text(share_->path, value);
    } else if (key == size_key) {
      share_->size = number_in(value);
    } else if (key == comment_key) {
      orv::set_text(share_->comment, value);
    } else {
      is_on_[key - first_service_key] = value == "1";
    }
  }

  tag_share_config* share_ = nullptr;  ///< NULL where settings describe none
  std::size_t expected_ = 0;           ///< the key behind the last one
  std::array<bool, number_of_keys> is_known_{};
  std::array<bool, number_of_services> is_on_{};
};

void copy_description(tag_share_config& share, const tag_share_config& from) {
  orv::set_text(share.name, orv::text_of(from.name));
  orv::set_text(share.comment, orv::text_of(from.comment));
  orv::set_text(share.path, orv::text_of(from.path));
  orv::set_text(share.service, orv::text_of(from.service));
  share.size = from.size;
}

/// Appends a share for each head, as lookups of its section's keys would find it: of sections of
/// one name the first one counts.
class reader {
 public:
  explicit reader(tag_shareconf_list* list) : list_(list) {}

  /// False without memory.
  bool take(const orv::ini_lines& line) {
    if (line.is_head()) return begin_section(line);
    if (described_.share() != nullptr) described_.take(line);
    return true;
  }

  void finish() {
    end_section();
    for (const reference& made : references_) {
      const tag_share_config* const found = sections_.find(made.section);
      if (found != nullptr) copy_description(*made.share, *found);
    }
  }

 private:
  /// A share that is what another section describes, before or behind its own head.
  struct reference {
    tag_share_config* share;
    std::string section;
  };

  bool begin_section(const orv::ini_lines& line) {
    end_section();
    tag_share_config* const share = line.is_sought() ? orv::append(list_) : nullptr;
    if (line.is_sought() && share == nullptr) return false;
    const bool is_first = sections_.find(line.section()) == nullptr;
    const bool is_its_own = share != nullptr && refers_to_its_section(line, *share, is_first);
    if (!is_first) return true;
    section_ = line.section();
    described_.begin(is_its_own ? share : orv::append(others_.get()));
    return described_.share() != nullptr;
  }

  /// Whether a head's share is what the section that begins with it describes.
  bool refers_to_its_section(const orv::ini_lines& line, tag_share_config& share, bool is_first) {
    const auto name = line.sought_name();
    if (!name) return false;
    const std::string_view sought = orv::trimmed(name->substr(0, longest_head));
    if (is_first && sought == line.section()) return true;
    references_.push_back({&share, std::string(sought)});
    return false;
  }

  void end_section() {
    if (described_.share() == nullptr) return;
    described_.end();
    // A share is nearly always called like its section: then the record holds the name.
    const std::string_view name = orv::text_of(described_.share()->name);
    const bool is_held = name == section_;
    sections_.add(is_held ? name : names_.emplace_back(section_), *described_.share());
    described_.begin(nullptr);
  }

  tag_shareconf_list* list_;
  orv::scoped_list<tag_shareconf_list> others_;  ///< of sections whose head lists no share
  orv::share_index sections_;                    ///< the first of each name
  std::deque<std::string> names_;
  std::vector<reference> references_;
  std::string section_;
  described_share described_;
};

}  // namespace

int get_shareinfo_from_shareconf(tag_shareconf_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  reader shares(list);
  orv::ini_lines lines(orv::sharefolder_path);
  while (lines.next()) {
    if (!shares.take(lines)) return orv::log_failure(ORV_E_FAILED);
  }
  shares.finish();
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
