#ifndef ORV_SHARE_INI_INDEX_H
#define ORV_SHARE_INI_INDEX_H

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orv {

/// The head of a section: a line that begins with "[".
struct ini_head {
  std::string_view text;  ///< what follows the "["
  bool is_closed;         ///< a "]" ended the text
};

/// The settings of one section.
class ini_section {
 public:
  /// @param values  one for each key, without data where the section has none; NULL without section
  ini_section(std::span<const std::string_view> keys, const std::string_view* values)
      : keys_(keys), values_(values) {}

  /// The value of one of the index's keys; none when the section, or the key in it, is missing.
  std::optional<std::string_view> value(std::string_view key) const;

 private:
  std::span<const std::string_view> keys_;
  const std::string_view* values_;
};

/// An INI file that is read once, however many lookups follow. They find what `ini_value_get` and
/// `txt_line_seek` find: of sections of one name only the first one counts, and in it the first of
/// equal keys.
class ini_index {
 public:
  /// Reads a file; one that cannot be read has no sections.
  /// @param keys  every key that will be looked up, none of which looks like a comment; they must
  ///              outlive the index
  ini_index(const char* path, std::span<const std::string_view> keys);
  ini_index(const ini_index&) = delete;
  ini_index& operator=(const ini_index&) = delete;

  /// The lines that begin with "[", in the order of the file. An indented head is a section's, too,
  /// but is not among them.
  const std::vector<ini_head>& heads() const { return heads_; }

  /// The first section of a name; one without settings when there is none.
  ini_section section(std::string_view name) const;

 private:
  void make_room();
  void add_section(std::string_view name);
  void add_setting(std::string_view line);

  std::span<const std::string_view> keys_;
  std::string text_;
  std::vector<ini_head> heads_;
  /// Where the values of a section begin: one for each key, in the order of the keys.
  std::unordered_map<std::string_view, std::size_t> sections_;
  std::vector<std::string_view> values_;
  bool is_taking_ = false;  ///< settings belong to the last section that was added
};

}  // namespace orv

#endif
