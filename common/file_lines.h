#ifndef ORV_COMMON_FILE_LINES_H
#define ORV_COMMON_FILE_LINES_H

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string_view>

namespace orv {

/// Reads the whole lines of a stream, of any length and without their line ends, from large blocks:
/// a line is not copied. Without a stream there are no lines.
class file_lines {
 public:
  /// @param stream  without a buffer of its own (without_buffer), which these lines do not need
  explicit file_lines(FILE* stream) : stream_(stream) {}

  /// Moves to the next line; false at the end of the stream and on a read error. What was read
  /// before either is the last line.
  bool next() {
    const std::size_t end = unread_.find('\n');
    if (end == std::string_view::npos) return next_of_more();
    take(end);
    return true;
  }
  /// Behind the last line: true when the stream could not be read to its end.
  bool failed() const { return stream_ != nullptr && std::ferror(stream_) != 0; }
  /// True for a last line that may have gone on: behind it the stream could not be read.
  bool breaks_off() const { return unread_.data() == nullptr && failed(); }
  /// The line that `next` moved to; valid until it is called again.
  std::string_view line() const { return line_; }
  /// What C sees of a part of the line.
  std::string_view before_nul(std::string_view part) const {
    return has_nul_ ? part.substr(0, part.find('\0')) : part;
  }

 private:
  /// Moves to the line of what is unread that ends there.
  void take(std::size_t end) {
    line_ = {unread_.data(), end};
    unread_.remove_prefix(end + 1);
  }
  bool next_of_more();
  bool refill();

  FILE* stream_;
  std::unique_ptr<char[]> block_;
  std::size_t size_ = 0;     ///< of the block
  std::string_view unread_;  ///< of the block
  std::string_view line_;
  bool has_nul_ = false;  ///< somewhere in the block
};

}  // namespace orv

#endif
