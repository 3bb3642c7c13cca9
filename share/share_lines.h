#ifndef ORV_SHARE_SHARE_LINES_H
#define ORV_SHARE_SHARE_LINES_H

#include <functional>
#include <string_view>

namespace orv {

/// Longest line of a share file; the rest of a longer one is a line of its own.
inline constexpr int longest_share_line = 256;

/// What is in the line buffer when a line is read: nothing, or what the lines before it left. It
/// shows where a line has a "\r", whose position is not written to.
enum class line_buffer { cleared, kept };

/// Reads a share file from its descriptor's position on.
/// @param take  gets each line without the white space around it; a result that is not ORV_OK ends
///              the reading
/// @return ORV_OK; ORV_E_SHARE_READ on a read error; the result that ended the reading
int read_share_lines(int file, line_buffer buffer,
                     const std::function<int(std::string_view)>& take);

/// A line that makes no sense. @return ORV_E_SHARE_SYNTAX, and `errno` says so
int senseless_line();

}  // namespace orv

#endif
