#ifndef ORV_TESTS_DISK_SMART_OUTPUT_H
#define ORV_TESTS_DISK_SMART_OUTPUT_H

#include "tests/disk/machine_with_disks.h"

inline constexpr char smartctl[] = "/usr/local/sbin/smartctl";
inline constexpr char arcadm[] = "/usr/local/bin/arcadm";

/// smartctl's sections about the disk and its health; 18 lines.
inline const std::string summary_output =
    "smartctl version 5.38 [mipsel-unknown-linux-gnu] Copyright (C) 2002-8 Bruce Allen\n"
    "Home page is http://smartmontools.sourceforge.net/\n"
    "\n"
    "=== START OF INFORMATION SECTION ===\n"
    "Device Model:     ST31000340NS\n"
    "Serial Number:    9QJ2ABCD\n"
    "Firmware Version: SN06\n"
    "User Capacity:    1,000,204,886,016 bytes\n"
    "Device is:        In smartctl database\n"
    "ATA Version is:   8\n"
    "ATA Standard is:  ATA-8-ACS revision 4\n"
    "Local Time is:    Mon Mar  1 08:00:00 2010 UTC\n"
    "SMART support is: Available - device has SMART capability.\n"
    "SMART support is: Enabled\n"
    "\n"
    "=== START OF READ SMART DATA SECTION ===\n"
    "SMART overall-health self-assessment test result: PASSED\n"
    "\n";

/// A text of so many lines that are no attributes.
inline std::string other_lines(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += "x\n";
  return text;
}

/// A line of smartctl's attribute table.
inline std::string smartctl_line(const std::string& id, const std::string& name,
                                 const std::string& raw = "0") {
  return "  " + id + " " + name +
         "     0x000f   100   099   044    Pre-fail  Always       -       " + raw + "\n";
}

/// The nine texts of a disk's summary.
inline sandbox::lines summary_of(const tag_disk_info& disk) {
  const tag_smart_info& smart = disk.smart;
  return {smart.device_model,  smart.serial_number, smart.firmware_version,
          smart.user_capacity, smart.ata_version,   smart.ata_standard,
          smart.smart_support, smart.smart_enabled, smart.health};
}

/// Those of a disk whose summary nobody filled.
inline const sandbox::lines no_summary = sandbox::lines(9, "NaN");

/// Every field of every attribute, a line each.
inline sandbox::lines attributes_of(const tag_disk_info& disk) {
  sandbox::lines all;
  for (list_node* node = disk.smart_list.list.next; node != &disk.smart_list.list;
       node = node->next) {
    const auto& found = *reinterpret_cast<const tag_disksmart_info*>(
        reinterpret_cast<char*>(node) - offsetof(tag_disksmart_info, list));
    std::string text = std::string(found.id) + "|" + found.attr_name;
    for (const uint32_t number : {found.value, found.worst, found.thresh, found.raw}) {
      text += "|" + std::to_string(number);
    }
    all.push_back(text + "|" + found.status);
  }
  return all;
}

#endif
