#ifndef ORV_PYTHON_ARGUMENTS_H
#define ORV_PYTHON_ARGUMENTS_H

#include <orv/support.h>
#include <orv/system.h>
#include <pybind11/pybind11.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bindings/python/fixed_text.h"

/// The kinds of arguments: each is made of what the caller gave, which it checks so that nothing is
/// cut or changed on the way to the library, and says with `c()` what the library takes. A wrong
/// type raises TypeError, a wrong value ValueError.

namespace orv_python {

namespace py = pybind11;

/// What a caller gave for a parameter. The messages name the function and the parameter and never
/// show the value, which may be a password.
struct given_value {
  std::string_view function;
  std::string_view name;
  py::handle value;
};

/// @param size  of the library's field, terminator included
std::string text_of(const given_value& given, std::size_t size);
std::vector<std::string> texts_of(const given_value& given, std::size_t size);
/// Elements joined by commas; none of them holds one.
std::string joined_words(const given_value& given, std::size_t size);
std::string joined_channels(const given_value& given, std::size_t size);
std::uint64_t number_of(const given_value& given, std::uint64_t lowest, std::uint64_t highest);
std::uint64_t gib_of(const given_value& given);
bool flag_of(const given_value& given);
tag_datetime moment_of(const given_value& given);
/// @param allowed  words separated by blanks
std::string one_of(const given_value& given, std::string_view allowed);

/// A text for a field of the library of this size.
template <std::size_t size>
class text {
 public:
  static constexpr char annotation[] = "str";
  explicit text(const given_value& given) : text_(text_of(given, size)) {}
  const char* c() const { return text_.c_str(); }

 private:
  std::string text_;
};

/// Several texts, which the library takes as one with commas.
template <std::size_t size>
class words {
 public:
  static constexpr char annotation[] = "Sequence[str]";
  explicit words(const given_value& given) : text_(joined_words(given, size)) {}
  const char* c() const { return text_.c_str(); }

 private:
  std::string text_;
};

/// Several texts, each for a field of this size.
template <std::size_t size>
class texts {
 public:
  static constexpr char annotation[] = "Sequence[str]";
  explicit texts(const given_value& given) : texts_(texts_of(given, size)) {}
  const std::vector<std::string>& c() const { return texts_; }

 private:
  std::vector<std::string> texts_;
};

/// Channel numbers, which the library takes as a text with commas.
template <std::size_t size>
class channels {
 public:
  static constexpr char annotation[] = "Sequence[int]";
  explicit channels(const given_value& given) : text_(joined_channels(given, size)) {}
  const char* c() const { return text_.c_str(); }

 private:
  std::string text_;
};

/// One channel number, which the library takes as a text.
class channel {
 public:
  static constexpr char annotation[] = "int";
  static constexpr std::uint64_t highest = 9999999;
  explicit channel(const given_value& given)
      : text_(std::to_string(number_of(given, 1, highest))) {}
  const char* c() const { return text_.c_str(); }

 private:
  std::string text_;
};

consteval std::size_t longest_word(std::string_view words) {
  std::size_t longest = 0;
  std::size_t length = 0;
  for (const char letter : words) {
    length = letter == ' ' ? 0 : length + 1;
    longest = std::max(longest, length);
  }
  return longest;
}

/// One of a few words.
template <fixed_text allowed>
class word {
 public:
  static constexpr char annotation[] = "str";
  explicit word(const given_value& given) : text_(one_of(given, allowed.view())) {}
  const char* c() const { return text_.c_str(); }

 private:
  std::string text_;
};

using enclosure = word<"0 1 2 3 4">;
using service = word<"samba nfs ftp iscsi">;

/// A size in bytes, of which the library takes whole GiB.
class bytes_in_gib {
 public:
  static constexpr char annotation[] = "int";
  explicit bytes_in_gib(const given_value& given) : gib_(gib_of(given)) {}
  std::uint64_t c() const { return gib_; }

 private:
  std::uint64_t gib_;
};

/// A limit as the FTP service takes it.
class limit {
 public:
  static constexpr char annotation[] = "int";
  explicit limit(const given_value& given)
      : limit_(static_cast<unsigned>(number_of(given, 0, INT32_MAX))) {}
  unsigned c() const { return limit_; }

 private:
  unsigned limit_;
};

class flag {
 public:
  static constexpr char annotation[] = "bool";
  explicit flag(const given_value& given) : flag_(flag_of(given)) {}
  bool c() const { return flag_; }

 private:
  bool flag_;
};

/// Local time.
class moment {
 public:
  static constexpr char annotation[] = "datetime";
  explicit moment(const given_value& given) : moment_(moment_of(given)) {}
  const tag_datetime* c() const { return &moment_; }

 private:
  tag_datetime moment_;
};

/// None, or an argument of another kind.
template <class kind>
class maybe {
 public:
  static inline const std::string annotation = std::string(kind::annotation) + " | None";
  explicit maybe(const given_value& given) {
    if (!given.value.is_none()) given_.emplace(given);
  }
  const std::optional<kind>& c() const { return given_; }

 private:
  std::optional<kind> given_;
};

// --- Requests ------------------------------------------------------------------------------------

/// Fills a field of a request with an argument that was checked for a field of this size.
template <std::size_t size, template <std::size_t> class kind>
void fill(char (&field)[size], const kind<size>& given) {
  liborv_strncpy(field, static_cast<int>(size), given.c());
}
template <std::size_t size, fixed_text allowed>
requires(longest_word(allowed.view()) < size) void fill(char (&field)[size],
                                                        const word<allowed>& given) {
  liborv_strncpy(field, static_cast<int>(size), given.c());
}

}  // namespace orv_python

#endif
