#include <cstdlib>
#include <new>
#include <string>

#include "bindings/python/families.h"
#include "bindings/python/functions.h"

namespace orv_python {
namespace {

const field<tag_pv_info> volume_fields[] = {
    text_field<&tag_pv_info::pvname>("name", "array name such as md1, or the disk's channel"),
    text_field<&tag_pv_info::attr>("attributes", "such as 'Allocatable:yes'"),
    text_field<&tag_pv_info::enclosure>("enclosure", "of the array or disk"),
    size_field<&tag_pv_info::size, gib>("size", "bytes, in whole GiB"),
    size_field<&tag_pv_info::used, gib>("used", "allocated bytes, in whole GiB"),
    text_field<&tag_pv_info::vgname>("volume_group", "group that it belongs to"),
};

py::object free_space(const tag_vg_info& group) {
  return size_object(group.size > group.used ? group.size - group.used : 0, gib);
}

std::span<const field<tag_vg_info>> group_fields() {
  static const field<tag_vg_info> fields[] = {
      text_field<&tag_vg_info::vgname>("name", "name of the group"),
      text_field<&tag_vg_info::attr>("attributes", "such as 'resizable'"),
      text_field<&tag_vg_info::enclosure>("enclosure", "of its last physical volume"),
      size_field<&tag_vg_info::size, gib>("size", "bytes, in whole GiB"),
      size_field<&tag_vg_info::used, gib>("used", "allocated bytes, in whole GiB"),
      {"free", "int | None", "bytes that pools can still take, in whole GiB", free_space},
      records_field<&tag_vg_info::pvs>("physical_volumes", "what the group is made of"),
  };
  return fields;
}

using group_name = text<sizeof(tag_vg_info::vgname)>;
using volume_name = text<sizeof(tag_pv_info::pvname)>;
using volume_names = texts<sizeof(tag_pv_info::pvname)>;

/// A request, which owns its physical volumes.
class group_request {
 public:
  explicit group_request(const group_name& name) {
    vg_conf_init(&group_);
    fill(group_.vgname, name);
  }
  ~group_request() { vg_conf_fini(&group_); }
  group_request(const group_request&) = delete;
  group_request& operator=(const group_request&) = delete;

  void append(const std::string& name, const enclosure& place) {
    auto* const volume = static_cast<tag_pv_info*>(std::calloc(1, sizeof(tag_pv_info)));
    if (volume == nullptr) throw std::bad_alloc();
    liborv_strncpy(volume->pvname, sizeof volume->pvname, name.c_str());
    fill(volume->enclosure, place);
    list_node& anchor = group_.pvs.list;
    volume->list = {&anchor, anchor.prev};
    anchor.prev->next = &volume->list;
    anchor.prev = &volume->list;
  }
  tag_vg_info* get() { return &group_; }

 private:
  tag_vg_info group_{};
};

void create(const group_name& name, const volume_names& volumes, const enclosure& place) {
  group_request request(name);
  for (const std::string& volume : volumes.c()) request.append(volume, place);
  check(vg_create(request.get()));
}

// The repair functions answer with this when they handled a lost physical volume, whether or not
// the tools that they ran succeeded.
constexpr int handled = -1;

bool repair(const group_name& name) {
  const int result = vg_check_rm(name.c());
  if (result == handled) return true;
  check(result);
  return false;
}

void resume(const group_name& name, const volume_name& volume) {
  const int result = md_vg_resume(name.c(), volume.c());
  if (result == handled) return;
  check(result);
  throw failure{ORV_E_NO_VG, std::string(volume.c()) + " is no physical volume of " + name.c()};
}

std::string device(const group_name& name) {
  char found[256] = "";
  check(vg_get_pv(name.c(), found));
  return found;
}

using of_name = parameter<"name", group_name>;
using of_group = parameter<"group", group_name>;
using of_volume = parameter<"volume", volume_name>;
using of_enclosure = parameter<"enclosure", enclosure, "'0'">;

void add_repairs(py::module_& module) {
  define<of_group>(module, "vg_device", turn::any,
                   "The group's first device, such as 'md0', from LVM's backup of its metadata.",
                   device);
  define<of_group>(
      module, "vg_repair", turn::any,
      "Handles one inactive array of a group: its members are marked as failed, and the group's\n"
      "metadata is restored without it. Returns False when no array is inactive. Whether the "
      "tools\n"
      "succeeded shows in vg_list().",
      repair);
  define<of_group, of_volume>(
      module, "vg_resume", turn::any,
      "Replaces a lost physical volume by the RAM disk and restores the group's metadata: what "
      "the\n"
      "volume held is given up. Whether the tools succeeded shows in vg_list().",
      resume);
  define<of_group>(module, "vg_restore", turn::any,
                   "Restores a group's metadata from its last backup.", change<vgcfgrestore>());
}

}  // namespace

void add_volume_groups(py::module_& module) {
  declare<tag_pv_info>(module, "PhysicalVolume", "One physical volume.", volume_fields);
  declare<tag_vg_info>(module, "VolumeGroup", "One volume group.", group_fields());

  define(module, "vg_list", turn::any, "The machine's volume groups.",
         query<orv::volume_group_list, vg_get>());
  define<of_name, parameter<"volumes", volume_names>, of_enclosure>(
      module, "vg_create", turn::any,
      "Creates a volume group of arrays, such as 'md0', and whole disks, such as the channel '4'.\n"
      "Whole disks are wiped: all data on them is lost.",
      create);
  define<of_group, of_volume, of_enclosure>(
      module, "vg_extend", turn::any,
      "Adds an array or a whole disk of the group's enclosure; all data on it is lost.",
      change<vg_extend>());
  define<of_group>(module, "vg_destroy", turn::any,
                   "Removes a group that holds no pools, and its physical volumes.",
                   change<vg_destroy>());
  add_repairs(module);
}

}  // namespace orv_python
