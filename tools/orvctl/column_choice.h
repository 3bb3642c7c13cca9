#ifndef ORVCTL_COLUMN_CHOICE_H
#define ORVCTL_COLUMN_CHOICE_H

#include <cstddef>
#include <string>
#include <vector>

/// The names of a list's columns on a command line: "--columns name,size".

namespace orvctl {

/// Under which names a column may be asked for: that by which it is listed, its title and its key.
/// The last two may be NULL.
struct column_names {
  std::string name;
  const char* title;
  const char* key;
};

/// A title or a key as a word of the command line: "MOUNT POINT" is "mount_point".
std::string column_name(const char* title_or_key);

/// The places of the wanted columns among those there are. A name that no column has, or that comes
/// twice, ends the command.
std::vector<std::size_t> choose_columns(const std::vector<std::string>& wanted,
                                        const std::vector<column_names>& columns);

}  // namespace orvctl

#endif
