#ifndef ORV_SHARE_SHARE_INDEX_H
#define ORV_SHARE_SHARE_INDEX_H

#include <orv/share.h>

#include <string_view>
#include <unordered_map>

namespace orv {

/// Finds the shares of a list by a key, the first one of a key as a search through the list would.
/// The keys are parts of the records, which must stay as they are meanwhile.
class share_index {
 public:
  void add(std::string_view key, tag_share_config& share) { shares_.try_emplace(key, &share); }

  tag_share_config* find(std::string_view key) const {
    const auto found = shares_.find(key);
    return found == shares_.end() ? nullptr : found->second;
  }

 private:
  std::unordered_map<std::string_view, tag_share_config*> shares_;
};

}  // namespace orv

#endif
