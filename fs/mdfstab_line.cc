#include "fs/mdfstab_line.h"

#include <algorithm>

#include "common/text.h"

namespace orv {
namespace {

constexpr std::string_view word_separators = " \t";
constexpr std::size_t longest_line = 255;
constexpr std::size_t code_length = 4;  // "\040"

bool needs_code(char c) {
  const unsigned char value = static_cast<unsigned char>(c);
  return value <= ' ' || c == '\\' || value == 0x7f;
}

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

std::string escaped(std::string_view word) {
  std::string text;
  for (const char c : word) {
    if (!needs_code(c)) {
      text += c;
      continue;
    }
    text += '\\';
    for (const int shift : {6, 3, 0}) text += static_cast<char>('0' + ((c >> shift) & 7));
  }
  return text;
}

std::string unescaped(std::string_view word) {
  std::string text;
  while (!word.empty()) {
    const char coded = coded_character(word);
    text += coded != 0 ? coded : word.front();
    word.remove_prefix(coded != 0 ? code_length : 1);
  }
  return text;
}

std::optional<mdfstab_entry> mdfstab_entry_of(std::string_view line) {
  const std::string_view text = trimmed(line);
  const auto words = split(text, word_separators);
  if (text.starts_with('#') || words.size() < 3) return std::nullopt;
  return mdfstab_entry{unescaped(words[0]), unescaped(words[1]), unescaped(words[2])};
}

std::optional<std::string> mdfstab_key_of(std::string_view line) {
  const auto words = split(trimmed(line), word_separators);
  if (words.size() < 2) return std::nullopt;
  return unescaped(words[1]);
}

// The appliance cuts the line where its buffer ends, also within the mount point; that stays so.
std::string mdfstab_line(std::string_view mountpoint, std::string_view vgname,
                         std::string_view poolname, std::string_view type) {
  std::string line = "/dev/" + escaped(vgname) + '/' + escaped(poolname) + '\t' +
                     escaped(mountpoint) + '\t' + std::string(type) + "\tdefaults\t0 0";
  line.resize(std::min(line.size(), longest_line));
  return line;
}

}  // namespace orv
