#include <orv/disk.h>
#include <orv/lvm.h>
#include <orv/raid.h>

#include <string_view>

#include "common/captured_output.h"
#include "common/families.h"
#include "common/gib.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/text.h"
#include "lvm/display.h"

namespace {

/// The device name "md1" of the column "/dev/md1"; nothing when the column holds no path.
std::optional<std::string> device_name(const char* line) {
  const std::optional<std::string> path = orv::text_column(line, 0);
  const std::size_t slash = path ? path->rfind('/') : std::string::npos;
  if (slash == std::string::npos) return std::nullopt;
  return path->substr(slash + 1);
}

/// A group's name in the list is cut to its field; its volumes are found all the same.
bool is_name_of(const tag_vg_info& vg, std::string_view name) {
  return orv::text_of(vg.vgname) == name.substr(0, sizeof vg.vgname - 1);
}

void set_enclosure(tag_vg_info& vg, tag_pv_info& pv, std::string_view enclosure) {
  orv::set_text(pv.enclosure, enclosure);
  orv::set_text(vg.enclosure, enclosure);
}

void set_attr(tag_pv_info& pv, uint64_t extents, uint64_t free_extents) {
  if (extents == 0) {
    orv::set_text(pv.attr, "Allocatable:NO");
  } else {
    orv::set_text(pv.attr, free_extents != 0 ? "Allocatable:yes " : "Allocatable:yes (but full)");
  }
}

/// The figures of one line of `pvdisplay -c`. They are rounded to nearest, those of a group are
/// truncated: a group may show less than the sum of its volumes.
void set_figures(tag_pv_info& pv, const char* line) {
  set_attr(pv, orv::number_column(line, 8), orv::number_column(line, 9));
  pv.size = orv::nearest_gib_of_sectors(orv::number_column(line, 2));
  const uint64_t extent_kib = orv::number_column(line, 7);
  pv.used = orv::nearest_gib_of_kib(orv::kib_of_extents(orv::number_column(line, 10), extent_kib));
}

/// Arrays are md devices, and whole disks are named by their channel.
class software_raid {
 public:
  /// A line without a device path yields no record.
  static constexpr bool keeps_nameless = false;

  software_raid() {
    raid_get(raids_.get());
    disks_info_get(disks_.get());
  }

  /// Fills the enclosure; a disk takes its channel number as its name.
  void identify(tag_vg_info& vg, tag_pv_info& pv) {
    const std::string_view name = orv::text_of(pv.pvname);
    if (name.starts_with("md")) identify_array(vg, pv);
    if (name.starts_with("sd")) identify_disk(vg, pv);
  }

 private:
  void identify_array(tag_vg_info& vg, tag_pv_info& pv) {
    for (const tag_md_info& md : raids_) {
      if (orv::text_of(md.name) != orv::text_of(pv.pvname)) continue;
      return set_enclosure(vg, pv, orv::text_of(md.enclosure));
    }
  }

  void identify_disk(tag_vg_info& vg, tag_pv_info& pv) {
    for (const tag_disk_info& disk : disks_) {
      if (orv::text_of(disk.name) != orv::text_of(pv.pvname)) continue;
      set_enclosure(vg, pv, orv::text_of(disk.enclosure));
      return orv::set_text(pv.pvname, std::to_string(disk.ch));
    }
  }

  orv::scoped_list<tag_mdinfo_list> raids_;
  orv::scoped_list<tag_diskinfo_list> disks_;
};

/// Arrays are sd devices, which the controller gives as the arrays' enclosure (model KTA7120U).
class controller {
 public:
  /// A line without a device path yields an empty record.
  static constexpr bool keeps_nameless = true;

  controller() { raid_get(raids_.get()); }

  /// Gives the volume its array's name, and the only enclosure there is.
  void identify(tag_vg_info& vg, tag_pv_info& pv) {
    if (!orv::text_of(pv.pvname).starts_with("sd")) return;
    for (const tag_md_info& md : raids_) {
      if (orv::text_of(md.enclosure) != orv::text_of(pv.pvname)) continue;
      set_enclosure(vg, pv, "0");
      return orv::set_text(pv.pvname, orv::text_of(md.name));
    }
  }

 private:
  orv::scoped_list<tag_mdinfo_list> raids_;
};

/// Adds the volume of one line to its group; false without memory.
template <class Devices>
bool add_volume(tag_vg_info& vg, const char* line, Devices& known) {
  const std::optional<std::string> name = device_name(line);
  if (!name && !Devices::keeps_nameless) return true;
  tag_pv_info* const pv = orv::append(&vg.pvs);
  if (pv == nullptr) return false;
  if (!name) return true;
  orv::set_text(pv->pvname, *name);
  orv::set_text(pv->vgname, orv::text_of(vg.vgname));
  known.identify(vg, *pv);
  set_figures(*pv, line);
  return true;
}

/// Attaches the volume of every line to the listed group that it names; false without memory.
template <class Devices>
bool add_volumes(tag_vginfo_list* list, FILE* file, Devices& known) {
  orv::line_reader reader(file);
  while (reader.next()) {
    const std::optional<std::string> group = orv::text_column(reader.line(), 1);
    if (!group) continue;
    for (tag_vg_info& vg : orv::records(list)) {
      if (is_name_of(vg, *group) && !add_volume(vg, reader.line(), known)) return false;
    }
  }
  return true;
}

/// Reads `pvdisplay -c` for the public function that is named in the log.
template <class Devices>
int read_volumes(tag_vginfo_list* list, const char* function = __builtin_FUNCTION()) {
  if (list == nullptr) return orv::log_missing_argument(function);
  orv::captured_output output("/tmp/pvdisplay.XXXXXX");
  if (!output.fill(orv::command("/sbin/pvdisplay -c > %s", output.path()))) return ORV_E_COMMAND;
  const orv::unique_file file = output.open();
  if (!file) {
    orv::tell_cannot_open(output, ORV_OK, function);
    output.leave();
    return ORV_E_PVDISPLAY;
  }
  Devices known;
  if (add_volumes(list, file.get(), known)) return ORV_OK;
  return orv::log_failure(ORV_E_PVDISPLAY, function);
}

}  // namespace

int get_vginfo_from_pvdisplay(tag_vginfo_list* list) { return read_volumes<software_raid>(list); }

int get_vginfo_from_arcadm(tag_vginfo_list* list) { return read_volumes<controller>(list); }
