#ifndef ORV_COMMON_OCTAL_CODE_H
#define ORV_COMMON_OCTAL_CODE_H

#include <string>
#include <string_view>

/// Words of the tables of mounts and exports. A blank, a control character or a backslash inside a
/// word stands there as "\" and three octal digits, so that a word has no end but its own.

namespace orv {

/// A word as such a table holds it.
/// @param also  further characters that are written as their codes
std::string escaped(std::string_view word, std::string_view also = "");

/// The word that such a text stands for.
std::string unescaped(std::string_view text);

/// The same without a copy of a text that has no code, as most have none.
class unescaped_text {
 public:
  explicit unescaped_text(std::string_view text) : text_(text) {
    if (text.find('\\') == text.npos) return;
    decoded_ = unescaped(text);
    text_ = decoded_;
  }
  unescaped_text(const unescaped_text&) = delete;
  unescaped_text& operator=(const unescaped_text&) = delete;

  std::string_view text() const { return text_; }

 private:
  std::string decoded_;
  std::string_view text_;
};

}  // namespace orv

#endif
