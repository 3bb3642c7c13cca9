#include "common/line_reader.h"

#include <algorithm>
#include <cstring>

namespace orv {

bool line_reader::next() {
  std::size_t size = 0;
  while (!unread_.empty() || refill()) {
    const std::string_view part = unread_.substr(0, unread_.find('\n'));
    const std::size_t room = std::min(part.size(), capacity - 1 - size);
    std::memcpy(buffer_ + size, part.data(), room);
    size += room;
    const bool is_ended = part.size() < unread_.size();
    unread_.remove_prefix(is_ended ? part.size() + 1 : part.size());
    if (!is_ended) continue;
    buffer_[size] = '\0';
    return true;
  }
  buffer_[size] = '\0';
  return size > 0 && !failed();
}

/// What was read before an error is still given out, and nothing is read behind it.
bool line_reader::refill() {
  if (stream_ == nullptr || failed()) return false;
  unread_ = {block_, fread_unlocked(block_, 1, sizeof block_, stream_)};
  if (ferror_unlocked(stream_) != 0) reason_ = errno;
  return !unread_.empty();
}

}  // namespace orv
