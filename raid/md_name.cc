#include <orv/raid.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <string_view>

#include "common/text.h"

namespace {

constexpr std::size_t name_size = sizeof(tag_md_info::name);
constexpr int64_t largest_number = std::numeric_limits<int>::max();

/// The number of an array: 3 of "md3". What is no number counts as 0.
int64_t array_number(const char* name) {
  constexpr std::size_t prefix = std::string_view("md").size();
  const std::string_view text = orv::text_or_empty(name).substr(0, name_size - 1);
  if (text.size() <= prefix) return 0;
  const uint64_t number = orv::leading_number(text.substr(prefix));
  return static_cast<int64_t>(std::min<uint64_t>(number, largest_number));
}

}  // namespace

int mdcmp(const char* a, const char* b) {
  return static_cast<int>(array_number(a) - array_number(b));
}

int auto_md_name(const char* last, char* dst) {
  if (dst == nullptr) return 0;
  const int64_t next = std::min(array_number(last) + 1, largest_number);
  return std::snprintf(dst, name_size, "md%d", static_cast<int>(next));
}
