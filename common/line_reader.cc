#include "common/line_reader.h"

namespace orv {

bool line_reader::next() {
  int size = 0;
  int c = 0;
  while ((c = getc_unlocked(stream_)) != EOF && c != '\n') {
    if (size < capacity - 1) buffer_[size++] = static_cast<char>(c);
  }
  buffer_[size] = '\0';
  return c == '\n' || (size > 0 && ferror_unlocked(stream_) == 0);
}

}  // namespace orv
