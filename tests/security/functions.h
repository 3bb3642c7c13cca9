/// The table of the exported functions that take text.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/security/arguments.h"

namespace security {

using call_table = std::vector<std::shared_ptr<driven_call>>;

/// One part of the table for each header.
void add_support_functions(call_table& table);
void add_disk_functions(call_table& table);
void add_raid_functions(call_table& table);
void add_lvm_functions(call_table& table);
void add_fs_functions(call_table& table);
void add_share_functions(call_table& table);
void add_service_functions(call_table& table);
void add_system_functions(call_table& table);
void add_user_functions(call_table& table);
void add_record_functions(call_table& table);

const call_table& all_functions();

/// Functions that only overwrite the records they are given, or begin a list anew: no text of the
/// caller's is read.
const std::vector<std::string>& functions_that_forget();

/// Adds a row; the overloaded form says which function of the name is meant.
#define ROW(function, ...) add(table, driven(#function, function __VA_OPT__(, ) __VA_ARGS__))
#define ROW_OF(type, function, ...) \
  add(table, driven(#function, static_cast<type*>(function) __VA_OPT__(, ) __VA_ARGS__))

inline driven_call& add(call_table& table, std::shared_ptr<driven_call> call) {
  table.push_back(std::move(call));
  return *table.back();
}

// Records of a usual call.
record<tag_md_info> array();
record<tag_disk_info> disk();
record<tag_vg_info> group();
record<tag_share_config> share(const std::string& service);
list_of<tag_diskinfo_list> disks();
list_of<tag_mdinfo_list> arrays();
list_of<tag_pvinfo_list> volumes();
list_of<tag_vginfo_list> groups();
list_of<tag_poolinfo_list> pools();
list_of<tag_fsinfo_list> file_systems();
list_of<tag_shareconf_list> shares(const std::string& service);
list_of<tag_shareconn_list> connections();
list_of<tag_user_info_list> users();
list_of<tag_alarm_list> alarms();
list_of<tag_netcard_list> netcards();

}  // namespace security
