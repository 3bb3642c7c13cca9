#ifndef ORV_SHARE_INI_LINES_H
#define ORV_SHARE_INI_LINES_H

#include <optional>
#include <string_view>

#include "common/companion.h"
#include "common/file_lines.h"
#include "common/text.h"

namespace orv {

/// The lines of an INI file, one after the other, as `ini_value_get` and `txt_line_seek` understand
/// them. A file that cannot be read has none.
class ini_lines {
 public:
  explicit ini_lines(const char* path);

  /// Moves to the next line; false at the end. What is told of a line is valid until then.
  bool next();

  /// True for the head of a section.
  bool is_head() const { return text_.starts_with('['); }
  /// The name of a head's section, as it is looked up.
  std::string_view section() const { return trimmed(text_.substr(1, text_.find(']') - 1)); }

  /// True for a head that `txt_line_seek` finds: it is not indented.
  bool is_sought() const { return lines_.line().starts_with('['); }
  /// What follows the "[" of such a head; nothing when no "]" ends it.
  std::optional<std::string_view> sought_name() const;

  /// The value that a line which is no head gives to a key; nothing when it gives it none.
  std::optional<std::string_view> value_of(std::string_view key) const {
    // The first character tells most keys apart.
    if (!text_.starts_with(key.front()) || !text_.starts_with(key)) return std::nullopt;
    std::string_view rest = text_.substr(key.size());
    constexpr std::string_view usual_sign = " = ";
    if (rest.starts_with(usual_sign)) return value_in(rest.substr(usual_sign.size()));
    rest = trimmed_left(rest);
    if (!rest.starts_with('=')) return std::nullopt;
    return value_in(rest.substr(1));
  }

 private:
  std::string_view value_in(std::string_view rest) const {
    return lines_.before_nul(trimmed_left(rest));
  }

  unique_file file_;
  file_lines lines_;
  std::string_view text_;
};

}  // namespace orv

#endif
