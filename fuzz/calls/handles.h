#ifndef ORV_FUZZ_CALLS_HANDLES_H
#define ORV_FUZZ_CALLS_HANDLES_H

#include <stdio.h>

#include <cstddef>
#include <memory>

#include "fuzz/machine.h"

/// What the functions of this folder share, which the library calls instead of the C library while
/// it is fuzzed; `../calls.txt` pairs the names.

namespace fuzz {

struct handle {
  std::shared_ptr<file> content;  ///< an empty one for a directory or a socket
  std::size_t offset = 0;
  bool appends = false;
  bool is_directory = false;
  bool is_open = false;
};

/// @return NULL with errno EBADF for a number that is not open
handle* handle_of(int number);
/// @return the number of the handle, open
int open_handle(handle opened);
/// What a directory or a socket holds.
std::shared_ptr<file> no_content();

/// @return -1 with this errno
int fail_with(int error);

}  // namespace fuzz

extern "C" {
int machine_close(int number);
FILE* machine_fopen(const char* path, const char* mode);
}

#endif
