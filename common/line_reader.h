#ifndef ORV_COMMON_LINE_READER_H
#define ORV_COMMON_LINE_READER_H

#include <cstdio>
#include <string_view>

namespace orv {

/// Reads the lines of a stream through a buffer of 256 bytes, without their line ends. Of a longer
/// line only the first 255 bytes are seen: its rest is no line of its own. The stream itself is
/// read ahead, in blocks.
class line_reader {
 public:
  explicit line_reader(FILE* stream) : stream_(stream) {}
  line_reader(const line_reader&) = delete;
  line_reader& operator=(const line_reader&) = delete;

  /// Moves to the next line; false at the end of the stream and on a read error.
  bool next();

  /// True when the stream ended because it could not be read on; `errno` says why.
  bool failed() const { return std::ferror(stream_) != 0; }

  /// The line that `next` moved to; the caller may cut it.
  char* line() { return buffer_; }

  static constexpr int capacity = 256;

 private:
  bool refill();

  FILE* stream_;
  std::string_view unread_;
  char buffer_[capacity] = "";
  char block_[4096];
};

}  // namespace orv

#endif
