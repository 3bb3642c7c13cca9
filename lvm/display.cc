#include "lvm/display.h"

#include <orv/support.h>

#include <cerrno>
#include <cstring>
#include <limits>

#include "common/log.h"

namespace orv {
namespace {

int length_of(const char* line) { return static_cast<int>(std::strlen(line)); }

}  // namespace

std::optional<std::string> text_column(const char* line, int index) {
  char* column = nullptr;
  errno = 0;
  if (get_substr_from_line(line, length_of(line), ":", index, &column) == 0) {
    check_memory();
    return std::nullopt;
  }
  char* const end = std::strchr(column, ':');
  if (end == nullptr) return std::nullopt;
  return std::string(column, end);
}

uint64_t number_column(const char* line, int index) {
  uint64_t number = 0;
  get_size_from_display(line, length_of(line), ":", index, &number);
  return number;
}

uint64_t kib_of_extents(uint64_t extents, uint64_t extent_kib) {
  constexpr uint64_t largest = std::numeric_limits<uint64_t>::max();
  const bool fits = extent_kib == 0 || extents <= largest / extent_kib;
  return fits ? extents * extent_kib : largest;
}

}  // namespace orv
