#ifndef ORV_SUPPORT_LINE_SCANNER_H
#define ORV_SUPPORT_LINE_SCANNER_H

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace orv::support {

/// Reads the whole lines of a stream, of any length and without their line ends. Without a stream
/// there are no lines.
class line_scanner {
 public:
  explicit line_scanner(FILE* stream) : stream_(stream) {}
  ~line_scanner() { std::free(line_); }
  line_scanner(const line_scanner&) = delete;
  line_scanner& operator=(const line_scanner&) = delete;

  /// Moves to the next line; false at the end of the stream and on a read error.
  bool next() {
    if (stream_ == nullptr) return false;
    length_ = getline(&line_, &capacity_, stream_);
    if (length_ > 0 && line_[length_ - 1] == '\n') --length_;
    return length_ >= 0;
  }
  /// Behind the last line: true when the stream could not be read, or without memory for a line.
  bool failed() const { return stream_ != nullptr && std::feof(stream_) == 0; }
  /// The line that `next` moved to; valid until it is called again.
  std::string_view line() const { return {line_, static_cast<std::size_t>(length_)}; }

 private:
  FILE* stream_;
  char* line_ = nullptr;
  std::size_t capacity_ = 0;
  ssize_t length_ = 0;
};

}  // namespace orv::support

#endif
