#include "common/first_line.h"

#include <orv/support.h>

#include <cstdio>

#include "common/handles.h"

namespace orv {

bool read_first_line(const char* path, char* buffer, int size) {
  const unique_file file(std::fopen(path, "r+e"));
  return file && get_line_from_file(file.get(), nullptr, 0, nullptr, buffer, size) == 0;
}

}  // namespace orv
