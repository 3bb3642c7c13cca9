#include <orv/disk.h>
#include <orv/raid.h>
#include <strings.h>

#include <cstdio>

#include "common/families.h"
#include "common/log.h"
#include "common/text.h"

namespace {

/// Showing a record completes it: the text shown for an empty field stays in the record.
template <std::size_t Size>
const char* text_or_default(char (&field)[Size], const char* shown_when_empty) {
  if (field[0] == '\0') orv::set_text(field, shown_when_empty);
  return field;
}

const char* shown_level(const tag_md_info& md) {
  return strcasecmp(md.level, "linear") == 0 ? "JBOD" : md.level;
}

}  // namespace

void md_conf_init(tag_md_info* md) {
  if (md == nullptr) return;
  orv::clear_fields<tag_mdinfo_list>(md);
  orv::set_text(md->state, "inactive");
}

void md_conf_fini(tag_md_info* md) {
  if (md != nullptr) orv::clear_fields<tag_mdinfo_list>(md);
}

int md_conf_show(tag_md_info* md) {
  if (md == nullptr) return orv::log_missing_argument();
  const char* const progress = text_or_default(md->progress, "100%");
  const char* const enclosure = text_or_default(md->enclosure, "N.A.");
  const char* const spares = text_or_default(md->spares, "None");
  return std::printf("%s\t%s\t%s\t%s\t%s\t%lldGB\t%lldGB\t%s\t%s\n", md->name, shown_level(*md),
                     md->state, progress, enclosure, static_cast<long long>(md->size),
                     static_cast<long long>(md->size2), md->disks, spares);
}

void md_list_init(tag_mdinfo_list* list) { orv::list_init(list); }

int md_list_fini(tag_mdinfo_list* list) { return orv::list_fini(list); }

void md_list_show(tag_mdinfo_list* list) { orv::list_show(list, md_conf_show); }

int get_mdinfo_to_file(const char* src, const char* dst) { return get_diskinfo_to_file(src, dst); }
