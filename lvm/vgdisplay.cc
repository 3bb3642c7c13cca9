#include <orv/lvm.h>

#include <cstdio>

#include "common/captured_output.h"
#include "common/families.h"
#include "common/gib.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/text.h"
#include "lvm/display.h"

namespace {

/// Bits of the status column.
constexpr uint64_t status_exported = 2;
constexpr uint64_t status_resizable = 4;

void set_attr(tag_vg_info& vg, uint64_t status) {
  std::snprintf(vg.attr, sizeof vg.attr, "%s%sresizable",
                (status & status_exported) != 0 ? "exported/" : "",
                (status & status_resizable) != 0 ? "" : "not ");
}

void fill_group(tag_vg_info& vg, const char* line) {
  set_attr(vg, orv::number_column(line, 2));
  vg.size = orv::whole_gib_of_kib(orv::number_column(line, 11));
  const uint64_t extent_kib = orv::number_column(line, 12);
  vg.used = orv::whole_gib_of_kib(orv::kib_of_extents(orv::number_column(line, 14), extent_kib));
}

}  // namespace

int get_vginfo_from_vgdisplay(tag_vginfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  orv::captured_output output("/tmp/vgdisplay.XXXXXX");
  if (!output.fill(orv::command("/sbin/vgdisplay -c > %s", output.path()))) return ORV_E_COMMAND;
  const orv::unique_file file = output.open();
  if (!file) {
    orv::tell_cannot_open(output, ORV_OK);
    output.leave();
    return ORV_E_VGDISPLAY;
  }
  orv::line_reader reader(file.get());
  while (reader.next()) {
    const std::optional<std::string> name = orv::text_column(reader.line(), 0);
    if (!name) continue;
    tag_vg_info* const vg = orv::append(list);
    if (vg == nullptr) return orv::log_failure(ORV_E_VGDISPLAY);
    orv::set_text(vg->vgname, *name);
    fill_group(*vg, reader.line());
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
