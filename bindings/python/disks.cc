#include <string>

#include "bindings/python/disk_selection.h"
#include "bindings/python/families.h"
#include "bindings/python/functions.h"

namespace orv_python {
namespace {

const field<tag_smart_info> summary_fields[] = {
    told_field<&tag_smart_info::device_model>("model", "disk model"),
    told_field<&tag_smart_info::serial_number>("serial_number", "serial number"),
    told_field<&tag_smart_info::firmware_version>("firmware", "version of the firmware"),
    told_field<&tag_smart_info::user_capacity>("capacity", "capacity as the disk words it"),
    told_field<&tag_smart_info::ata_version>("ata_version", "version of ATA"),
    told_field<&tag_smart_info::ata_standard>("ata_standard", "standard that the disk follows"),
    told_field<&tag_smart_info::smart_support>("smart_support", "whether the disk has SMART"),
    told_field<&tag_smart_info::smart_enabled>("smart_enabled", "whether SMART is switched on"),
    told_field<&tag_smart_info::health>("health", "the disk's own verdict, such as PASSED"),
};

const field<tag_disksmart_info> attribute_fields[] = {
    text_field<&tag_disksmart_info::id>("id", "number of the attribute"),
    text_field<&tag_disksmart_info::attr_name>("name", "name as the tool prints it"),
    number_field<&tag_disksmart_info::value>("value", "normalised current value"),
    number_field<&tag_disksmart_info::worst>("worst", "worst value so far"),
    number_field<&tag_disksmart_info::thresh>("threshold", "value at which the disk is failing"),
    number_field<&tag_disksmart_info::raw>("raw", "raw value; its first 4 digits"),
    text_field<&tag_disksmart_info::status>("status", "when it failed, or a status word"),
};

// "NaN" in every text of a summary: nobody asked, or the disk does not tell.
py::object summary_of(const tag_disk_info& disk) {
  for (const field<tag_smart_info>& each : summary_fields) {
    if (!each.value(disk.smart).is_none()) return object_of(disk.smart);
  }
  return py::none();
}

std::span<const field<tag_disk_info>> disk_fields() {
  static const field<tag_disk_info> fields[] = {
      text_field<&tag_disk_info::name>("name",
                                       "kernel device name such as sda; empty on model KTA7120U"),
      number_field<&tag_disk_info::ch>("channel", "bay within the enclosure, from 1"),
      text_field<&tag_disk_info::enclosure>("enclosure", "'0' for the chassis, '1' to '4'"),
      size_field<&tag_disk_info::size, gib>("size", "bytes, in whole GiB"),
      text_field<&tag_disk_info::state>("state", "state word of the kernel or the controller"),
      text_field<&tag_disk_info::model>("model", "disk model"),
      text_field<&tag_disk_info::usage>("usage",
                                        "the controller's usage word; only on model KTA7120U"),
      flag_field<&tag_disk_info::hotspare>("hot_spare", "True for a global hot spare"),
      {"smart", "SmartSummary | None", "what smart_list() read", summary_of},
      records_field<&tag_disk_info::smart_list>("smart_attributes",
                                                "what smart_list(detail=True) read"),
  };
  return fields;
}

template <bool spare>
listing<orv::disk_list> spares() {
  listing<orv::disk_list> made;
  made.result = made.records.read(disks_info_get).code();
  for (auto at = made.records.begin(); at != made.records.end();) {
    at = (at->hotspare != 0) == spare ? std::next(at) : made.records.erase(at);
  }
  return made;
}

// A line that a tool does not print has no code of its own.
int ask(orv::disk_list& disks, bool detail) {
  tag_smart_info& mode = disks->smart;
  liborv_strncpy(mode.smart_enabled, sizeof mode.smart_enabled, detail ? "detail" : "");
  const int result = smart_info_get(disks.get());
  return result == ORV_E_NO_GATEWAY ? static_cast<int>(ORV_E_FAILED) : result;
}

listing<orv::disk_list> smart(const flag& detail, const channels<128>& wanted,
                              const enclosure& place) {
  listing<orv::disk_list> made;
  if (*wanted.c() == '\0') {
    check(made.records.read(disks_info_get).code());
  } else {
    made.records = disks_of(wanted.c(), place.c());
  }
  made.result = ask(made.records, detail.c());
  return made;
}

void must_be_done(const std::string& failed) {
  if (!failed.empty()) throw failure{ORV_E_COMMAND, "unchanged: channel" + failed};
}

// One by one, since the library's call for several does not tell whether a disk was wiped.
void clear(const channels<128>& wanted, const enclosure& place) {
  std::string failed;
  for (const tag_disk_info& disk : disks_of(wanted.c(), place.c())) {
    if (clear_disk(disk.name) != ORV_OK) failed += " " + std::to_string(disk.ch);
  }
  must_be_done(failed);
}

// The library does not tell whether the tools did their work, so the disks are read again.
template <bool spare>
void set_spare(const channels<128>& wanted, const enclosure& place) {
  orv::disk_list disks = disks_of(wanted.c(), place.c());
  for (tag_disk_info& disk : disks) disk.hotspare = spare ? 1 : -1;
  check(disks_hotspare_set(disks.get()));
  std::string failed;
  for (const tag_disk_info& disk : disks_of(wanted.c(), place.c())) {
    if ((disk.hotspare != 0) != spare) failed += " " + std::to_string(disk.ch);
  }
  must_be_done(failed);
}

using wanted_channels = parameter<"channels", channels<128>>;
using of_enclosure = parameter<"enclosure", enclosure, "'0'">;

}  // namespace

void add_disks(py::module_& module) {
  declare<tag_smart_info>(module, "SmartSummary",
                          "What a disk tells about itself; None for what it does not tell.",
                          summary_fields);
  declare<tag_disksmart_info>(module, "SmartAttribute", "One SMART attribute of a disk.",
                              attribute_fields);
  declare<tag_disk_info>(module, "Disk", "One physical disk.", disk_fields());

  define(module, "disk_list", turn::any, "The machine's disks, in discovery order.",
         query<orv::disk_list, disks_info_get>());
  define(module, "spare_list", turn::any, "The disks that are global hot spares.", spares<true>);
  define<parameter<"detail", flag, "False">, parameter<"channels", channels<128>, "()">,
         of_enclosure>(
      module, "smart_list", turn::any,
      "The disks of these channels, or all of them, with what they tell about their health: their\n"
      "summaries, or with detail their attributes. Model KTA7120U tells attributes only.",
      smart);
  define<wanted_channels, of_enclosure>(module, "disk_clear", turn::any,
                                        "Wipes disks: all data on them is lost.", clear);
  define<wanted_channels, of_enclosure>(
      module, "spare_add", turn::any,
      "Makes disks hot spares for every array. They are wiped: all data on them is lost.",
      set_spare<true>);
  define<wanted_channels, of_enclosure>(module, "spare_remove", turn::any,
                                        "Makes hot spares ordinary disks again.", set_spare<false>);
}

}  // namespace orv_python
