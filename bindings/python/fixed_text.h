#ifndef ORV_PYTHON_FIXED_TEXT_H
#define ORV_PYTHON_FIXED_TEXT_H

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace orv_python {

/// A text that is part of a type: the name of a parameter, a word that is allowed.
template <std::size_t size>
struct fixed_text {
  char characters[size]{};

  // Not explicit: a literal stands where a template takes a text.
  consteval fixed_text(const char (&literal)[size]) { std::copy_n(literal, size, characters); }
  constexpr std::string_view view() const { return {characters, size - 1}; }
};

}  // namespace orv_python

#endif
