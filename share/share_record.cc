#include <orv/share.h>

#include <cstdio>

#include "common/families.h"
#include "common/log.h"
#include "common/text.h"

namespace {

constexpr std::string_view not_known = "N.A.";
constexpr double units_per_gb = 102.4;

const char* shown_or(const char* text, const char* instead) {
  return text[0] == '\0' ? instead : text;
}

}  // namespace

void share_conf_init(tag_share_config* share) {
  if (share == nullptr) return;
  orv::clear_fields<tag_shareconf_list>(share);
  orv::set_text(share->status, not_known);
  share->writable = 1;
}

int share_conf_fini(tag_share_config* share) {
  if (share == nullptr) return orv::log_missing_argument();
  orv::clear_fields<tag_shareconf_list>(share);
  return ORV_OK;
}

int share_conf_show(tag_share_config* share) {
  if (share == nullptr) return orv::log_missing_argument();
  if (share->status[0] == '\0') orv::set_text(share->status, not_known);
  if (share->size == 0) share->used = 0;
  return std::printf("%s\t%s\t%s\t%s\t%s\t%lldGB\t%.2fGB\t%s\t%s\n", share->name, share->service,
                     share->path, shown_or(share->valid_users, "*"),
                     share->writable == 1 ? "rw" : "ro", static_cast<long long>(share->size),
                     static_cast<double>(share->used) / units_per_gb,
                     shown_or(share->comment, "(Null)"), share->status);
}

void share_list_init(tag_shareconf_list* list) { orv::list_init(list); }

int share_list_fini(tag_shareconf_list* list) { return orv::list_fini(list); }

void share_list_show(tag_shareconf_list* list) { orv::list_show(list, share_conf_show); }
