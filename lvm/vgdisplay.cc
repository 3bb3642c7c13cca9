#include <orv/lvm.h>

#include <cstdio>

#include "common/captured_output.h"
#include "common/families.h"
#include "common/gib.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/text.h"
#include "lvm/display.h"
#include "lvm/group_use.h"

namespace {

/// Bits of the status column.
constexpr uint64_t status_exported = 2;
constexpr uint64_t status_resizable = 4;

void set_attr(tag_vg_info& vg, uint64_t status) {
  std::snprintf(vg.attr, sizeof vg.attr, "%s%sresizable",
                (status & status_exported) != 0 ? "exported/" : "",
                (status & status_resizable) != 0 ? "" : "not ");
}

/// @return the number of allocated extents
uint64_t fill_group(tag_vg_info& vg, const char* line) {
  set_attr(vg, orv::number_column(line, 2));
  vg.size = orv::whole_gib_of_kib(orv::number_column(line, 11));
  const uint64_t extent_kib = orv::number_column(line, 12);
  const uint64_t allocated = orv::number_column(line, 14);
  vg.used = orv::whole_gib_of_kib(orv::kib_of_extents(allocated, extent_kib));
  return allocated;
}

constexpr char reader_name[] = "get_vginfo_from_vgdisplay";

}  // namespace

int orv::read_groups(tag_vginfo_list* list, groups_in_use& in_use) {
  if (list == nullptr) return log_missing_argument(reader_name);
  captured_output output("/tmp/vgdisplay.XXXXXX");
  if (!output.fill(command("/sbin/vgdisplay -c > %s", output.path()))) return ORV_E_COMMAND;
  const unique_file file = output.open();
  if (!file) {
    tell_cannot_open(output, ORV_OK, reader_name);
    output.leave();
    return ORV_E_VGDISPLAY;
  }
  line_reader reader(file.get());
  while (reader.next()) {
    const std::optional<std::string> name = text_column(reader.line(), 0);
    if (!name) continue;
    tag_vg_info* const vg = append(list);
    if (vg == nullptr) return log_failure(ORV_E_VGDISPLAY, reader_name);
    set_text(vg->vgname, *name);
    if (fill_group(*vg, reader.line()) != 0) in_use.push_back(vg);
  }
  return ORV_OK;
}

int get_vginfo_from_vgdisplay(tag_vginfo_list* list) try {
  orv::groups_in_use in_use;
  return orv::read_groups(list, in_use);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
