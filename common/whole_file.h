#ifndef ORV_COMMON_WHOLE_FILE_H
#define ORV_COMMON_WHOLE_FILE_H

#include <sys/stat.h>

#include <cstdio>
#include <string>
#include <string_view>

namespace orv {

/// Appends the rest of a stream to a text; false, with `errno`, on a read error.
bool read_rest(FILE* stream, std::string& text);

/// Writes a text to a descriptor; false, with `errno`, when it was not written whole.
bool write_whole(int file, std::string_view text);

/// Reads a file whole and examines its owner and mode; false, with `errno`, when it cannot be read.
bool read_file(const char* path, std::string& text, struct stat& examined);

}  // namespace orv

#endif
