#ifndef ORV_FS_MDFSTAB_LINE_H
#define ORV_FS_MDFSTAB_LINE_H

#include <optional>
#include <string>
#include <string_view>

/// The lines of the appliance's mount table. They have the layout of fstab: words separated by
/// blanks and tabs. As there, a blank, tab, line end or backslash inside a word is written as "\"
/// and three octal digits; every other control character is too. The mount point is the key.

namespace orv {

/// The first three words of an entry, as they stand in the line.
struct mdfstab_entry {
  std::string_view device;
  std::string_view mountpoint;
  std::string_view type;
};

/// The entry that a line holds: none for a comment and for a line of fewer than three words.
std::optional<mdfstab_entry> mdfstab_entry_of(std::string_view line);

/// The second word of a line, also where the line is no entry.
std::optional<std::string> mdfstab_key_of(std::string_view line);

/// The line of a pool's entry without its line end, cut to 255 characters.
std::string mdfstab_line(std::string_view mountpoint, std::string_view vgname,
                         std::string_view poolname, std::string_view type);

}  // namespace orv

#endif
