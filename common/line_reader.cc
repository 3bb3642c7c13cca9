#include "common/line_reader.h"

#include <cstring>

namespace orv {

bool line_reader::next() {
  if (std::fgets(buffer_, capacity, stream_) == nullptr) return false;
  char* const end = std::strchr(buffer_, '\n');
  if (end != nullptr) {
    *end = '\0';
    return true;
  }
  int c = 0;
  do {
    c = getc_unlocked(stream_);
  } while (c != '\n' && c != EOF);
  return true;
}

}  // namespace orv
