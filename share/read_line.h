#ifndef ORV_SHARE_READ_LINE_H
#define ORV_SHARE_READ_LINE_H

namespace orv {

inline constexpr char control_z = 0x1a;

/// Whether a byte is nothing but a character of its line.
constexpr bool is_plain_byte(char c) {
  return c != '\n' && c != '\r' && c != '\0' && c != '\f' && c != control_z;
}

/// Cuts the next line out of a source of bytes: the rules that hold for every share file.
///
/// A line ends at a line end or NUL, which are not stored, at a form feed or 0x1A, which are, and
/// when it has `size` positions. "\r" takes a position whose byte stays as it was.
///
/// @param source  its `next(char&)` gives 1 and a byte, 0 at the end, -1 on a read error; its
///                `copy_plain` may copy bytes before it that have no meaning, and gives their
///                number
/// @param buffer  holds `size` + 1 bytes
/// @return the positions used plus 1; 0 at the end, where what was read of a line is lost; -1
template <class Source>
int read_line(Source& source, char* buffer, int size) {
  int used = 0;
  while (used < size) {
    used += source.copy_plain(buffer + used, size - used);
    if (used == size) break;
    char c = 0;
    const int got = source.next(c);
    if (got <= 0) return got;
    if (c == '\n' || c == '\0') break;
    if (c != '\r') buffer[used] = c;
    ++used;
    if (c == '\f' || c == control_z) break;
  }
  buffer[used] = '\0';
  return used + 1;
}

}  // namespace orv

#endif
