#include "common/file_lines.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace orv {

/// As `next`, where no line ends in what is unread.
bool file_lines::next_of_more() {
  std::size_t end = std::string_view::npos;
  while (end == std::string_view::npos) {
    const std::size_t searched = unread_.size();
    if (!refill()) {
      line_ = unread_;
      unread_ = {};
      return !line_.empty();
    }
    end = unread_.find('\n', searched);
  }
  take(end);
  return true;
}

/// Reads on behind what is unread, which moves to the front of the block. It takes half of the
/// block at most: there is always room.
bool file_lines::refill() {
  constexpr std::size_t usual_size = 32UL * 1024;
  if (stream_ == nullptr || std::feof(stream_) != 0 || failed()) return false;
  const std::size_t kept = unread_.size();
  if (size_ < 2 * kept || size_ == 0) {
    const std::size_t size = std::max(usual_size, 4 * kept);
    auto larger = std::make_unique_for_overwrite<char[]>(size);
    if (kept > 0) std::memcpy(larger.get(), unread_.data(), kept);
    block_ = std::move(larger);
    size_ = size;
  } else if (kept > 0) {
    std::memmove(block_.get(), unread_.data(), kept);
  }
  const std::size_t got = fread_unlocked(block_.get() + kept, 1, size_ - kept, stream_);
  unread_ = {block_.get(), kept + got};
  has_nul_ = unread_.find('\0') != std::string_view::npos;
  return got > 0;
}

}  // namespace orv
