#include "share/file_lines.h"

#include <algorithm>
#include <cstring>

namespace orv {

bool file_lines::next() {
  std::size_t end = unread_.find('\n');
  while (end == std::string_view::npos) {
    const std::size_t searched = unread_.size();
    if (!refill()) {
      line_ = unread_;
      unread_ = {};
      return !line_.empty();
    }
    end = unread_.find('\n', searched);
  }
  line_ = unread_.substr(0, end);
  unread_.remove_prefix(end + 1);
  return true;
}

/// Reads on behind what is unread, which moves to the front of the block. It takes half of the
/// block at most: there is always room.
bool file_lines::refill() {
  constexpr std::size_t usual_size = 32UL * 1024;
  if (stream_ == nullptr || std::feof(stream_) != 0 || failed()) return false;
  const std::size_t kept = unread_.size();
  if (kept > 0) std::memmove(block_.data(), unread_.data(), kept);
  if (block_.size() < 2 * kept || block_.empty()) block_.resize(std::max(usual_size, 4 * kept));
  const std::size_t got = fread_unlocked(block_.data() + kept, 1, block_.size() - kept, stream_);
  unread_ = {block_.data(), kept + got};
  has_nul_ = unread_.find('\0') != std::string_view::npos;
  return got > 0;
}

}  // namespace orv
