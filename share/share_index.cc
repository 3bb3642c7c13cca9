#include "share/share_index.h"

#include <algorithm>
#include <utility>

#include "common/text_hash.h"

namespace orv {

bool share_index::add(std::string_view key, tag_share_config& share) {
  if (4 * (entries_ + 1) > 3 * slots_.size()) double_slots();
  const std::uint32_t hash = text_hash(key);
  slot& own = slots_[slot_of(key, hash)];
  const bool is_new = own.number == 0;
  if (is_new) {
    if (entries_ % block_size == 0) {
      blocks_.push_back(std::make_unique_for_overwrite<entry[]>(block_size));
    }
    own = {hash, static_cast<std::uint32_t>(++entries_)};
    entry_of(own) = {key.data(), static_cast<std::uint32_t>(key.size()),
                     static_cast<std::uint32_t>(count_), &share};
  }
  ++count_;
  return is_new;
}

void share_index::put(std::string_view key, tag_share_config& share) {
  if (add(key, share)) return;
  entry& known = entry_of(slots_[slot_of(key, text_hash(key))]);
  known.share = &share;
  known.passed_over = static_cast<std::uint32_t>(count_ - 1);
}

share_index::place share_index::search(std::string_view key) const {
  if (slots_.empty()) return {nullptr, count_};
  const slot& own = slots_[slot_of(key, text_hash(key))];
  if (own.number == 0) return {nullptr, count_};
  const entry& found = entry_of(own);
  return {found.share, found.passed_over};
}

std::size_t share_index::slot_of(std::string_view key, std::uint32_t hash) const {
  const auto is_other = [&](const slot& known) {
    return known.number != 0 && (known.hash != hash || !entry_of(known).has(key));
  };
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = hash & mask;
  while (is_other(slots_[at])) at = (at + 1) & mask;
  return at;
}

void share_index::double_slots() {
  constexpr std::size_t fewest = 1024;  // eight KiB: most lists never double them
  std::vector<slot> more(std::max(fewest, 2 * slots_.size()));
  const std::size_t mask = more.size() - 1;
  for (const slot& known : slots_) {
    if (known.number == 0) continue;
    std::size_t at = known.hash & mask;
    while (more[at].number != 0) at = (at + 1) & mask;
    more[at] = known;
  }
  slots_ = std::move(more);
}

}  // namespace orv
