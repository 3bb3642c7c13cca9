#include "fs/mdfstab_line.h"

#include <algorithm>

#include "common/octal_code.h"
#include "common/text.h"

namespace orv {
namespace {

constexpr std::string_view word_separators = " \t";
constexpr std::size_t longest_line = 255;

}  // namespace

std::optional<mdfstab_entry> mdfstab_entry_of(std::string_view line) {
  std::string_view rest = trimmed(line);
  if (rest.starts_with('#')) return std::nullopt;
  const std::string_view device = next_part(rest, word_separators);
  const std::string_view mountpoint = next_part(rest, word_separators);
  const std::string_view type = next_part(rest, word_separators);
  if (type.empty()) return std::nullopt;
  return mdfstab_entry{device, mountpoint, type};
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
