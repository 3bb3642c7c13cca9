#ifndef ORV_COMMON_RECORD_INDEX_H
#define ORV_COMMON_RECORD_INDEX_H

#include <cstddef>
#include <string_view>
#include <unordered_map>

#include "common/record_list.h"
#include "common/text.h"

namespace orv {

/// Finds the records of a list by a text field, such as `&tag_md_info::name`: the first one of a
/// text, as a search through the list would. The records must stay, and that field of theirs.
template <class List>
class record_index {
 public:
  template <std::size_t Size>
  record_index(List* list, char (record_of<List>::*field)[Size]) {
    for (record_of<List>& record : records(list)) add(text_of(record.*field), record);
  }

  /// Adds a record behind those that are there.
  void add(std::string_view text, record_of<List>& record) { records_.try_emplace(text, &record); }

  /// NULL when there is none.
  record_of<List>* find(std::string_view text) const {
    const auto found = records_.find(text);
    return found == records_.end() ? nullptr : found->second;
  }

 private:
  std::unordered_map<std::string_view, record_of<List>*> records_;
};

}  // namespace orv

#endif
