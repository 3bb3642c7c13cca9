#include <orv/disk.h>
#include <orv/lvm.h>
#include <orv/raid.h>

#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "common/captured_output.h"
#include "common/disk_list.h"
#include "common/families.h"
#include "common/gib.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/record_index.h"
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

/// The groups of a list by their names.
class group_index {
 public:
  explicit group_index(tag_vginfo_list* list) {
    for (tag_vg_info& vg : orv::records(list)) groups_[orv::text_of(vg.vgname)].push_back(&vg);
  }

  /// Every group of a name. A group's name in the list is cut to its field; its volumes are found
  /// all the same.
  std::span<tag_vg_info* const> called(std::string_view name) const {
    const auto found = groups_.find(name.substr(0, sizeof(tag_vg_info::vgname) - 1));
    if (found == groups_.end()) return {};
    return found->second;
  }

 private:
  std::unordered_map<std::string_view, std::vector<tag_vg_info*>> groups_;
};

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

/// Fills a list; what a getter could not read is not in it.
template <class List>
List* read(orv::scoped_list<List>& list, int (*getter)(List*)) {
  getter(list.get());
  return list.get();
}

/// Arrays are md devices, and whole disks are named by their channel.
class software_raid {
 public:
  /// A line without a device path yields no record.
  static constexpr bool keeps_nameless = false;

  software_raid()
      : raids_by_name_(read(raids_, raid_get), &tag_md_info::name),
        disks_by_name_(read(disks_, orv::disk_places_get), &tag_disk_info::name) {}

  /// Fills the enclosure; a disk takes its channel number as its name.
  void identify(tag_vg_info& vg, tag_pv_info& pv) {
    const std::string_view name = orv::text_of(pv.pvname);
    if (name.starts_with("md")) identify_array(vg, pv);
    if (name.starts_with("sd")) identify_disk(vg, pv);
  }

 private:
  void identify_array(tag_vg_info& vg, tag_pv_info& pv) {
    const tag_md_info* const md = raids_by_name_.find(orv::text_of(pv.pvname));
    if (md != nullptr) set_enclosure(vg, pv, orv::text_of(md->enclosure));
  }

  void identify_disk(tag_vg_info& vg, tag_pv_info& pv) {
    const tag_disk_info* const disk = disks_by_name_.find(orv::text_of(pv.pvname));
    if (disk == nullptr) return;
    set_enclosure(vg, pv, orv::text_of(disk->enclosure));
    orv::set_text(pv.pvname, std::to_string(disk->ch));
  }

  orv::scoped_list<tag_mdinfo_list> raids_;
  orv::scoped_list<tag_diskinfo_list> disks_;
  orv::record_index<tag_mdinfo_list> raids_by_name_;
  orv::record_index<tag_diskinfo_list> disks_by_name_;
};

/// Arrays are sd devices, which the controller gives as the arrays' enclosure (model KTA7120U).
class controller {
 public:
  /// A line without a device path yields an empty record.
  static constexpr bool keeps_nameless = true;

  controller() : raids_by_device_(read(raids_, raid_get), &tag_md_info::enclosure) {}

  /// Gives the volume its array's name, and the only enclosure there is.
  void identify(tag_vg_info& vg, tag_pv_info& pv) {
    if (!orv::text_of(pv.pvname).starts_with("sd")) return;
    const tag_md_info* const md = raids_by_device_.find(orv::text_of(pv.pvname));
    if (md == nullptr) return;
    set_enclosure(vg, pv, "0");
    orv::set_text(pv.pvname, orv::text_of(md->name));
  }

 private:
  orv::scoped_list<tag_mdinfo_list> raids_;
  orv::record_index<tag_mdinfo_list> raids_by_device_;
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

/// False for a volume of no group: its second column is empty, and would be passed over for the
/// next one, as empty columns are. Some group may have that number for its name.
bool is_in_a_group(std::string_view line) {
  const std::size_t end_of_path = line.find(':');
  return end_of_path != line.npos && !line.substr(end_of_path + 1).starts_with(':');
}

/// Attaches the volume of every line to the listed group that it names; false without memory.
template <class Devices>
bool add_volumes(tag_vginfo_list* list, FILE* file, Devices& known) {
  const group_index groups(list);
  orv::line_reader reader(file);
  while (reader.next()) {
    if (!is_in_a_group(reader.line())) continue;
    const std::optional<std::string> group = orv::text_column(reader.line(), 1);
    if (!group) continue;
    for (tag_vg_info* const vg : groups.called(*group)) {
      if (!add_volume(*vg, reader.line(), known)) return false;
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

int get_vginfo_from_pvdisplay(tag_vginfo_list* list) try {
  return read_volumes<software_raid>(list);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int get_vginfo_from_arcadm(tag_vginfo_list* list) try {
  return read_volumes<controller>(list);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
