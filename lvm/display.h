#ifndef ORV_LVM_DISPLAY_H
#define ORV_LVM_DISPLAY_H

#include <cstdint>
#include <optional>
#include <string>

/// What the readers of `vgdisplay -c`, `pvdisplay -c` and `lvdisplay -c` share.
///
/// These tools print one indented line per object, its columns separated by ":". A run of ":"
/// counts as one separator, so an empty column shifts the columns behind it.

namespace orv {

/// The column as text; nothing when the line has no such column or no ":" behind it.
std::optional<std::string> text_column(const char* line, int index);

/// The column as a number; 0 when there is no such column or it is no number.
uint64_t number_column(const char* line, int index);

/// KiB of a number of physical extents; the largest number when it does not fit, since a smaller
/// one would read as free space.
uint64_t kib_of_extents(uint64_t extents, uint64_t extent_kib);

}  // namespace orv

#endif
