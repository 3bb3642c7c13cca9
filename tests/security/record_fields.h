/// The text fields of the public records, one row each. A test compares them with the headers.
#pragma once

#include <orv.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "common/families.h"
#include "common/text.h"

namespace security {

/// A place for a text in a call.
struct text_place {
  std::string id{};          // number of the argument, and of a record the field: "0", "1.name"
  std::size_t capacity = 0;  // bytes of the buffer or field; 0: any length
};

/// The text that goes into one place of a call; with no text everything is as the table says.
struct put_text {
  std::size_t place = static_cast<std::size_t>(-1);
  const std::string* text = nullptr;

  const std::string& in(std::size_t here, const std::string& otherwise) const {
    return text != nullptr && place == here ? *text : otherwise;
  }
};

template <class Record>
struct text_field {
  std::string id;
  std::size_t capacity;
  std::function<void(Record&, std::string_view)> set;
};

template <class Record>
using field_rows = std::vector<text_field<Record>>;

template <class Record>
const field_rows<Record>& fields_of();

template <>
const field_rows<tag_smart_info>& fields_of();
template <>
const field_rows<tag_disksmart_info>& fields_of();
template <>
const field_rows<tag_disk_info>& fields_of();
template <>
const field_rows<tag_md_info>& fields_of();
template <>
const field_rows<tag_pv_info>& fields_of();
template <>
const field_rows<tag_vg_info>& fields_of();
template <>
const field_rows<tag_pool_info>& fields_of();
template <>
const field_rows<tag_fs_info>& fields_of();
template <>
const field_rows<tag_share_config>& fields_of();
template <>
const field_rows<tag_share_conn>& fields_of();
template <>
const field_rows<tag_user_info>& fields_of();
template <>
const field_rows<tag_alarm_info>& fields_of();
template <>
const field_rows<tag_netcard>& fields_of();

template <class Record>
std::vector<text_place> places_of(const field_rows<Record>& fields) {
  std::vector<text_place> places;
  for (const auto& field : fields) places.push_back({field.id, field.capacity});
  return places;
}

template <class Record>
void put_into(Record& record, const put_text& put, std::size_t first) {
  const auto& fields = fields_of<Record>();
  if (put.text == nullptr || put.place < first || put.place - first >= fields.size()) return;
  fields[put.place - first].set(record, *put.text);
}

/// Lists within a record begin with one record, which may hold the text.
template <class Record>
void prepare_lists(Record& record) {
  if constexpr (requires { record.pvs; }) orv::list_init(&record.pvs);
  if constexpr (requires { record.pvs; }) orv::append(&record.pvs);
  if constexpr (requires { record.smart_list; }) orv::list_init(&record.smart_list);
  if constexpr (requires { record.smart_list; }) orv::append(&record.smart_list);
}

template <class Record>
void release_lists(Record& record) {
  if constexpr (requires { record.pvs; }) orv::list_fini(&record.pvs);
  if constexpr (requires { record.smart_list; }) orv::list_fini(&record.smart_list);
}

/// The only record of a list within a record.
template <class List>
orv::record_of<List>& only_in(List& list) {
  return *orv::records(&list).begin();
}

}  // namespace security
