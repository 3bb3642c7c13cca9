#include "common/octal_code.h"

#include <algorithm>

#include "common/control_characters.h"

namespace orv {
namespace {

constexpr std::size_t code_length = 4;  // "\040"

bool needs_code(char c) { return is_control(c) || c == ' ' || c == '\\'; }

/// The character whose code a text begins with; 0 when it begins with none.
char coded_character(std::string_view text) {
  if (text.size() < code_length || text[0] != '\\') return 0;
  int value = 0;
  for (const char digit : text.substr(1, code_length - 1)) {
    if (digit < '0' || digit > '7') return 0;
    value = value * 8 + (digit - '0');
  }
  return value <= 0xff ? static_cast<char>(value) : '\0';
}

}  // namespace

std::string escaped(std::string_view word, std::string_view also) {
  std::string text;
  for (const char c : word) {
    if (!needs_code(c) && also.find(c) == std::string_view::npos) {
      text += c;
      continue;
    }
    text += '\\';
    for (const int shift : {6, 3, 0}) text += static_cast<char>('0' + ((c >> shift) & 7));
  }
  return text;
}

std::string unescaped(std::string_view text) {
  // Most words have no code at all.
  const std::size_t plain = std::min(text.find('\\'), text.size());
  std::string word(text.substr(0, plain));
  text.remove_prefix(plain);
  while (!text.empty()) {
    const char coded = coded_character(text);
    word += coded != 0 ? coded : text.front();
    text.remove_prefix(coded != 0 ? code_length : 1);
  }
  return word;
}

}  // namespace orv
