#include <orv/share.h>

#include <cstdlib>
#include <string>

#include "common/families.h"
#include "common/log.h"
#include "common/text.h"
#include "share/ini_index.h"
#include "share/share_paths.h"

/// The shares that "/etc/sharefolder.conf" declares.

namespace {

/// Longest name of a section and longest number that are looked at.
constexpr std::size_t longest_head = 34;
constexpr std::size_t longest_number = 31;

struct service_key {
  std::string_view key;
  const char* word;
};

constexpr service_key services[] = {
    {"samba", "samba"}, {"nfs", "nfs"}, {"ftp", "ftp"}, {"iscsi", "iSCSI"}};

constexpr std::string_view keys[] = {"sharename", "comment", "path", "size",
                                     "samba",     "nfs",     "ftp",  "iscsi"};

uint64_t number_in(std::string_view value) {
  const std::string text(value.substr(0, longest_number));
  return std::strtoul(text.c_str(), nullptr, 10);
}

void fill(tag_share_config& share, const orv::ini_section& section) {
  const auto value = [&](std::string_view key) { return section.value(key).value_or(""); };
  orv::set_text(share.name, value("sharename"));
  orv::set_text(share.comment, value("comment"));
  orv::set_text(share.path, value("path"));
  share.size = number_in(value("size"));
  for (const service_key& service : services) {
    share_conf_set_value(share.service, service.word, std::string(value(service.key)).c_str());
  }
}

}  // namespace

int get_shareinfo_from_shareconf(tag_shareconf_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const orv::ini_index shares(orv::sharefolder_path, keys);
  for (const orv::ini_head& head : shares.heads()) {
    tag_share_config* const share = orv::append(list);
    if (share == nullptr) return orv::log_failure(ORV_E_FAILED);
    if (head.is_closed) fill(*share, shares.section(head.text.substr(0, longest_head)));
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
