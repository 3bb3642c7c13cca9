#ifndef ORV_COMMON_LINE_READER_H
#define ORV_COMMON_LINE_READER_H

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace orv {

/// Reads the lines of a stream, or of a text, through a buffer of 256 bytes, without their line
/// ends. Of a longer line only the first 255 bytes are seen: its rest is no line of its own. The
/// stream itself is read ahead, in blocks.
class line_reader {
 public:
  explicit line_reader(FILE* stream) : stream_(stream) {}
  /// @param text  lives as long as this object
  explicit line_reader(std::string_view text) : unread_(text) {}
  /// The lines may hold passwords.
  ~line_reader() {
    explicit_bzero(buffer_, sizeof buffer_);
    explicit_bzero(block_, sizeof block_);
  }
  line_reader(const line_reader&) = delete;
  line_reader& operator=(const line_reader&) = delete;

  /// Moves to the next line; false at the end of the stream and on a read error.
  bool next();

  /// True when the stream ended because it could not be read on; `errno` says why.
  bool failed() const {
    if (stream_ == nullptr || ferror_unlocked(stream_) == 0) return false;
    errno = reason_;
    return true;
  }

  /// The line that `next` moved to; the caller may cut it.
  char* line() { return buffer_; }

  static constexpr int capacity = 256;

 private:
  bool refill();

  FILE* stream_ = nullptr;
  int reason_ = 0;  // of a read error: lines that were read before it are still given out
  std::string_view unread_;
  char buffer_[capacity] = "";
  char block_[4096];
};

}  // namespace orv

#endif
