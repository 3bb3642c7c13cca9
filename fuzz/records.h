#ifndef ORV_FUZZ_RECORDS_H
#define ORV_FUZZ_RECORDS_H

#include <cstdint>
#include <string>
#include <string_view>

#include "common/families.h"

/// What must hold of every list that the library fills, whatever it was filled from.

namespace fuzz {

[[noreturn]] void fail(const char* what, const char* file, int line);

template <class List>
std::string described(List* list);

/// Writes a record's fields down, one after the other. A text that is not terminated within its
/// field ends the program.
class description {
 public:
  template <class... Fields>
  explicit description(const Fields&... fields) {
    (add(fields), ...);
  }
  operator std::string() && { return std::move(text_); }

 private:
  template <std::size_t Size>
  void add(const char (&field)[Size]) {
    const std::string_view all(field, Size);
    const std::size_t end = all.find('\0');
    if (end == all.npos) fail("a text is terminated", __FILE__, __LINE__);
    text_.append(all.substr(0, end)) += '\x1f';
  }
  void add(int64_t number) { text_.append(std::to_string(number)) += '\x1f'; }
  void add(const std::string& list) { text_ += list; }

  std::string text_;
};

inline int64_t number(uint64_t value) { return static_cast<int64_t>(value); }

inline std::string describe(const tag_disksmart_info& r) {
  return description(r.id, r.attr_name, r.value, r.worst, r.thresh, r.raw, r.status);
}
inline std::string describe(const tag_smart_info& r) {
  return description(r.device_model, r.serial_number, r.firmware_version, r.user_capacity,
                     r.ata_version, r.ata_standard, r.smart_support, r.smart_enabled, r.health);
}
inline std::string describe(const tag_disk_info& r) {
  return description(r.name, r.ch, number(r.size), r.state, r.model, r.usage, r.enclosure,
                     r.hotspare, describe(r.smart), described(&r.smart_list));
}
inline std::string describe(const tag_md_info& r) {
  return description(r.name, r.level, r.state, r.progress, number(r.size), number(r.size2), r.disks,
                     r.spares, r.enclosure);
}
inline std::string describe(const tag_pv_info& r) {
  return description(r.pvname, r.attr, r.enclosure, number(r.size), number(r.used), r.vgname);
}
inline std::string describe(const tag_vg_info& r) {
  return description(r.vgname, r.attr, r.enclosure, number(r.size), number(r.used),
                     described(&r.pvs));
}
inline std::string describe(const tag_pool_info& r) {
  return description(r.poolname, r.state, number(r.size), number(r.used), r.vgname, r.enclosure);
}
inline std::string describe(const tag_fs_info& r) {
  return description(r.devname, r.mountpoint, r.fstype, r.state, number(r.size), number(r.used),
                     r.vgname, r.enclosure);
}
inline std::string describe(const tag_share_config& r) {
  return description(r.name, r.comment, r.path, r.service, r.status, r.valid_users, r.writable,
                     number(r.size), number(r.used));
}
inline std::string describe(const tag_share_conn& r) {
  return description(r.share, r.protocol, r.ip, r.user);
}
inline std::string describe(const tag_user_info& r) {
  return description(r.uid, r.gid, r.name, r.password, r.type);
}
inline std::string describe(const tag_alarm_info& r) {
  return description(r.id, r.name, r.time, r.text);
}
inline std::string describe(const tag_netcard& r) {
  return description(r.name, r.ip, r.netmask, r.gateway, r.mac, r.state);
}

/// All records of a list, one a line, once each link of the ring was found to lead back.
template <class List>
std::string described(List* list) {
  std::string text;
  const list_node* const anchor =
      orv::node_of<std::remove_const_t<List>>(const_cast<std::remove_const_t<List>*>(list));
  for (const list_node* node = anchor; node->next != anchor; node = node->next) {
    if (node->next->prev != node) fail("a list is a ring", __FILE__, __LINE__);
  }
  for (const auto& record : orv::records(list)) text += describe(record) + '\n';
  return text;
}

/// A list of the library that checks itself.
template <class List>
class list : public orv::scoped_list<List> {
 public:
  /// Checks every record, and that there are no more of them than a limit.
  /// @return all fields of all records
  std::string check(std::size_t limit) {
    std::string text = described(this->get());
    if (count() > limit) fail("no more records than the input tells of", __FILE__, __LINE__);
    return text;
  }

  std::size_t count() {
    std::size_t found = 0;
    for ([[maybe_unused]] const auto& record : *this) ++found;
    return found;
  }
};

/// Lines of a text, the last one too when it has no line end.
inline std::size_t lines_in(std::string_view text) {
  std::size_t lines = 1;
  for (const char c : text) lines += c == '\n' ? 1U : 0U;
  return lines;
}

}  // namespace fuzz

#endif
