#include "share/share_list.h"

#include <cstring>
#include <new>
#include <string>

#include "common/log.h"
#include "common/text.h"

namespace {

std::string_view key_of(const tag_share_config& share) {
  const std::string_view name = orv::text_of(share.name);
  return orv::is_iscsi(share) ? orv::without_stamp(name) : name;
}

tag_share_config* find_by_key(tag_shareconf_list* list, std::string_view name) {
  for (tag_share_config& share : orv::records(list)) {
    if (key_of(share) == name) return &share;
  }
  return nullptr;
}

tag_share_config* find_by_name(tag_shareconf_list* list, std::string_view name) {
  for (tag_share_config& share : orv::records(list)) {
    if (orv::text_of(share.name) == name) return &share;
  }
  return nullptr;
}

/// What a change gives a share that exists.
void take_settings(tag_share_config& share, const tag_share_config& from) {
  orv::set_text(share.comment, orv::text_of(from.comment));
  orv::set_text(share.valid_users, orv::text_of(from.valid_users));
  share.writable = from.writable;
}

/// @return false for a share that was not found, which is appended
bool take_or_append(tag_shareconf_list* list, tag_share_config* found,
                    const tag_share_config& share) {
  if (found == nullptr) {
    orv::append_copy(list, share);
    return false;
  }
  take_settings(*found, share);
  return true;
}

}  // namespace

namespace orv {

tag_share_config& append_copy(tag_shareconf_list* list, const tag_share_config& share) {
  tag_share_config* const copy = append(list);
  if (copy == nullptr) throw std::bad_alloc();
  set_text(copy->name, text_of(share.name));
  set_text(copy->path, text_of(share.path));
  set_text(copy->service, text_of(share.service));
  take_settings(*copy, share);
  return *copy;
}

bool add_share(tag_shareconf_list* list, const tag_share_config& share) {
  if (find_by_name(list, text_of(share.name)) != nullptr) return false;
  tag_share_config& added = append_copy(list, share);
  added.size = share.size;
  added.used = share.used;
  return true;
}

bool mod_share(tag_shareconf_list* list, const tag_share_config& share) {
  tag_share_config* const found = find_by_key(list, text_of(share.name));
  if (!take_or_append(list, found, share)) return false;
  if (text_of(found->service).empty()) {
    set_text(found->path, text_of(share.path));
    set_text(found->service, text_of(share.service));
  }
  return true;
}

bool mod_parked_share(tag_shareconf_list* list, const tag_share_config& share) {
  tag_share_config* const found = find_by_name(list, text_of(share.name));
  if (!take_or_append(list, found, share)) return false;
  std::memset(found->service, 0, sizeof found->service);
  set_text(found->service, text_of(share.service));
  return true;
}

void append_user(tag_share_config& share, std::string_view user) {
  if (user.empty()) return;
  std::string users(text_of(share.valid_users));
  if (!users.empty()) users += ',';
  users += user;
  if (users.size() < sizeof share.valid_users) set_text(share.valid_users, users);
}

std::string_view without_stamp(std::string_view name) { return before(name, "."); }

bool has_service(const tag_share_config& share, std::string_view word) {
  // The first character tells most services apart.
  const bool begins_alike = word.empty() || lower(share.service[0]) == lower(word.front());
  return begins_alike && equal_ignoring_case(text_of(share.service), word);
}

bool is_iscsi(const tag_share_config& share) { return has_service(share, "iscsi"); }

}  // namespace orv

int add_share_to_sharelist(tag_share_config* share, tag_shareconf_list* list) try {
  if (share == nullptr || list == nullptr) return orv::log_missing_argument();
  return orv::add_share(list, *share) ? ORV_OK : ORV_E_FAILED;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int mod_share_to_sharelist(tag_share_config* share, const char* /*ignored*/,
                           tag_shareconf_list* list) try {
  if (share == nullptr || list == nullptr) return orv::log_missing_argument();
  return orv::mod_share(list, *share) ? ORV_OK : ORV_E_FAILED;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int del_share_to_sharelist(const char* name, tag_shareconf_list* list) try {
  if (name == nullptr || list == nullptr) return orv::log_missing_argument();
  tag_share_config* const found = find_by_key(list, name);
  if (found == nullptr) return ORV_E_FAILED;
  orv::release<tag_shareconf_list>(orv::node_of<tag_shareconf_list>(found));
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

tag_share_config* fine_share_in_list(tag_shareconf_list* list, const char* name) {
  return name == nullptr ? nullptr : find_by_name(list, name);
}

int mod_recy_list(tag_share_config* share, tag_shareconf_list* list) try {
  if (share == nullptr || list == nullptr) return orv::log_missing_argument();
  return orv::mod_parked_share(list, *share) ? ORV_OK : ORV_E_FAILED;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
