#ifndef ORV_USER_PRIVATE_FILE_H
#define ORV_USER_PRIVATE_FILE_H

#include "common/handles.h"

namespace orv {

/// Opens a file for reading and writing without changing it; one that is not there yet is made for
/// its owner alone. What it holds is in no buffer. Empty, with `errno`, when that failed.
unique_file open_private(const char* path);

}  // namespace orv

#endif
