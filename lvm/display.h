#ifndef ORV_LVM_DISPLAY_H
#define ORV_LVM_DISPLAY_H

#include <cstdint>
#include <optional>
#include <string>

#include "common/captured_output.h"

/// What the readers of `vgdisplay -c`, `pvdisplay -c` and `lvdisplay -c` share.
///
/// These tools print one indented line per object, its columns separated by ":". A run of ":"
/// counts as one separator, so an empty column shifts the columns behind it.

namespace orv {

/// The column as text; nothing when the line has no such column or no ":" behind it.
std::optional<std::string> text_column(const char* line, int index);

/// The column as a number; 0 when there is no such column or it is no number.
uint64_t number_column(const char* line, int index);

constexpr uint64_t whole_gib_of_kib(uint64_t kib) { return kib >> 20; }
constexpr uint64_t nearest_gib_of_kib(uint64_t kib) { return (kib >> 20) + ((kib >> 19) & 1); }
/// Of sectors of 512 bytes.
constexpr uint64_t nearest_gib_of_sectors(uint64_t sectors) {
  return nearest_gib_of_kib(sectors / 2);
}

/// Prints and logs that the output of a tool cannot be opened, for the reason in `errno`.
/// @param logged  the code that the log line shows
void tell_cannot_open(const captured_output& output, int logged,
                      const char* function = __builtin_FUNCTION(), int line = __builtin_LINE());

}  // namespace orv

#endif
