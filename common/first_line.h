#ifndef ORV_COMMON_FIRST_LINE_H
#define ORV_COMMON_FIRST_LINE_H

namespace orv {

/// Reads the first line of a file; false, with `errno`, when there is none. The file is opened for
/// writing too, so one that could not be changed counts as unreadable, as on every device so far.
bool read_first_line(const char* path, char* buffer, int size);

}  // namespace orv

#endif
