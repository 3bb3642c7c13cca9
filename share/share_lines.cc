#include "share/share_lines.h"

#include <orv/errors.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>

#include "common/text.h"
#include "share/read_line.h"

namespace orv {
namespace {

constexpr std::size_t word_size = sizeof(std::uint64_t);

/// Whether none of the next eight bytes is a control character, and so each is plain: most words of
/// most lines. The highest bit of a byte shows a borrow of its subtraction.
bool is_plain_word(const char* bytes) {
  constexpr std::uint64_t in_each_byte = 0x0101010101010101;
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, word_size);
  return ((word - in_each_byte * ' ') & ~word & in_each_byte * 0x80) == 0;
}

/// The bytes of a file, read in large blocks.
class blocks {
 public:
  explicit blocks(int file)
      : file_(file), block_(std::make_unique_for_overwrite<char[]>(block_size)) {}
  /// The targets of iSCSI have passwords.
  ~blocks() { explicit_bzero(block_.get(), most_filled_); }
  blocks(const blocks&) = delete;
  blocks& operator=(const blocks&) = delete;

  int next(char& c) {
    if (used_ == filled_) {
      const int got = refill();
      if (got <= 0) return got;
    }
    c = block_[used_++];
    return 1;
  }

  int copy_plain(char* buffer, int room) {
    const std::size_t most = std::min(filled_ - used_, static_cast<std::size_t>(room));
    const char* const from = block_.get() + used_;
    std::size_t size = 0;
    while (size + word_size <= most && is_plain_word(from + size)) {
      std::memcpy(buffer + size, from + size, word_size);
      size += word_size;
    }
    for (; size < most && is_plain_byte(from[size]); ++size) buffer[size] = from[size];
    used_ += size;
    return static_cast<int>(size);
  }

 private:
  int refill() {
    ssize_t got = 0;
    do {
      got = read(file_, block_.get(), block_size);
    } while (got < 0 && errno == EINTR);
    if (got <= 0) return static_cast<int>(got);
    used_ = 0;
    filled_ = static_cast<std::size_t>(got);
    most_filled_ = std::max(most_filled_, filled_);
    return 1;
  }

  static constexpr std::size_t block_size = 64UL * 1024;

  int file_;
  std::unique_ptr<char[]> block_;
  std::size_t used_ = 0;
  std::size_t filled_ = 0;
  std::size_t most_filled_ = 0;
};

std::string_view stripped(std::string_view line) {
  while (!line.empty() && (line.front() == ' ' || line.front() == '\t')) line.remove_prefix(1);
  return trimmed_right(line);
}

}  // namespace

int read_share_lines(int file, line_buffer buffer,
                     const std::function<int(std::string_view)>& take) {
  blocks source(file);
  char line[longest_share_line + 1] = "";
  int got = 0;
  while ((got = read_line(source, line, longest_share_line)) > 0) {
    const int result = take(stripped(line));
    if (result != ORV_OK) return result;
    // What lies behind the positions of the line is clear already.
    if (buffer == line_buffer::cleared) std::memset(line, 0, static_cast<std::size_t>(got));
  }
  return got == 0 ? ORV_OK : ORV_E_SHARE_READ;
}

int senseless_line() {
  errno = EBADMSG;
  return ORV_E_SHARE_SYNTAX;
}

}  // namespace orv
