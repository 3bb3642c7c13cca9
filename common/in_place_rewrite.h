#ifndef ORV_COMMON_IN_PLACE_REWRITE_H
#define ORV_COMMON_IN_PLACE_REWRITE_H

#include <sys/types.h>

#include <string_view>

namespace orv {

/// Replaces all that stands in an open file from `start` on, in place and under the guard of the
/// file's companion. Without a sync of the file: `conf_save` is to follow.
/// @return false, with `errno`, when the text could not be written: the file is cut short then
bool rewrite_in_place(int file, off_t start, std::string_view text);

/// Replaces the whole text of an open file by another one, likewise. What cannot be written leaves
/// the old text there; when not even that can be written any more, the new one is left for whoever
/// reads or changes the file next.
/// @return false, with `errno`, when the text could not be written
bool replace_in_place(int file, std::string_view before, std::string_view text);

/// Puts into an open file what a killed process or a power cut kept from it. The caller holds the
/// file's lock.
/// @return false, with `errno`, when the file is cut short, or may be, and could not be made whole:
///         who took its text for all there is would lose the rest. Else `errno` stays as it is.
bool complete_rewrite(int file);

}  // namespace orv

#endif
