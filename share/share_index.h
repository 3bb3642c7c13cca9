#ifndef ORV_SHARE_SHARE_INDEX_H
#define ORV_SHARE_SHARE_INDEX_H

#include <orv/share.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "common/families.h"
#include "common/text.h"

namespace orv {

/// Finds the shares of a list by a key, the first one of a key as a search through the list would.
/// The keys are parts of the records, which must stay as they are meanwhile. It takes some forty
/// bytes for each share, since there may be thousands, and 14 KiB at least.
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

  /// Adds the list's next share. @return false when one with this key comes before it
  bool add(std::string_view key, tag_share_config& share);
  /// The same; a search finds the new share instead of the one before it.
  void put(std::string_view key, tag_share_config& share);

  place search(std::string_view key) const;
  tag_share_config* find(std::string_view key) const { return search(key).share; }

  /// Shares that were added or passed over.
  std::size_t size() const { return count_; }

 private:
  struct entry {
    const char* key;
    std::uint32_t key_size;
    std::uint32_t passed_over;
    tag_share_config* share;
    bool has(std::string_view sought) const { return std::string_view(key, key_size) == sought; }
  };

  /// The hash tells nearly all other keys apart, and is all that doubling needs: the keys lie in
  /// the records, each far from the next.
  struct slot {
    std::uint32_t hash;
    std::uint32_t number;  ///< of an entry, from 1 on; 0 when free
  };

  /// The slot of a key: that of its entry, or the free one where it belongs.
  std::size_t slot_of(std::string_view key, std::uint32_t hash) const;
  void double_slots();

  entry& entry_of(const slot& known) const {
    const std::size_t at = known.number - 1;
    return blocks_[at / block_size][at % block_size];
  }

  static constexpr std::size_t block_size = 256;

  std::vector<std::unique_ptr<entry[]>> blocks_;  ///< a vector of entries would double as it grows
  std::size_t entries_ = 0;                       ///< one for each key
  std::vector<slot> slots_;
  std::size_t count_ = 0;
};

}  // namespace orv

#endif
