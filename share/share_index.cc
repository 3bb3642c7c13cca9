#include "share/share_index.h"

#include <algorithm>
#include <functional>

namespace orv {

bool share_index::add(std::string_view key, tag_share_config& share) {
  if (4 * (entries_.size() + 1) > 3 * slots_.size()) double_slots();
  std::uint32_t& slot = slots_[slot_of(key)];
  const bool is_new = slot == 0;
  if (is_new) {
    entries_.push_back({key.data(), static_cast<std::uint32_t>(key.size()),
                        static_cast<std::uint32_t>(count_), &share});
    slot = static_cast<std::uint32_t>(entries_.size());
  }
  ++count_;
  return is_new;
}

void share_index::put(std::string_view key, tag_share_config& share) {
  if (add(key, share)) return;
  entry& known = entries_[slots_[slot_of(key)] - 1];
  known.share = &share;
  known.passed_over = static_cast<std::uint32_t>(count_ - 1);
}

share_index::place share_index::search(std::string_view key) const {
  const std::uint32_t number = slots_.empty() ? 0 : slots_[slot_of(key)];
  if (number == 0) return {nullptr, count_};
  const entry& found = entries_[number - 1];
  return {found.share, found.passed_over};
}

std::size_t share_index::slot_of(std::string_view key) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = std::hash<std::string_view>{}(key)&mask;
  while (slots_[slot] != 0 && !entries_[slots_[slot] - 1].has(key)) slot = (slot + 1) & mask;
  return slot;
}

void share_index::double_slots() {
  constexpr std::size_t fewest = 16;
  slots_.assign(std::max(fewest, 2 * slots_.size()), 0);
  slots_.shrink_to_fit();
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    const std::string_view key(entries_[i].key, entries_[i].key_size);
    slots_[slot_of(key)] = static_cast<std::uint32_t>(i + 1);
  }
}

}  // namespace orv
