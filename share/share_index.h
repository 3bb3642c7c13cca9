#ifndef ORV_SHARE_SHARE_INDEX_H
#define ORV_SHARE_SHARE_INDEX_H

#include <orv/share.h>

#include <cstddef>
#include <string_view>
#include <unordered_map>

#include "common/families.h"
#include "common/text.h"

namespace orv {

/// Finds the shares of a list by a key, the first one of a key as a search through the list would.
/// The keys are parts of the records, which must stay as they are meanwhile.
class share_index {
 public:
  /// Where a search through the list ends.
  struct place {
    tag_share_config* share;  ///< NULL when no share has the key
    std::size_t passed_over;  ///< records before it; all of them when there is none
  };

  share_index() = default;

  /// Indexes a list by a field, such as `&tag_share_config::name`, of the shares for which a
  /// condition holds; a search passes over the others.
  template <std::size_t Size, class Condition>
  share_index(tag_shareconf_list* list, char (tag_share_config::*field)[Size],
              Condition is_sought) {
    for (tag_share_config& share : records(list)) {
      if (is_sought(share)) {
        add(text_of(share.*field), share);
      } else {
        ++count_;
      }
    }
  }

  /// Indexes all shares of a list by a field.
  template <std::size_t Size>
  share_index(tag_shareconf_list* list, char (tag_share_config::*field)[Size])
      : share_index(list, field, [](const tag_share_config&) { return true; }) {}

  /// Adds the list's next share.
  void add(std::string_view key, tag_share_config& share) {
    shares_.try_emplace(key, place{&share, count_});
    ++count_;
  }

  place search(std::string_view key) const {
    const auto found = shares_.find(key);
    return found == shares_.end() ? place{nullptr, count_} : found->second;
  }

  tag_share_config* find(std::string_view key) const { return search(key).share; }

 private:
  std::unordered_map<std::string_view, place> shares_;
  std::size_t count_ = 0;
};

}  // namespace orv

#endif
