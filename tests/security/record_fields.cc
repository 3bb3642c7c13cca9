#include "tests/security/record_fields.h"

namespace security {
namespace {

/// A field of a record, cut and terminated as a caller would.
template <class Record, std::size_t Size>
text_field<Record> field(const char* id, char (Record::*member)[Size]) {
  return {id, Size, [member](Record& record, std::string_view text) {
            orv::set_text(record.*member, text.substr(0, text.find('\0')));
          }};
}

/// The fields of a record that lies within another one.
template <class Outer, class Inner>
void add_inner(field_rows<Outer>& rows, const std::string& name,
               const std::function<Inner&(Outer&)>& inner_of) {
  for (const text_field<Inner>& row : fields_of<Inner>()) {
    rows.push_back({name + '.' + row.id, row.capacity,
                    [set = row.set, inner_of](Outer& record, std::string_view text) {
                      set(inner_of(record), text);
                    }});
  }
}

#define FIELD(record, member) field(#member, &record::member)

}  // namespace

template <>
const field_rows<tag_smart_info>& fields_of() {
  static const field_rows<tag_smart_info> rows = {FIELD(tag_smart_info, device_model),
                                                  FIELD(tag_smart_info, serial_number),
                                                  FIELD(tag_smart_info, firmware_version),
                                                  FIELD(tag_smart_info, user_capacity),
                                                  FIELD(tag_smart_info, ata_version),
                                                  FIELD(tag_smart_info, ata_standard),
                                                  FIELD(tag_smart_info, smart_support),
                                                  FIELD(tag_smart_info, smart_enabled),
                                                  FIELD(tag_smart_info, health)};
  return rows;
}

template <>
const field_rows<tag_disksmart_info>& fields_of() {
  static const field_rows<tag_disksmart_info> rows = {FIELD(tag_disksmart_info, id),
                                                      FIELD(tag_disksmart_info, attr_name),
                                                      FIELD(tag_disksmart_info, status)};
  return rows;
}

template <>
const field_rows<tag_disk_info>& fields_of() {
  static const field_rows<tag_disk_info> rows = [] {
    field_rows<tag_disk_info> all = {FIELD(tag_disk_info, name), FIELD(tag_disk_info, state),
                                     FIELD(tag_disk_info, model), FIELD(tag_disk_info, usage),
                                     FIELD(tag_disk_info, enclosure)};
    add_inner<tag_disk_info, tag_smart_info>(
        all, "smart", [](tag_disk_info& disk) -> tag_smart_info& { return disk.smart; });
    add_inner<tag_disk_info, tag_disksmart_info>(
        all, "smart_list",
        [](tag_disk_info& disk) -> tag_disksmart_info& { return only_in(disk.smart_list); });
    return all;
  }();
  return rows;
}

template <>
const field_rows<tag_md_info>& fields_of() {
  static const field_rows<tag_md_info> rows = {
      FIELD(tag_md_info, name),     FIELD(tag_md_info, level), FIELD(tag_md_info, state),
      FIELD(tag_md_info, progress), FIELD(tag_md_info, disks), FIELD(tag_md_info, spares),
      FIELD(tag_md_info, enclosure)};
  return rows;
}

template <>
const field_rows<tag_pv_info>& fields_of() {
  static const field_rows<tag_pv_info> rows = {FIELD(tag_pv_info, pvname), FIELD(tag_pv_info, attr),
                                               FIELD(tag_pv_info, enclosure),
                                               FIELD(tag_pv_info, vgname)};
  return rows;
}

template <>
const field_rows<tag_vg_info>& fields_of() {
  static const field_rows<tag_vg_info> rows = [] {
    field_rows<tag_vg_info> all = {FIELD(tag_vg_info, vgname), FIELD(tag_vg_info, attr),
                                   FIELD(tag_vg_info, enclosure)};
    add_inner<tag_vg_info, tag_pv_info>(
        all, "pvs", [](tag_vg_info& vg) -> tag_pv_info& { return only_in(vg.pvs); });
    return all;
  }();
  return rows;
}

template <>
const field_rows<tag_pool_info>& fields_of() {
  static const field_rows<tag_pool_info> rows = {
      FIELD(tag_pool_info, poolname), FIELD(tag_pool_info, state), FIELD(tag_pool_info, vgname),
      FIELD(tag_pool_info, enclosure)};
  return rows;
}

template <>
const field_rows<tag_fs_info>& fields_of() {
  static const field_rows<tag_fs_info> rows = {
      FIELD(tag_fs_info, devname), FIELD(tag_fs_info, mountpoint), FIELD(tag_fs_info, fstype),
      FIELD(tag_fs_info, state),   FIELD(tag_fs_info, vgname),     FIELD(tag_fs_info, enclosure)};
  return rows;
}

template <>
const field_rows<tag_share_config>& fields_of() {
  static const field_rows<tag_share_config> rows = {
      FIELD(tag_share_config, name),   FIELD(tag_share_config, comment),
      FIELD(tag_share_config, path),   FIELD(tag_share_config, service),
      FIELD(tag_share_config, status), FIELD(tag_share_config, valid_users)};
  return rows;
}

template <>
const field_rows<tag_share_conn>& fields_of() {
  static const field_rows<tag_share_conn> rows = {
      FIELD(tag_share_conn, share), FIELD(tag_share_conn, protocol), FIELD(tag_share_conn, ip),
      FIELD(tag_share_conn, user)};
  return rows;
}

template <>
const field_rows<tag_user_info>& fields_of() {
  static const field_rows<tag_user_info> rows = {
      FIELD(tag_user_info, name), FIELD(tag_user_info, password), FIELD(tag_user_info, type)};
  return rows;
}

template <>
const field_rows<tag_alarm_info>& fields_of() {
  static const field_rows<tag_alarm_info> rows = {
      FIELD(tag_alarm_info, id), FIELD(tag_alarm_info, name), FIELD(tag_alarm_info, time),
      FIELD(tag_alarm_info, text)};
  return rows;
}

template <>
const field_rows<tag_netcard>& fields_of() {
  static const field_rows<tag_netcard> rows = {
      FIELD(tag_netcard, name), FIELD(tag_netcard, ip), FIELD(tag_netcard, netmask),
      FIELD(tag_netcard, gateway), FIELD(tag_netcard, mac)};
  return rows;
}

#undef FIELD

}  // namespace security
