#include <string>
#include <string_view>

#include "bindings/python/families.h"
#include "bindings/python/functions.h"

namespace orv_python {
namespace {

/// One member of an array, as the library writes it into the array's record: "sdb(F)".
struct array_member {
  std::string name;
  const char* state;
};

struct mark {
  std::string_view text;
  const char* state;
};

constexpr mark marks[] = {{"(F)", "failed"}, {"(S)", "spare"}, {"(M)", "missing"}};

array_member member_of(std::string item) {
  for (const mark& each : marks) {
    if (!item.ends_with(each.text)) continue;
    item.resize(item.size() - each.text.size());
    return {item, each.state};
  }
  return {item, "active"};
}

py::object members_of(const tag_md_info& array) {
  py::list all;
  for (const py::handle item : items_object(array.disks)) {
    all.append(object_of(member_of(item.cast<std::string>())));
  }
  return all;
}

const field<array_member> member_fields[] = {
    {"name", "str | None",
     "device name such as sda, or the channel on model KTA7120U; None where\n"
     "        the member is missing",
     [](const array_member& of) {
       return of.name == "*" ? py::object(py::none()) : text_object(of.name);
     }},
    {"state", "str", "'active', 'failed', 'spare' or 'missing'",
     [](const array_member& of) { return text_object(of.state); }},
};

const field<tag_md_info> array_fields[] = {
    text_field<&tag_md_info::name>("name", "device name such as md0"),
    text_field<&tag_md_info::level>("level", "'raid0', 'raid1', 'raid5', 'raid6' or 'linear'"),
    text_field<&tag_md_info::state>("state", "state, such as 'clean' or 'clean, degraded'"),
    text_field<&tag_md_info::progress>("progress",
                                       "of a rebuild, such as '12.6%(48.00MB/s)'; else empty"),
    size_field<&tag_md_info::size, gib>("size", "bytes, in whole GiB"),
    {"members", "list[ArrayMember]", "the members, also those that failed or are missing",
     members_of},
    items_field<&tag_md_info::spares>("spares", "spares given at creation"),
    text_field<&tag_md_info::enclosure>("enclosure",
                                        "of the members; on model KTA7120U the device"),
};

using array_name = text<sizeof(tag_md_info::name)>;
using member_channels = channels<sizeof(tag_md_info::disks)>;
using member_devices = words<sizeof(tag_md_info::disks)>;
using level = text<sizeof(tag_md_info::level)>;
using spare_devices = words<sizeof(tag_md_info::spares)>;

std::string create(const level& wanted, const member_channels& disks, const enclosure& place,
                   const array_name& name, const spare_devices& spares, const flag& foreground) {
  tag_md_info request{};
  md_conf_init(&request);
  fill(request.level, wanted);
  fill(request.disks, disks);
  fill(request.enclosure, place);
  fill(request.name, name);
  fill(request.spares, spares);
  if (foreground.c()) liborv_strncpy(request.state, sizeof request.state, "foreground");
  check(raid_create(&request));
  return request.name;
}

void recreate(const array_name& name, const level& wanted, const member_devices& devices) {
  tag_md_info request{};
  md_conf_init(&request);
  fill(request.name, name);
  fill(request.level, wanted);
  fill(request.disks, devices);
  check(reset_raid(&request));
}

// The library would mark nothing and call that done: members of a RAID controller's array are
// channels, and an array may have lost them all.
void must_have_devices(const tag_md_info& array) {
  if (std::string_view(array.disks).starts_with("sd")) return;
  throw failure{ORV_E_NO_DISK, std::string(array.name) + " has no member with a device"};
}

void fail_all(const array_name& name) {
  orv::array_list arrays;
  check(arrays.read(raid_get).code());
  for (tag_md_info& array : arrays) {
    if (array.name != std::string(name.c())) continue;
    must_have_devices(array);
    return check(set_raid_faulty(&array));
  }
  throw failure{ORV_E_NO_RAID, name.c()};
}

using of_array = parameter<"array", array_name>;
using of_channel = parameter<"channel", channel>;

void add_array_changes(py::module_& module) {
  define<of_array, of_channel>(
      module, "raid_add", turn::any,
      "Adds the disk of a channel of the array's enclosure; all data on it is lost.",
      change<raid_add>());
  define<of_array, of_channel>(module, "raid_remove", turn::any,
                               "Removes a failed disk from an array.", change<raid_rm>());
  define<of_array, parameter<"device", text<sizeof(tag_disk_info::name)>>>(
      module, "raid_fail", turn::any,
      "Marks a member, such as 'sdb', as failed: the array goes on without it, or stops.",
      change<set_disk_faulty>());
  define<of_array>(module, "raid_fail_all", turn::any,
                   "Marks every member as failed: what the array holds cannot be reached any more.",
                   fail_all);
  define<of_array>(module, "raid_destroy", turn::any,
                   "Stops an array that carries no volume group; its members are not wiped.",
                   change<raid_destroy>());
}

}  // namespace

void add_arrays(py::module_& module) {
  declare<array_member>(module, "ArrayMember", "One member of an array.", member_fields);
  declare<tag_md_info>(module, "Array", "One RAID array.", array_fields);

  define(module, "raid_list", turn::any, "The machine's RAID arrays.",
         query<orv::array_list, raid_get>());
  define<parameter<"level", level>, parameter<"disks", member_channels>,
         parameter<"enclosure", enclosure, "'0'">, parameter<"name", array_name, "''">,
         parameter<"spares", spare_devices, "()">, parameter<"foreground", flag, "False">>(
      module, "raid_create", turn::any,
      "Creates an array of the disks of these channels, which are wiped: all data on them is "
      "lost.\n"
      "Without a name it gets the next free one. Spares are devices that must be free too;\n"
      "foreground asks for initialisation before the array is used. Returns the array's name.",
      create);
  define<parameter<"name", array_name>, parameter<"level", level>,
         parameter<"devices", member_devices>>(
      module, "raid_recreate", turn::any,
      "Creates an array anew over its devices, in the array's order, without wiping them. Another\n"
      "level or order than before destroys the data on them; a raid1 becomes a raid0.",
      recreate);
  add_array_changes(module);
}

}  // namespace orv_python
