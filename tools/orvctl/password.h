#ifndef ORVCTL_PASSWORD_H
#define ORVCTL_PASSWORD_H

#include <cstring>
#include <string>
#include <string_view>

#include "tools/orvctl/session.h"

/// Passwords are typed at a terminal that does not show them, or are a line of standard input. They
/// are never arguments, which every process may read.

namespace orvctl {

/// A password that is cleared when it goes. Its characters stand in one place: there is room for
/// all from the start.
class secret {
 public:
  /// More than the C library hashes.
  static constexpr std::size_t longest = 1024;

  secret() { text_.reserve(longest); }
  explicit secret(std::string_view text) : secret() { text_ = text; }
  secret(secret&&) = default;
  ~secret() { explicit_bzero(text_.data(), text_.capacity()); }

  /// False when there is no room for another one.
  bool append(char c) {
    if (text_.size() == longest) return false;
    text_ += c;
    return true;
  }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

/// Asks for a password. Of a line that is longer than a secret only that much is read.
secret read_password(const session& run, const std::string& prompt);

/// Asks for a password that is to be set: twice at a terminal. One that is empty, or too long for
/// the library, ends the command.
secret read_new_password(const session& run, const std::string& user);

}  // namespace orvctl

#endif
