/// Rows of the machine, the support library and the record operations.
#include <cstdarg>

#include "tests/security/functions.h"

namespace security {
namespace {

using number = plain<int>;

/// The two functions that format, as callers call them: with the text as a value.
void log_error_with(const char* value) { liborv_log_error("%s", value); }
void perror_with(const char* value) { orv_perror_msg("%s", value); }

}  // namespace

void add_system_functions(call_table& table) {
  ROW(procinfo_get, word("/scratch/processes")).changes_file_named_by("0").runs_with({"0"});
  ROW(hostname_set, word("nas")).changes({"/etc/hostname", "/var/lib/orv/kept/etc/hostname"});
  ROW(get_gateway, word("/told/interfaces"), word("eth0"), output(16));
  ROW(netcard_get, netcards());
  ROW(alarm_get, alarms());
  ROW(get_alarminfo_from_socket, alarms());
  ROW(alarm_socket_get, alarms(), number(-1));
}

void add_support_functions(call_table& table) {
  driven_call& log = add(table, driven("liborv_log_error", log_error_with, word("x")));
  log.signature = "liborv_log_error(char const*, ...)";
  driven_call& perror = add(table, driven("orv_perror_msg", perror_with, word("x")));
  perror.signature = "orv_perror_msg(char const*, ...)";
  ROW(liborv_strncpy, buffer("x", 16), number(16), word("y"));
  ROW(liborv_strncat, buffer("x", 16), number(16), word("y"));
  ROW(liborv_strcmp_substr, word("a,b"), word("b"), word(","));
  ROW(clear_string, buffer(" x ", 16), number(15));
  ROW(rtrimstr, buffer(" x ", 16));
  ROW(ltrimstr, buffer(" x ", 16));
  ROW(isdigital, word("1"));
  ROW(key_val_split, buffer("a=b", 16), result_of<char*>(), result_of<char*>());
  ROW(fgetline, stream("a\n"), output(16), number(16));
  ROW(get_line_from_file, stream("a:b\n"), word("a"), number(0), word(":"), output(16), number(16));
  ROW(get_line_from_file_end, stream("a:b\n"), word("a"), number(0), word(":"), output(16),
      number(16));
  ROW(get_substr_from_line, word("a b"), number(3), word(" "), number(1), result_of<char*>());
  ROW(get_size_from_display, word("a 1"), number(3), word(" "), number(1), result_of<uint64_t>());
  ROW(get_str_from_display, word("a 1"), number(3), word(" "), number(1), output(16), number(16));
  ROW(ini_value_get, output(16), word("/etc/sys_info"), word("product"), word("type"), number(16));
  ROW(ini_key_get, word("/etc/sys_info"), word("product"), word("type"), output(16), number(16));
  ROW(txt_line_seek, word("/etc/sys_info"), word("["), number(1), output(16), number(16));
  ROW(conf_save, word("/scratch/conf")).changes_file_named_by("0");
}

void add_record_functions(call_table& table) {
  const record<tag_smart_info> summary([](tag_smart_info& smart) { smart_info_init(&smart); });
  const record<tag_disksmart_info> attribute([](tag_disksmart_info&) {});
  const record<tag_pv_info> volume([](tag_pv_info&) {});
  const record<tag_pool_info> pool([](tag_pool_info&) {});
  const record<tag_fs_info> file_system([](tag_fs_info&) {});
  const record<tag_share_conn> connection([](tag_share_conn&) {});
  const record<tag_user_info> user([](tag_user_info&) {});
  const record<tag_alarm_info> alarm([](tag_alarm_info&) {});
  const record<tag_netcard> card([](tag_netcard&) {});
  ROW(smart_info_show, summary);
  ROW(smart_conf_show, attribute);
  ROW(disk_conf_show, disk());
  ROW(disk_list_show, disks());
  ROW(md_conf_show, array());
  ROW(md_list_show, arrays());
  ROW(pv_conf_show, volume);
  ROW(pv_list_show, volumes());
  ROW(vg_conf_show, group());
  ROW(vg_list_show, groups());
  ROW(pool_conf_show, pool);
  ROW(pool_list_show, pools());
  ROW(fs_conf_show, file_system);
  ROW(fs_list_show, file_systems());
  ROW(share_conf_show, share("samba"));
  ROW(share_list_show, shares("samba"));
  ROW(conn_conf_show, connection);
  ROW(conn_list_show, connections());
  ROW(user_info_show, user);
  ROW(user_list_show, users());
  ROW(alarm_conf_show, alarm);
  ROW(alarm_list_show, alarms());
  ROW(netcard_info_show, card);
  ROW(netcard_list_show, netcards());
  ROW(smart_list_show, list_of<tag_disksmart_list>({[](tag_disksmart_info&) {}}));
}

const std::vector<std::string>& functions_that_forget() {
  static const std::vector<std::string> names = {"_init(", "_fini(", "sys_user_get(",
                                                 "share_conn_get("};
  return names;
}

const call_table& all_functions() {
  static const call_table table = [] {
    call_table all;
    add_support_functions(all);
    add_disk_functions(all);
    add_raid_functions(all);
    add_lvm_functions(all);
    add_fs_functions(all);
    add_share_functions(all);
    add_service_functions(all);
    add_system_functions(all);
    add_user_functions(all);
    add_record_functions(all);
    return all;
  }();
  return table;
}

}  // namespace security
