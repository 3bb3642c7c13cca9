#include <orv/raid.h>
#include <orv/support.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "common/captured_output.h"
#include "common/families.h"
#include "common/gib.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/text.h"

namespace {

template <std::size_t Size>
bool read_value(FILE* detail, const char* key, char (&field)[Size]) {
  return get_mdinfo_type(detail, field, static_cast<int>(Size), key) == ORV_OK;
}

/// The size is read through the member field, and its text stays there until the members are read.
bool read_size(FILE* detail, tag_md_info& md) {
  if (!read_value(detail, "Array Size", md.disks) && !read_value(detail, "Device Size", md.disks)) {
    return false;
  }
  md.size = orv::nearest_gib_of_kib(orv::leading_number(orv::text_of(md.disks)));
  return true;
}

void read_detail(FILE* detail, tag_md_info& md) {
  if (!read_value(detail, "Raid Level", md.level)) return;
  if (read_size(detail, md)) read_value(detail, "State", md.state);
}

}  // namespace

int get_mdinfo_type(FILE* fp, char* dst, int dstlen, const char* key) try {
  if (dst == nullptr) return orv::log_missing_argument();
  char line[orv::line_reader::capacity];
  const char* const wanted = key == nullptr ? "" : key;
  if (get_line_from_file(fp, wanted, 0, ":", line, static_cast<int>(sizeof line)) != 0) {
    return orv::log_failure(ORV_E_MD_KEY);
  }
  char* field = nullptr;
  errno = 0;
  if (get_substr_from_line(line, static_cast<int>(sizeof line), ":", 1, &field) == 0) {
    return errno == ENOMEM ? orv::log_failure(ORV_E_MD_KEY) : ORV_OK;
  }
  const std::string_view rest(field);
  const std::string_view value = orv::trimmed(rest.substr(0, rest.find(':')));
  if (!value.empty()) orv::copy_text(dst, dstlen, value);
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int get_mdinfo_from_mdadm(tag_mdinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  for (tag_md_info& md : orv::records(list)) {
    const std::string name(orv::text_of(md.name));
    const orv::captured_output output("/tmp/" + name + ".XXXXXX");
    const orv::command detail_command("/sbin/mdadm --detail /dev/%s > %s", name, output.path());
    if (!output.fill(detail_command)) continue;
    const orv::unique_file detail = output.open();
    if (!detail) return orv::tell_cannot_open(output, ORV_E_MD_DETAIL);
    errno = 0;
    read_detail(detail.get(), md);
    if (errno == ENOMEM) return orv::log_failure(ORV_E_MD_DETAIL);
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
